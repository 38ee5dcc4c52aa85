// Which services are found on a mount path, and by which of their files.
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "c_list.hpp"
#include "checks.hpp"
#include "descriptors.hpp"
#include "error.hpp"
#include "mount_path_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class MountPath : public MountPathTest
{
protected:
    MountPath()
    {
        MakeFolder("/volume1/share");
        WriteText("/volume1/a", "x");
        WriteText("/volume1/b", "x");
    }
};

TEST_F(MountPath, IsUsedByAServiceThatWorksInIt)
{
    const ServiceProcess user("a.service", [] { WorkIn("/volume1/share"); });
    const ServiceProcess other("b.service", [] { WorkIn("/tmp"); });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(log.Take(), ElementsAre(Info(kScanFile, "vesksystemd: file used: [/volume1/share]")));
}

TEST_F(MountPath, IsUsedByAServiceWhoseProgramIsOnIt)
{
    AddProgram("/volume1/bin/program");
    const ServiceProcess user("a.service", [] { RunProgram("/volume1/bin/program"); });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre("/volume1/bin/program"));
}

TEST_F(MountPath, IsUsedByAServiceThatHoldsAFileOpen)
{
    const ServiceProcess user("a.service", [] {
        OpenFile("/tmp");
        OpenFile("/volume1/b");
        OpenFile("/volume1/a");
    });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre("/volume1/b")) << "the descriptor with the lower number";
}

TEST_F(MountPath, IsUsedByAServiceThatMapsAFile)
{
    const ServiceProcess user("a.service", [] { MapFile("/volume1/a"); });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre("/volume1/a"));
}

TEST_F(MountPath, IsUsedByTheFirstFileOfAProcess)
{
    AddProgram("/volume1/program");
    const auto useAll = [](bool folder, bool program, bool file) {
        if (folder) {
            WorkIn("/volume1/share");
        }
        if (file) {
            OpenFile("/volume1/b");
        }
        MapFile("/volume1/a");
        if (program) {
            RunProgram("/volume1/program");
        }
    };
    const ServiceProcess byFolder("a.service", [&] { useAll(true, true, true); });
    const ServiceProcess byProgram("b.service", [&] { useAll(false, true, true); });
    const ServiceProcess byFile("c.service", [&] { useAll(false, false, true); });
    const ServiceProcess byMapping("d.service", [&] { useAll(false, false, false); });
    EXPECT_THAT(Services(), ElementsAre("a.service", "b.service", "c.service", "d.service"));
    EXPECT_THAT(Files(), ElementsAre("/volume1/share", "/volume1/program", "/volume1/b", "/volume1/a"));
}

TEST_F(MountPath, IsNotLookedForBehindTheFirstFileOfAProcess)
{
    const ServiceProcess byFolder("a.service", [] { WorkIn(kVolume); });
    const ServiceProcess byFile("b.service", [] { OpenFile("/volume1/a"); });
    spy.TakeOpened();
    EXPECT_THAT(Services(), ElementsAre("a.service", "b.service"));
    const Words opened = spy.TakeOpened();
    EXPECT_THAT(opened, Not(::testing::Contains(Of(byFolder, "maps"))));
    EXPECT_THAT(opened, Not(::testing::Contains(Of(byFile, "maps"))));
}

TEST_F(MountPath, ListsAServiceOnceWithALineForEachProcess)
{
    const ServiceProcess first("a.service", [] { WorkIn(kVolume); });
    const ServiceProcess second("a.service", [] { OpenFile("/volume1/a"); });
    const ServiceProcess third("a.service", [] { MapFile("/volume1/b"); });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre(kVolume, "/volume1/a", "/volume1/b"));
}

TEST_F(MountPath, ReplacesWhatTheListHeldBefore)
{
    EXPECT_THAT(Services(), IsEmpty());
    const ServiceProcess user("a.service", [] { WorkIn(kVolume); });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
}

TEST_F(MountPath, IsUsedByServicesOnly)
{
    const ServiceProcess scope("session-1.scope", [] { WorkIn(kVolume); });
    const ServiceProcess slice("user-1000.slice", [] { WorkIn(kVolume); });
    const ServiceProcess none("", [] { WorkIn(kVolume); });
    const ServiceProcess named("service", [] { WorkIn(kVolume); });
    const ServiceProcess elsewhere("a.service", [] { WorkIn(kVolume); });
    const ServiceProcess unknown("b.service", [] { WorkIn(kVolume); });
    spy.Show(Of(elsewhere, "cgroup"), "0::/system.slice/a.service\n1:cpu:/system.slice/a.service\n");
    spy.Hide(Of(unknown, "cgroup"));
    EXPECT_THAT(Services(), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(MountPath, IsUsedByNoServiceOfTheSystemThroughThatOfAUser)
{
    const auto inTree = [&](const ServiceProcess& process, const std::string& path) {
        spy.Show(Of(process, "cgroup"), "0::/\n1:name=systemd:" + path + "\n");
    };
    const std::string ofUser = "/user.slice/user-1000.slice/user@1000.service";
    const ServiceProcess user("", [] { WorkIn(kVolume); });
    const ServiceProcess deep("", [] { WorkIn(kVolume); });
    const ServiceProcess ofRoot("", [] { WorkIn(kVolume); });
    const ServiceProcess manager("", [] { WorkIn(kVolume); });
    const ServiceProcess named("", [] { WorkIn(kVolume); });
    inTree(user, ofUser + "/victim.service");
    inTree(deep, ofUser + "/app.slice/a.service/victim.service");
    inTree(ofRoot, "/user@0.service/victim.service");
    inTree(manager, ofUser);
    inTree(named, "/xuser@1.service/user@x.service/user@1.service.d/user@.service/named.service");
    EXPECT_THAT(Services(), ElementsAre("named.service", "user@1000.service"));
    EXPECT_THAT(Files(), ElementsAre(kVolume, kVolume));
    std::string unit;
    EXPECT_TRUE(VESKSystemdGetByPid(user.Pid(), unit));
    EXPECT_EQ(unit, "victim.service") << "who asks for a process gets its unit, whosever it is";
}

// A service that may ask to be left out.
struct SkipRow {
    const char* name;
    const char* keys;
    bool skipped;
};

class SkippedService : public MountPathTest, public ::testing::WithParamInterface<SkipRow>
{
};

TEST_P(SkippedService, IsLeftOutWithItsLines)
{
    WriteUnitFile(UnitFolder::Usr, "a.service", std::string("[X-Veskline]\n") + GetParam().keys);
    WriteUnitFile(UnitFolder::Usr, "b@.service", std::string("[X-Veskline]\n") + GetParam().keys);
    const ServiceProcess user("a.service", [] { WorkIn(kVolume); });
    const ServiceProcess instance("b@1.service", [] { WorkIn(kVolume); });
    const ServiceProcess other("c.service", [] { WorkIn(kVolume); });
    if (GetParam().skipped) {
        EXPECT_THAT(Services(), ElementsAre("c.service")) << "which has no unit file to ask";
        EXPECT_THAT(Files(), ElementsAre(kVolume));
    } else {
        EXPECT_THAT(Services(), ElementsAre("a.service", "b@1.service", "c.service"));
        EXPECT_THAT(Files(), ElementsAre(kVolume, kVolume, kVolume));
    }
}

INSTANTIATE_TEST_SUITE_P(, SkippedService,
                         ::testing::Values(SkipRow{"Yes", "SkipListByMntPath=yes\n", true},
                                           SkipRow{"No", "SkipListByMntPath=no\n", false},
                                           SkipRow{"Capital", "SkipListByMntPath=Yes\n", false},
                                           SkipRow{"True", "SkipListByMntPath=true\n", false},
                                           SkipRow{"Empty", "SkipListByMntPath=\n", false},
                                           SkipRow{"None", "", false}),
                         [](const auto& row) { return row.param.name; });

TEST_F(MountPath, OfTheSameDeviceCountsWhateverItIsCalled)
{
    RemoveAll("/link-to-volume");
    VeskGround::Require(symlink(kVolume, "/link-to-volume"), "link", "/link-to-volume");
    MakeFolder("/bound");
    VeskGround::Require(mount("/volume1/share", "/bound", nullptr, MS_BIND, nullptr), "bind", "/bound");
    const ServiceProcess user("a.service", [] { WorkIn("/bound"); });
    for (const char* path : {kVolume, "/volume1/", "/volume1/share", "/volume1/a", "/link-to-volume",
                             "/bound", "/../volume1", "volume1"}) {
        WorkIn("/");
        EXPECT_THAT(Services(path), ElementsAre("a.service")) << path;
        EXPECT_THAT(Files(), ElementsAre("/bound")) << path;
    }
    umount2("/bound", MNT_DETACH);
}

TEST_F(MountPath, WithALongerNameIsAnotherOneUnlessItIsOfTheSameDevice)
{
    const OwnFileSystem longer("/volume10");
    MakeFolder("/volume1/share1");
    const ServiceProcess user("a.service", [] { WorkIn("/volume10"); });
    const ServiceProcess neighbour("b.service", [] { WorkIn("/volume1/share1"); });
    EXPECT_THAT(Services("/volume10"), ElementsAre("a.service"));
    EXPECT_THAT(Services(kVolume), ElementsAre("b.service"));
    EXPECT_THAT(Services("/volume1/share"), ElementsAre("b.service"));
}

TEST_F(MountPath, HoldsTheFileSystemsMountedBelowIt)
{
    const OwnFileSystem inner("/volume1/inner");
    const ServiceProcess user("a.service", [] { WorkIn("/volume1/inner"); });
    EXPECT_THAT(Services(kVolume), ElementsAre("a.service"));
    EXPECT_THAT(Services("/volume1/inner"), ElementsAre("a.service"));
    EXPECT_THAT(Services("/volume1/inne"), IsEmpty());
    EXPECT_THAT(Services("/volume1/"), IsEmpty()) << "no path continues with a second slash";
}

TEST_F(MountPath, IsFoundByItsNameWhenItsDeviceChanges)
{
    const ServiceProcess user("a.service", [] { WorkIn(kVolume); });
    std::unique_ptr<OwnFileSystem> above;
    spy.BeforeProcess(std::to_string(user.Pid()), [&] { above = std::make_unique<OwnFileSystem>(kVolume); });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre(kVolume));
}

TEST_F(MountPath, ThatDoesNotExistIsLookedForByItsName)
{
    // What a path stands for is what it stands for here, not there.
    const ServiceProcess user("a.service", [] {
        VeskGround::Require(unshare(CLONE_NEWNS), "leave", "the mount namespace");
        VeskGround::Require(mount("own", "/opt", "tmpfs", 0, nullptr), "mount", "/opt");
        MakeFolder("/opt/late/share");
        WorkIn("/opt/late/share");
    });
    EXPECT_THAT(Services("/opt/late"), IsEmpty());
    EXPECT_THAT(Services("/nowhere"), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
    spy.BeforeProcess(std::to_string(user.Pid()), [] { MakeFolder("/opt/late/share"); });
    EXPECT_THAT(Services("/opt/late"), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre("/opt/late/share"));
    RemoveAll("/opt/late");
}

TEST_F(MountPath, ThatIsEmptyStandsForAllFiles)
{
    const ServiceProcess user("a.service", [] { WorkIn("/tmp"); });
    const ServiceProcess other("b.service", [] { WorkIn("/"); });
    const ServiceProcess scope("c.scope", [] { WorkIn("/"); });
    const ServiceProcess zombie("d.service", [] { WorkIn("/"); });
    zombie.Kill();
    ASSERT_TRUE(Eventually([] { return !ListChildren().zombies.empty(); }));
    EXPECT_THAT(Services(""), ElementsAre("a.service", "b.service"));
    EXPECT_THAT(Files(), ElementsAre("/tmp", "/"));
}

TEST_F(MountPath, IsFoundWithBlanksAndLineFeedsInNames)
{
    MakeFolder("/volume1/my files");
    WriteText("/volume1/line\nfeed", "x");
    WriteText("/volume1/x (deleted)", "x");
    const ServiceProcess folder("a.service", [] { WorkIn("/volume1/my files"); });
    const ServiceProcess file("b.service", [] { OpenFile("/volume1/line\nfeed"); });
    const ServiceProcess named("c.service", [] { OpenFile("/volume1/x (deleted)"); });
    EXPECT_THAT(Services(), ElementsAre("a.service", "b.service", "c.service"));
    EXPECT_THAT(log.Take(), ElementsAre(Info(kScanFile, "vesksystemd: file used: [/volume1/my files]"),
                                        Info(kScanFile, "vesksystemd: file used: [/volume1/line\nfeed]"),
                                        Info(kScanFile, "vesksystemd: file used: [/volume1/x (deleted)]")));
}

TEST_F(MountPath, IsReadUpToTheFirstBlankInMappings)
{
    WriteText("/volume1/cut here", "x");
    WriteText("/volume1/line\nfeed", "x");
    const ServiceProcess blank("a.service", [] { MapFile("/volume1/cut here"); });
    const ServiceProcess lineFeed("b.service", [] { MapFile("/volume1/line\nfeed"); });
    EXPECT_THAT(Services(), IsEmpty());
    WriteText("/volume1/cut", "x");
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre("/volume1/cut"));
}

TEST_F(MountPath, IsNotFoundThroughWhatIsDeleted)
{
    AddProgram("/volume1/program");
    WriteText("/volume1/mapped", "x");
    MakeFolder("/volume1/folder");
    const ServiceProcess folder("a.service", [] { WorkIn("/volume1/folder"); });
    const ServiceProcess file("b.service", [] { OpenFile("/volume1/b"); });
    const ServiceProcess mapping("c.service", [] { MapFile("/volume1/mapped"); });
    EXPECT_THAT(Services(), ElementsAre("a.service", "b.service", "c.service"));
    for (const char* path : {"/volume1/folder", "/volume1/b", "/volume1/mapped"}) {
        RemoveAll(path);
    }
    EXPECT_THAT(Services(), IsEmpty());
    WriteText("/volume1/b", "new");
    WriteText("/volume1/mapped", "new");
    EXPECT_THAT(Services(), ElementsAre("c.service")) << "the mark of a deleted mapping comes after a blank";
}

TEST_F(MountPath, IsNotUsedThroughWhatIsNoFile)
{
    const ServiceProcess user("a.service", [] {
        const int memory = memfd_create("volume1", 0);
        VeskGround::Require(ftruncate(memory, 4096), "resize", "a memory file");
        mmap(nullptr, 4096, PROT_READ, MAP_SHARED, memory, 0);
        int ends[2];
        VeskGround::Require(pipe(ends), "make", "a pipe");
        VeskGround::Require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), "make", "a socket");
        VeskGround::Require(eventfd(0, 0), "make", "an eventfd");
        VeskGround::Require(epoll_create1(0), "make", "an epoll");
        WorkIn("/");
    });
    EXPECT_THAT(Services(), IsEmpty());
}

TEST_F(MountPath, IsUsedByAProcessWithThreadsOnce)
{
    const ServiceProcess user("a.service", [] {
        for (int count = 0; count < 3; ++count) {
            std::thread([] { pause(); }).detach();
        }
        std::thread([] { OpenFile("/volume1/a"); }).join();
    });
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre("/volume1/a"));
}

TEST_F(MountPath, IsNotUsedByWhatOthersMayNotSee)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox has one user only";
    }
    const ServiceProcess root("a.service", [] {
        WorkIn("/volume1/share");
        OpenFile("/volume1/a");
        MapFile("/volume1/b");
    });
    const ServiceProcess own("b.service", [] {
        WorkIn("/volume1/share");
        VeskGround::Require(setgid(4711), "become", "another group");
        VeskGround::Require(setuid(4711), "become", "another user");
        // What has changed its user can be looked at again once it runs a program.
        RunProgram("/usr/bin/sleep");
    });
    ASSERT_TRUE(Eventually([&] { return ReadText(Of(own, "comm")) == "sleep\n"; }));
    ExpectAsUser(4711, [] { EXPECT_THAT(Services(), ElementsAre("b.service")); });
    EXPECT_THAT(Services(), ElementsAre("a.service", "b.service"));
}

// A process that ends in the middle of the scan.
class Vanishing : public MountPath, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(Vanishing, ProcessesAreMissedAndDisturbNobody)
{
    const ServiceProcess before("a.service", [] { WorkIn(kVolume); });
    const ServiceProcess vanishing("b.service", [] {
        WorkIn("/");
        MapFile("/volume1/a");
    });
    const ServiceProcess after("c.service", [] { MapFile("/volume1/b"); });
    ASSERT_THAT(Services(), ElementsAre("a.service", "b.service", "c.service"));
    log.Take();

    const std::string place = GetParam();
    const auto end = [&] {
        kill(vanishing.Pid(), SIGKILL);
        waitpid(vanishing.Pid(), nullptr, 0);
    };
    if (place == "list") {
        spy.BeforeProcess(std::to_string(vanishing.Pid()), end);
    } else {
        spy.Before(Of(vanishing, place), end);
    }
    const auto descriptors = OpenDescriptors();
    EXPECT_THAT(Services(), ElementsAre("a.service", "c.service"));
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_THAT(Files(), ElementsAre(kVolume, "/volume1/b"));
}

INSTANTIATE_TEST_SUITE_P(, Vanishing, ::testing::Values("list", "fd/", "maps", "cgroup"));

// A folder or file that cannot be opened.
class ScanWithout : public MountPath, public ::testing::WithParamInterface<const char*>
{
protected:
    // The list of processes, or of a process.
    static std::string Path(const ServiceProcess& process)
    {
        const std::string file = GetParam();
        return file == "list" ? "/proc/" : Of(process, file);
    }
};

std::string NameOfFile(const ::testing::TestParamInfo<const char*>& info)
{
    return std::string(info.param) == "fd/" ? "fd" : info.param;
}

TEST_P(ScanWithout, DescriptorsOrMemoryFails)
{
    const ServiceProcess user("a.service", [] {
        if (std::string(GetParam()) == "fd/") {
            OpenFile("/volume1/a");
        } else {
            MapFile("/volume1/a");
        }
    });
    const ServiceProcess other("b.service", [] { WorkIn(kVolume); });
    for (const int error : {EMFILE, ENFILE, ENOMEM}) {
        SCOPED_TRACE(error);
        spy.Fail(Path(user), error);
        const auto descriptors = OpenDescriptors();
        VLIBCErrSetEx(0, "", 0);
        Words services{"before"};
        EXPECT_FALSE(VESKSystemdServiceListByMntPath(kVolume, services));
        EXPECT_EQ(VLIBCErrGet(), 0x0900);
        EXPECT_STREQ(VLIBCErrorGetFile(), kScanFile);
        EXPECT_GT(VLIBCErrorGetLine(), 0);
        EXPECT_THAT(services, ElementsAre("before"));
        CList list({"before"});
        EXPECT_EQ(VESKCSystemdServiceListByMntPath(kVolume, list.Address()), 0);
        EXPECT_THAT(list.Items(), ElementsAre("before"));
        EXPECT_THAT(log.Take(), IsEmpty());
        EXPECT_EQ(OpenDescriptors(), descriptors);
    }
}

INSTANTIATE_TEST_SUITE_P(, ScanWithout, ::testing::Values("list", "fd/", "maps", "cgroup"), NameOfFile);

TEST_F(MountPath, CannotBeScannedWhenMemoryLacksForReadingWhatIsOpen)
{
    const ServiceProcess user("a.service", [] { MapFile("/volume1/a"); });
    for (const char* file : {"maps", "cgroup"}) {
        SCOPED_TRACE(file);
        spy.FailReading(Of(user, file), ENOMEM);
        VLIBCErrSetEx(0, "", 0);
        Words services{"before"};
        EXPECT_FALSE(VESKSystemdServiceListByMntPath(kVolume, services));
        EXPECT_EQ(VLIBCErrGet(), 0x0900);
        EXPECT_THAT(services, ElementsAre("before"));
        spy.FailReading(Of(user, file), ESRCH);
        EXPECT_THAT(Services(), IsEmpty());
        spy.Replace(Of(user, file),
                    [path = Of(user, file)] { return openat(AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC); });
    }
}

// Files that are looked at in one way each: a folder, and a link in it that a process has opened itself.
class MountPathBound : public MountPath
{
protected:
    MountPathBound()
    {
        MakeFolder("/bound");
        MakeFolder("/volume1/share/deep");
        VeskGround::Require(symlink("deep", "/volume1/share/link"), "link", "/volume1/share/link");
        VeskGround::Require(mount("/volume1/share", "/bound", nullptr, MS_BIND, nullptr), "bind", "/bound");
    }
    ~MountPathBound() override { umount2("/bound", MNT_DETACH); }

    static void UseFolder() { WorkIn("/bound/deep"); }
    static void UseLink()
    {
        VeskGround::Require(open("/bound/link", O_PATH | O_NOFOLLOW), "open", "/bound/link");
    }

    const std::vector<std::pair<void (*)(), Words>> ways{
        {UseFolder, {"realpath /bound/", "lstat /bound/deep"}},
        {UseLink, {"realpath /bound/", "lstat /bound/link", "realpath /bound/link", "stat /bound/deep"}}};
};

TEST_F(MountPathBound, CannotBeScannedWhenMemoryLacksForAPath)
{
    for (const auto& [use, calls] : ways) {
        const ServiceProcess user("a.service", use);
        Words failing = calls;
        failing.emplace_back("stat /volume1");
        for (const std::string& call : failing) {
            SCOPED_TRACE(call);
            spy.FailOnce(call, ENOMEM);
            VLIBCErrSetEx(0, "", 0);
            Words services{"before"};
            EXPECT_FALSE(VESKSystemdServiceListByMntPath(kVolume, services));
            EXPECT_EQ(VLIBCErrGet(), 0x0900);
            EXPECT_THAT(services, ElementsAre("before"));
            EXPECT_THAT(log.Take(), IsEmpty());
            EXPECT_THAT(Services(), ElementsAre("a.service"));
            log.Take();
        }
    }
}

TEST_F(MountPathBound, IsUsedByAProcessWithAFileThatCouldNotBeLookedAtInAnother)
{
    for (const auto& [use, calls] : ways) {
        const ServiceProcess first("a.service", [use = use] {
            use();
            MapFile("/volume1/a");
        });
        const ServiceProcess second("b.service", use);
        for (const std::string& call : calls) {
            for (const int error : {ENOMEM, EIO}) {
                SCOPED_TRACE(call);
                spy.FailOnce(call, error);
                EXPECT_THAT(Services(), ElementsAre("a.service", "b.service"));
                EXPECT_THAT(Files(), ElementsAre("/volume1/a", "/bound/deep"));
            }
        }
    }
}

TEST_F(MountPathBound, IsNotUsedThroughAPathThatCannotBeToldForWhatItIs)
{
    const ServiceProcess user("a.service", UseFolder);
    for (const int error : {ENOENT, ENOTDIR, EACCES, ELOOP, ENAMETOOLONG, EIO}) {
        spy.FailOnce("lstat /bound/deep", error);
        EXPECT_THAT(Services(), IsEmpty()) << error;
    }
    EXPECT_THAT(Services(), ElementsAre("a.service"));
}

TEST_F(MountPath, CannotBeScannedWhenAListBreaksOff)
{
    const ServiceProcess user("a.service", [] { OpenFile("/volume1/a"); });
    const auto expectFailure = [](const std::string& folder) {
        VLIBCErrSetEx(0, "", 0);
        Words services{"before"};
        EXPECT_FALSE(VESKSystemdServiceListByMntPath(kVolume, services)) << folder;
        EXPECT_EQ(VLIBCErrGet(), 0x0900) << folder;
        EXPECT_THAT(services, ElementsAre("before")) << folder;
    };
    for (const int error : {ENOMEM, EIO}) {
        spy.BreakOff(Of(user, "fd/"), error);
        expectFailure("fd");
    }
    spy.BreakOff(Of(user, "fd/"), ESRCH);
    EXPECT_THAT(Services(), IsEmpty());
    spy.BreakOff("/proc/", EIO);
    expectFailure("list");
}

TEST_F(MountPath, IsUsedByAProcessWhoseMapsTellSoThoughItsDescriptorsCannotBeListed)
{
    const ServiceProcess user("a.service", [] { MapFile("/volume1/a"); });
    const ServiceProcess other("b.service", [] { WorkIn("/"); });
    spy.Fail(Of(user, "fd/"), EMFILE);
    EXPECT_THAT(Services(), ElementsAre("a.service"));
    EXPECT_THAT(Files(), ElementsAre("/volume1/a"));
}

// What cannot be opened because of itself.
class ScanPast : public ScanWithout
{
};

TEST_P(ScanPast, WhatIsGoneOrMayNotBeReadListsTheOthers)
{
    const bool decides = std::string(GetParam()) != "fd/";
    const ServiceProcess user("a.service", [] { MapFile("/volume1/a"); });
    const ServiceProcess other("b.service", [] { WorkIn(kVolume); });
    for (const int error : {ENOENT, ESRCH, EACCES, EPERM}) {
        SCOPED_TRACE(error);
        spy.Fail(Path(user), error);
        EXPECT_THAT(Services(), decides ? Words{"b.service"} : (Words{"a.service", "b.service"}));
    }
}

INSTANTIATE_TEST_SUITE_P(, ScanPast, ::testing::Values("fd/", "maps", "cgroup"), NameOfFile);

TEST_F(MountPath, CannotBeScannedWithoutTheListOfProcesses)
{
    const ServiceProcess user("a.service", [] { WorkIn(kVolume); });
    spy.Fail("/proc/", EACCES);
    Words services{"before"};
    EXPECT_FALSE(VESKSystemdServiceListByMntPath(kVolume, services));
    EXPECT_EQ(VLIBCErrGet(), 0x0900);
    EXPECT_THAT(services, ElementsAre("before"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(MountPath, IsNotUsedByAProcessInNoUnitWhateverFailedBefore)
{
    const ServiceProcess user("a.service", [] { MapFile("/volume1/a"); });
    const ServiceProcess none("b.service", [] { MapFile("/volume1/a"); });
    spy.Fail(Of(none, "fd/"), EMFILE);
    spy.Show(Of(none, "cgroup"), "0::/\n");
    EXPECT_THAT(Services(), ElementsAre("a.service"));
}

TEST_F(MountPath, IsScannedWithTwoDescriptorsAndNoFewer)
{
    const ServiceProcess user("a.service", [] { WorkIn(kVolume); });
    const ServiceProcess other("b.service", [] { MapFile("/volume1/a"); });
    // From the first line on, syslog has one of its own.
    ASSERT_THAT(Services(), ElementsAre("a.service", "b.service"));
    ExpectInChild([] {
        const rlimit limit{64, 64};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
        int last = -1;
        for (int next = dup(0); next != -1; next = dup(0)) {
            last = next;
        }
        // Nothing is said before descriptors are free again: sanitizers and GoogleTest need some.
        Words withOne{"before"};
        Words withTwo;
        close(last);
        const bool resultWithOne = VESKSystemdServiceListByMntPath(kVolume, withOne);
        close(last - 1);
        const bool resultWithTwo = VESKSystemdServiceListByMntPath(kVolume, withTwo);
        const bool taken = dup(0) != -1 && dup(0) != -1;
        const bool resultWithNone = VESKSystemdServiceListByMntPath(kVolume, withTwo);
        close_range(static_cast<unsigned>(last) - 10, static_cast<unsigned>(last), 0);
        EXPECT_TRUE(taken);
        EXPECT_FALSE(resultWithOne) << "enough for the list of processes only";
        EXPECT_THAT(withOne, ElementsAre("before"));
        EXPECT_TRUE(resultWithTwo);
        EXPECT_EQ(withTwo.size(), 2U);
        EXPECT_FALSE(resultWithNone);
    });
}

TEST_F(MountPath, IsNotScannedPastAnEntryThatIsNoNumber)
{
    const ServiceProcess user("a.service", [] { WorkIn(kVolume); });
    const auto descriptors = OpenDescriptors();
    Words services{"before"};
    spy.AddProcess("99999999999999999999");
    EXPECT_THROW(VESKSystemdServiceListByMntPath(kVolume, services), std::out_of_range);
    EXPECT_THAT(services, ElementsAre("before"));
    CList list({"before"});
    spy.AddProcess("99999999999999999999");
    EXPECT_EQ(VESKCSystemdServiceListByMntPath(kVolume, list.Address()), 0);
    EXPECT_THAT(list.Items(), ElementsAre("before"));
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(OpenDescriptors(), descriptors);
    for (const char* entry : {"no-number", "/1", ":1", "-1"}) {
        spy.AddProcess(entry);
        EXPECT_THAT(Services(), ElementsAre("a.service")) << entry;
    }
}

TEST_F(MountPath, IsScannedByTheCFormToo)
{
    const ServiceProcess user("a.service", [] { WorkIn(kVolume); });
    CList list({"before"});
    EXPECT_EQ(VESKCSystemdServiceListByMntPath(kVolume, list.Address()), 1);
    EXPECT_THAT(list.Items(), ElementsAre("before", "a.service"));
    EXPECT_EQ(VESKCSystemdServiceListByMntPath("/nowhere", list.Address()), 1);
    EXPECT_THAT(list.Items(), ElementsAre("before", "a.service"));
    EXPECT_EQ(VESKCSystemdServiceListByMntPath("", list.Address()), 1);
    EXPECT_THAT(list.Items(), ElementsAre("before", "a.service", "a.service"));
    EXPECT_THAT(Files(), ElementsAre(kVolume, kVolume));
}

TEST_F(MountPath, IsRefusedAsANullOfTheCForm)
{
    VLIBCSzList* none = nullptr;
    EXPECT_EQ(VESKCSystemdServiceListByMntPath(nullptr, nullptr), 0);
    EXPECT_EQ(VESKCSystemdServiceListByMntPath(kVolume, nullptr), 0);
    VLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(VESKCSystemdServiceListByMntPath(kVolume, &none), 0);
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), kScanFile);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kScanFile, "nullptr != szMntPath"),
                                        RefusedArgument(kScanFile, "nullptr != ppListServices"),
                                        RefusedArgument(kScanFile, "nullptr != *ppListServices")));
    EXPECT_THAT(spy.TakeOpened(), IsEmpty());
}

} // namespace
} // namespace VeskTest
