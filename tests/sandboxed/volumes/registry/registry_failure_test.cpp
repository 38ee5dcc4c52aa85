// What goes wrong, its lines, and that the file is left and nothing else stays.

#include <filesystem>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "checks.hpp"
#include "children.hpp"
#include "error.hpp"
#include "file_calls.hpp"
#include "file_locks.hpp"
#include "paths.hpp"
#include "platform_spy.hpp"
#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

class RegistryFailure : public RegistryReplacement
{
protected:
    void ExpectFailure(const LogMatchers& lines)
    {
        EXPECT_FALSE(Run());
        EXPECT_THAT(log.Take(), ::testing::ElementsAreArray(lines));
        EXPECT_EQ(ReadText(file), oldText);
        EXPECT_TRUE(IsLockFree(kLock));
    }

    // The next one works.
    void ExpectSuccess() const
    {
        EXPECT_TRUE(Run());
        EXPECT_EQ(ReadText(file), newText);
    }

    void ExpectFailureOnce(const std::string& call, int error, const LineMatcher& line)
    {
        FileCalls calls;
        calls.Fail(call, {error});
        ExpectFailure({line});
        ExpectSuccess();
    }
};

TEST_P(RegistryFailure, OfALockThatAnotherProcessHolds)
{
    RemoveAll(GetParam().Folder());
    {
        const ForeignLock lock(kLock);
        EXPECT_FALSE(Run());
        EXPECT_THAT(log.Take(),
                    ElementsAre(Error("lock.cpp", std::string("vesksystemd: failed to get lock [") + kLock +
                                                      "] " + ErrorRecord()),
                                NotAvailable()));
        EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_LOCK);
        EXPECT_FALSE(Exists(GetParam().Folder()));
    }
    WriteText(file, oldText);
    ExpectSuccess();
}

TEST_P(RegistryFailure, OfALockThatCannotBeMade)
{
    WriteText(kRunFolder, "in the way");
    ExpectFailure({Error("lock.cpp", std::string("vesksystemd: failed to mkdir [") + kLockFolder + "]"),
                   NotAvailable()});
    RemoveAll(kRunFolder);
    ExpectSuccess();
}

TEST_P(RegistryFailure, OfOpeningTheFileThatIsThere)
{
    ExpectFailureOnce("open " + file, EMFILE, NotRead(file));
}

TEST_P(RegistryFailure, OfAWriteOnAFullDisk)
{
    ExpectFailureOnce("write " + Temporary(file), ENOSPC, NotDumped(file));
}

TEST_P(RegistryFailure, OfAWriteThatTakesNothing)
{
    FileCalls calls;
    calls.WriteAtMost(0);
    ExpectFailure({NotDumped(file)});
}

TEST_P(RegistryFailure, OfAWriteAfterAFewBytes)
{
    FileCalls calls;
    calls.WriteAtMost(3);
    int writes = 0;
    calls.Before([&](const std::string& call) {
        if (call == "write " + Temporary(file) && ++writes == 3) {
            EXPECT_EQ(std::filesystem::file_size(Temporary(file)), 6U);
            calls.Fail("write " + Temporary(file), {EIO});
        }
    });
    ExpectFailure({NotDumped(file)});
}

TEST_P(RegistryFailure, OfSyncingTheFile)
{
    ExpectFailureOnce("sync " + Temporary(file), EIO, NotDumped(file));
}

TEST_P(RegistryFailure, OfClosingTheFile)
{
    ExpectFailureOnce("close " + Temporary(file), EIO, NotDumped(file));
}

TEST_P(RegistryFailure, OfKeepingTheMode)
{
    ExpectFailureOnce("chmod " + Temporary(file), EIO, NotDumped(file));
}

TEST_P(RegistryFailure, IsNoneWhereTheModeMayNotBeGiven)
{
    FileCalls calls;
    calls.Fail("chmod " + Temporary(file), {EPERM});
    ExpectSuccess();
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(RegistryFailure, OfKeepingTheOwner)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox has one user only";
    }
    VeskGround::Require(chown(file.c_str(), 4711, 4712), "change the owner of", file);
    FileCalls calls;
    calls.Fail("chown " + Temporary(file), {EIO, EIO});
    ExpectFailure({NotDumped(file)});
    ExpectSuccess();
}

TEST_P(RegistryFailure, IsNoneWhereTheOwnerMayNotBeGiven)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox has one user only";
    }
    for (const bool group : {true, false}) {
        SCOPED_TRACE(group ? "only the group may" : "nor may the group");
        WriteText(file, oldText);
        VeskGround::Require(chown(file.c_str(), 4711, 4712), "change the owner of", file);
        VeskGround::Require(chmod(file.c_str(), 0640), "change the mode of", file);
        FileCalls calls;
        calls.Fail("chown " + Temporary(file), group ? std::vector{EPERM} : std::vector{EPERM, EPERM});
        ExpectSuccess();
        struct stat status {
        };
        VeskGround::Require(stat(file.c_str(), &status), "look at", file);
        EXPECT_EQ(status.st_uid, 0U);
        EXPECT_EQ(status.st_gid, group ? 4712U : 0U);
        EXPECT_EQ(status.st_mode & 07777U, 0640U);
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(RegistryFailure, OfCreatingTheTemporaryFile)
{
    ExpectFailureOnce("open " + Temporary(file), EROFS, NotDumped(file));
}

TEST_P(RegistryFailure, OfATemporaryFileThatIsAFolder)
{
    MakeFolder(Temporary(file));
    ExpectFailure({NotDumped(file)});
    RemoveAll(Temporary(file));
}

TEST_P(RegistryFailure, OfOpeningTheFolderComesBeforeTheRename)
{
    ExpectFailureOnce("open " + folder + "/", EMFILE, NotRenamed(file, "Too many open files"));
}

TEST_P(RegistryFailure, OfTheRename)
{
    ExpectFailureOnce("rename " + Temporary(file) + " " + file, EDQUOT,
                      NotRenamed(file, "Disk quota exceeded"));
}

TEST_P(RegistryFailure, OfARenameOntoAMount)
{
    WriteText("/tmp/mounted", oldText);
    VeskGround::Require(mount("/tmp/mounted", file.c_str(), nullptr, MS_BIND, nullptr), "bind", file);
    ExpectFailure({NotRenamed(file, "Device or resource busy")});
    VeskGround::Require(umount2(file.c_str(), 0), "unmount", file);
}

TEST_P(RegistryFailure, OfSyncingTheFolderIsOneThoughTheFileIsNew)
{
    FileCalls calls;
    calls.Fail("sync " + folder, {EIO});
    EXPECT_FALSE(Run());
    EXPECT_THAT(log.Take(),
                ElementsAre(Error(kFile, "vesksystemd: Fail to sync [" + file + "] (Input/output error)")));
    EXPECT_EQ(ReadText(file), newText);
}

TEST_P(RegistryFailure, IsNoneInAFolderThatMayBeWrittenButNotRead)
{
    FileCalls calls;
    calls.Fail("open " + folder + "/", {EACCES});
    ExpectSuccess();
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(RegistryFailure, OfGettingSuchAFolderToTheDiskIsOneThoughTheFileIsNew)
{
    FileCalls calls;
    calls.Fail("open " + folder + "/", {EACCES});
    calls.Before([&](const std::string& call) {
        if (call.rfind("rename", 0) == 0) {
            calls.Fail("open " + file, {EIO});
        }
    });
    EXPECT_FALSE(Run());
    calls.Before({});
    EXPECT_THAT(log.Take(),
                ElementsAre(Error(kFile, "vesksystemd: Fail to sync [" + file + "] (Input/output error)")));
    EXPECT_EQ(ReadText(file), newText);
}

TEST_P(RegistryFailure, OfALinkToADeviceOrAFolder)
{
    const auto expectFailure = [&] {
        EXPECT_FALSE(Run());
        EXPECT_THAT(log.Take(), ElementsAre(NotRead(file)));
        EXPECT_TRUE(IsLockFree(kLock));
    };
    for (const char* target : {"/dev/zero", "/dev/null", "/dev/full", "/tmp"}) {
        RemoveAll(file);
        std::filesystem::create_symlink(target, file);
        expectFailure();
        EXPECT_EQ(std::filesystem::read_symlink(file), target);
    }
    RemoveAll(file);
}

TEST_P(RegistryFailure, OfAFileThatBecomesADeviceWhileItIsOpened)
{
    FileCalls calls;
    calls.Before([&](const std::string& call) {
        if (call == "open " + file) {
            RemoveAll(file);
            std::filesystem::create_symlink("/dev/zero", file);
        }
    });
    EXPECT_FALSE(Run());
    EXPECT_THAT(log.Take(), ElementsAre(NotRead(file)));
}

TEST_P(RegistryFailure, OfAFileThatIsLargerThanAMebibyte)
{
    const std::string blanks(1024 * 1024 - oldText.size(), ' ');
    WriteText(file, oldText + blanks);
    ExpectSuccess();
    WriteText(file, oldText + blanks + " ");
    EXPECT_FALSE(Run());
    EXPECT_THAT(log.Take(), ElementsAre(NotRead(file)));
    EXPECT_EQ(std::filesystem::file_size(file), 1024U * 1024U + 1U);
}

TEST_P(RegistryFailure, IsNoneOnAFileSystemThatCannotSyncFolders)
{
    FileCalls calls;
    calls.Fail("sync " + folder, {EINVAL});
    ExpectSuccess();
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(RegistryFailure, IsNoneWhenCallsAreInterrupted)
{
    FileCalls calls;
    calls.WriteAtMost(4);
    calls.Fail("write " + Temporary(file), {EINTR, EINTR});
    calls.Fail("sync " + Temporary(file), {EINTR, EINTR});
    calls.Fail("sync " + folder, {EINTR, EINTR});
    ExpectSuccess();
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_GT(calls.Take().size(), 12U);
}

TEST_P(RegistryFailure, OfAnotherProcessLeavesNoHarm)
{
    WriteText(Temporary(file),
              "left by a process of the same number that was killed, and longer than the new");
    WriteText(file + ".tmp.1", "left by another one");
    ExpectSuccess();
    EXPECT_FALSE(Exists(Temporary(file)));
    EXPECT_EQ(ReadText(file + ".tmp.1"), "left by another one");
}

TEST_P(RegistryFailure, IsNotWrittenThroughALink)
{
    WriteText("/tmp/victim", "kept");
    std::filesystem::create_symlink("/tmp/victim", Temporary(file));
    ExpectSuccess();
    EXPECT_EQ(ReadText("/tmp/victim"), "kept");
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(file)));
}

TEST_P(RegistryFailure, OfALinkThatTakesTheTemporaryFilesPlaceInTime)
{
    WriteText("/tmp/victim", "kept");
    FileCalls calls;
    calls.Before([&](const std::string& call) {
        if (call == "open " + Temporary(file)) {
            std::filesystem::create_symlink("/tmp/victim", Temporary(file));
        }
    });
    ExpectFailure({NotDumped(file)});
    EXPECT_EQ(ReadText("/tmp/victim"), "kept");
}

TEST_P(RegistryFailure, LeavesNoLockToAChildThatAnotherThreadForks)
{
    FileCalls calls;
    std::unique_ptr<OtherProcess> child;
    calls.Before([&](const std::string& call) {
        if (call.rfind("rename", 0) == 0) {
            child = std::make_unique<OtherProcess>([] { return pause(); });
        }
    });
    ExpectSuccess();
    EXPECT_NE(child, nullptr);
    EXPECT_TRUE(IsLockFree(kLock)) << "the child still runs";
}

TEST_P(RegistryFailure, OfAnArrayThatCouldNotBeReadAgain)
{
    const std::string large = "[\"/" + std::string(1024UL * 1024 - 10, 'x') + "\"]";
    WriteText(file, large);
    if (GetParam().registers) {
        EXPECT_FALSE(Run("/" + std::string(100, 'y')));
        EXPECT_THAT(log.Take(), ElementsAre(NotDumped(file)));
        EXPECT_EQ(ReadText(file), large);
    } else {
        EXPECT_TRUE(Run());
    }
}

INSTANTIATE_TEST_SUITE_P(Of, RegistryFailure, ValuesIn(Changes()), NameOf<Change>);

using FolderFailure = RegistryChange;

TEST_P(FolderFailure, OfAProgramThatFails)
{
    ScriptedMkdir mkdir;
    mkdir->On({"-p", kLockFolder});
    mkdir->On({"-p", GetParam().Folder()}).Exit(1);
    MakeFolder(kLockFolder);
    EXPECT_FALSE(Run());
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "vesksystemd: Fail to mkdir [" + GetParam().Folder() +
                                                         "] " + ErrorRecord())));
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_CHILD);
    EXPECT_FALSE(Exists(GetParam().Folder()));
}

TEST_P(FolderFailure, OfAFileInTheWay)
{
    const std::string obstacle = GetParam().ofPackage ? "/var/packages/foo/etc" : "/usr/vesk/etc";
    WriteText(obstacle, "in the way");
    EXPECT_FALSE(Run());
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "vesksystemd: Fail to mkdir [" + GetParam().Folder() +
                                                         "] " + ErrorRecord())));
    EXPECT_EQ(ReadText(obstacle), "in the way");
    RemoveAll(obstacle);
    EXPECT_TRUE(Run());
}

INSTANTIATE_TEST_SUITE_P(Of, FolderFailure, ::testing::Values(Changes()[0], Changes()[2]), NameOf<Change>);

using MissingFolder = RegistryChange;

TEST_P(MissingFolder, FailsToDumpAndIsNotMade)
{
    EXPECT_FALSE(Run());
    EXPECT_THAT(log.Take(), ElementsAre(NotDumped(GetParam().File())));
    EXPECT_FALSE(Exists(GetParam().Folder()));
}

INSTANTIATE_TEST_SUITE_P(Of, MissingFolder, ::testing::Values(Changes()[1], Changes()[3]), NameOf<Change>);

using MissingPackage = RegistryGround;

void ExpectMissing(SyslogCapture& log, const std::string& package)
{
    const PlatformSpy spy;
    ScriptedMkdir mkdir;
    EXPECT_FALSE(VESKSystemdPackageVolumeRegister(package, "/volume1"));
    EXPECT_THAT(log.Take(),
                ElementsAre(Error(kFile, "vesksystemd: Fail to VLIBCFileCheckDir on [/var/packages/" +
                                             package + "] " + ErrorRecord())));
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_NOT_FOUND);
    EXPECT_THAT(spy.Locks(), IsEmpty());
    EXPECT_THAT(mkdir->Arguments(), IsEmpty());
    EXPECT_FALSE(Exists(kRunFolder));
}

TEST_F(MissingPackage, FailsBeforeTheLockAndBeforeAnyFolder)
{
    ExpectMissing(log, "bar");
    EXPECT_FALSE(Exists("/var/packages/bar"));
}

TEST_F(MissingPackage, IsOneThatIsAFile)
{
    WriteText("/var/packages/bar", "no folder");
    ExpectMissing(log, "bar");
    EXPECT_EQ(ReadText("/var/packages/bar"), "no folder");
    RemoveAll("/var/packages/bar");
}

TEST_F(MissingPackage, MattersOnlyToRegister)
{
    EXPECT_FALSE(VESKSystemdPackageVolumeUnregister("bar", "/volume1"));
    EXPECT_THAT(log.Take(), ElementsAre(NotDumped(PackageFile("bar"))));
    EXPECT_FALSE(Exists("/var/packages/bar"));
}

} // namespace
} // namespace VeskTest
