// What registering and unregistering leave in the files.

#include <sys/stat.h>
#include <unistd.h>

#include "checks.hpp"
#include "children.hpp"
#include "error.hpp"
#include "file_calls.hpp"
#include "file_locks.hpp"
#include "platform_spy.hpp"
#include "registry_ground.hpp"
#include "signal_storm.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::ValuesIn;

TEST_P(RegistryChange, HasAFormInC)
{
    const Change& change = GetParam();
    WriteText(change.File(), R"(["/volume2"])");
    EXPECT_EQ(change.cForm("foo", "/volume1"), 1);
    EXPECT_EQ(ReadText(change.File()), Volumes(change.registers ? Words{"/volume2", "/volume1"} //
                                                                : Words{"/volume2"}));
    EXPECT_EQ(change.cForm("foo", "/volume2"), 1);
    EXPECT_EQ(ReadText(change.File()), Volumes(change.registers ? Words{"/volume2", "/volume1"} : Words{}));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(RegistryChange, TakesTheOneLockExclusivelyAndDoesNotWaitForIt)
{
    MakeFolder(GetParam().Folder());
    const PlatformSpy spy;
    EXPECT_TRUE(Run());
    EXPECT_THAT(spy.Locks(), ElementsAre(LockRequest{kLock, true, 0}));
}

TEST_P(RegistryChange, AsksForTheFolderOnlyToRegister)
{
    MakeFolder(GetParam().Folder());
    MakeFolder(kLockFolder);
    ScriptedMkdir mkdir;
    mkdir->OnAny();
    EXPECT_TRUE(Run());
    const std::string lockFolder = std::string("-p ") + kLockFolder;
    if (GetParam().registers) {
        EXPECT_THAT(mkdir->Arguments(), ElementsAre(lockFolder, "-p " + GetParam().Folder()));
    } else {
        EXPECT_THAT(mkdir->Arguments(), ElementsAre(lockFolder));
    }
}

TEST_P(RegistryChange, LeavesTheFilesOfOthersAlone)
{
    WriteText(UnitFile("bar.service"), R"(["/volume1"])");
    WriteText(UnitFile("foo.timer"), "{");
    WriteText("/var/packages/foo/etc/veskpkg_conf/other", "{");
    WriteText(GetParam().File(), R"(["/volume1"])");
    EXPECT_TRUE(Run("/volume2"));
    EXPECT_EQ(ReadText(UnitFile("bar.service")), R"(["/volume1"])");
    EXPECT_EQ(ReadText(UnitFile("foo.timer")), "{");
    EXPECT_EQ(ReadText("/var/packages/foo/etc/veskpkg_conf/other"), "{");
}

TEST_P(RegistryChange, WorksThroughInterruptedCalls)
{
    Words volumes;
    for (int number = 0; number < 20; ++number) {
        volumes.push_back("/volume" + std::to_string(number));
    }
    WriteText(GetParam().File(), Volumes(GetParam().registers ? Words{} : volumes));
    const SignalStorm storm;
    for (const std::string& volume : volumes) {
        EXPECT_TRUE(Run(volume));
    }
    EXPECT_GT(SignalStorm::Count(), 0);
    EXPECT_EQ(ReadText(GetParam().File()), Volumes(GetParam().registers ? volumes : Words{}));
}

TEST_P(RegistryChange, WorksInAProcessWithoutStandardStreams)
{
    MakeFolder(GetParam().Folder());
    EXPECT_EQ(RunInChild([] {
                  close(STDIN_FILENO);
                  close(STDOUT_FILENO);
                  close(STDERR_FILENO);
                  return Run() ? 0 : 1;
              }),
              Exited(0));
    EXPECT_EQ(ReadText(GetParam().File()), Volumes(GetParam().registers ? Words{"/volume1"} : Words{}));
}

// Whose a file is, and who may do what with it.
struct Access {
    uid_t user;
    gid_t group;
    unsigned mode;
};

Access AccessOf(const std::string& path)
{
    struct stat status {
    };
    VeskGround::Require(stat(path.c_str(), &status), "look at", path);
    return {status.st_uid, status.st_gid, Mode(path)};
}

bool operator==(const Access& left, const Access& right)
{
    return left.user == right.user && left.group == right.group && left.mode == right.mode;
}

std::ostream& operator<<(std::ostream& stream, const Access& access)
{
    return stream << access.user << ':' << access.group << ' ' << std::oct << access.mode << std::dec;
}

TEST_P(RegistryChange, KeepsTheModeOfTheFile)
{
    const std::string file = GetParam().File();
    for (const unsigned mode : {0600U, 0640U, 0664U, 0666U, 0400U, 0750U, 0000U}) {
        WriteText(file, R"(["/volume2"])");
        VeskGround::Require(chmod(file.c_str(), mode), "change the mode of", file);
        EXPECT_TRUE(Run());
        EXPECT_NE(ReadText(file), R"(["/volume2"])") << "it was replaced";
        EXPECT_EQ(Mode(file), mode);
        RemoveAll(file);
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(RegistryChange, KeepsPermissionsAlone)
{
    const std::string file = GetParam().File();
    WriteText(file, R"(["/volume2"])");
    VeskGround::Require(chmod(file.c_str(), 07755), "change the mode of", file);
    EXPECT_TRUE(Run());
    EXPECT_EQ(Mode(file), 0755U);
}

TEST_P(RegistryChange, HasNoSayInTheModeOfTheFileByItsUmask)
{
    const std::string file = GetParam().File();
    for (const mode_t mask : {mode_t{0}, mode_t{077}, mode_t{0777}}) {
        for (const bool there : {false, true}) {
            SCOPED_TRACE(there ? "a file that is replaced" : "a new file");
            RemoveAll(file);
            MakeFolder(GetParam().Folder());
            if (there) {
                WriteText(file, "[]");
                VeskGround::Require(chmod(file.c_str(), 0664), "change the mode of", file);
            }
            umask(mask);
            const bool changed = Run();
            umask(before.mask);
            EXPECT_TRUE(changed) << std::oct << mask;
            EXPECT_EQ(Mode(file), there ? 0664U : 0644U) << std::oct << mask;
        }
    }
}

TEST_P(RegistryChange, KeepsTheOwnerOfTheFile)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox has one user only";
    }
    const std::string file = GetParam().File();
    for (const Access& access :
         {Access{4711, 4712, 0600}, Access{0, 4712, 0640}, Access{4711, 0, 0644}, Access{4711, 4712, 0755}}) {
        WriteText(file, R"(["/volume2"])");
        VeskGround::Require(chown(file.c_str(), access.user, access.group), "change the owner of", file);
        VeskGround::Require(chmod(file.c_str(), access.mode), "change the mode of", file);
        EXPECT_TRUE(Run());
        EXPECT_NE(ReadText(file), R"(["/volume2"])") << "it was replaced";
        EXPECT_EQ(AccessOf(file), access);
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(RegistryChange, ShowsTheNewFileToNobodyWhoMayNotReadTheOldOne)
{
    const std::string file = GetParam().File();
    WriteText(file, R"(["/volume2"])", 0600);
    umask(0);
    FileCalls calls;
    unsigned mode = 0;
    calls.Before([&](const std::string& call) {
        if (call == "chmod " + Temporary(file)) {
            mode = Mode(Temporary(file));
        }
    });
    EXPECT_TRUE(Run());
    umask(before.mask);
    EXPECT_EQ(mode, 0600U);
}

INSTANTIATE_TEST_SUITE_P(To, RegistryChange, ValuesIn(Changes()), NameOf<Change>);

using Register = RegistryGround;

TEST_F(Register, MakesTheFolderAndTheFileOfAUnit)
{
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), "[\n\t\"/volume1\"\n]\n");
    EXPECT_THAT(ListFolder(kUnitFolder), ElementsAre("foo.service"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Register, MakesTheFolderAndTheFileOfAPackage)
{
    EXPECT_TRUE(VESKSystemdPackageVolumeRegister("foo", "/volume1"));
    EXPECT_EQ(ReadText("/var/packages/foo/etc/veskpkg_conf/reg_volume"), "[\n\t\"/volume1\"\n]\n");
    EXPECT_THAT(ListFolder("/var/packages/foo/etc/veskpkg_conf"), ElementsAre("reg_volume"));
    EXPECT_FALSE(Exists("/usr/vesk/etc"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Register, KeepsVolumesInTheOrderOfTheirRegistration)
{
    for (const char* volume : {"/volume3", "/volume1", "/volume2", "/volume1/a b", "/volumeUSB1/usbshare"}) {
        EXPECT_TRUE(VESKSystemdVolumeRegister("foo", volume));
    }
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume3"));
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume3"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")),
              Volumes({"/volume1", "/volume2", "/volume1/a b", "/volumeUSB1/usbshare", "/volume3"}));
}

TEST_F(Register, WritesNothingForAVolumeThatIsThereAlready)
{
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    WriteText(UnitFile("foo.service"), R"( [ "/volume2","\u002fvolume1" ]  )");
    struct stat first {
    };
    struct stat second {
    };
    ASSERT_EQ(stat(UnitFile("foo.service").c_str(), &first), 0);
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo.service", "/volume1"));
    ASSERT_EQ(stat(UnitFile("foo.service").c_str(), &second), 0);
    EXPECT_EQ(first.st_ino, second.st_ino);
    EXPECT_EQ(ReadText(UnitFile("foo.service")), R"( [ "/volume2","\u002fvolume1" ]  )");
}

TEST_F(Register, TellsVolumesApartByEveryByte)
{
    const Words volumes = {"/volume1", "/volume10", "/Volume1", "/volume1 ", "//volume1", "/volume1/."};
    for (const std::string& volume : volumes) {
        EXPECT_TRUE(VESKSystemdVolumeRegister("foo", volume));
    }
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes(volumes));
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({volumes.begin() + 1, volumes.end()}));
}

TEST_F(Register, NamesTheFileAfterTheNormalizedUnit)
{
    for (const char* unit : {"foo", "bar.service", "foo.slice", "foo.bar", "getty@tty1.service", "getty@", //
                             "foo.SERVICE", "dot."}) {
        EXPECT_TRUE(VESKSystemdVolumeRegister(unit, "/volume1"));
    }
    EXPECT_THAT(ListFolder(kUnitFolder),
                ElementsAre("bar.service", "dot..service", "foo.SERVICE.service", "foo.bar.service",
                            "foo.service", "foo.slice", "getty@.service", "getty@tty1.service"));
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo.service", "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), "[]\n");
    EXPECT_EQ(ReadText(UnitFile("foo.slice")), Volumes({"/volume1"}));
}

TEST_F(Register, TakesNamesUpToTheirFirstZeroByte)
{
    const std::string unit("foo.service\0x.service", 21);
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    EXPECT_TRUE(VESKSystemdVolumeRegister(unit, "/volume2"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({"/volume1", "/volume2"}));
    EXPECT_TRUE(VESKSystemdVolumeIsRegisteredByUnit(unit, {"/volume1"}));
    EXPECT_TRUE(VESKSystemdVolumeUnregister(unit, "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({"/volume2"}));
    EXPECT_THAT(ListFolder(kUnitFolder), ElementsAre("foo.service"));
}

TEST_F(Register, TakesVolumesUpToTheirFirstZeroByte)
{
    const std::string volume("/volume1\0/x", 11);
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", volume));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({"/volume1"}));
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1")) << "it is there";
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({"/volume1"}));
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", volume));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), "[]\n");
    EXPECT_FALSE(VESKSystemdVolumeRegister("foo", std::string("\0/x", 3))) << "nothing is left";
    EXPECT_FALSE(VESKSystemdVolumeRegister("foo", std::string("/x/\0y", 5)));
}

TEST_F(Register, TakesAFilesVolumesUpToTheirFirstZeroByteAndKeepsThemAsTheyAre)
{
    WriteText(UnitFile("foo.service"), R"(["/volume1\u0000/x"])");
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1")) << "it is there";
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume2"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Array({R"("/volume1\u0000/x")", Quoted("/volume2")}));
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({"/volume2"}));
}

TEST_F(Register, WritesAnyVolumeSoThatItIsFoundAgain)
{
    const Words volumes = {"/with \"quotes\"",
                           "/with\\backslash",
                           "/with\nline feed",
                           "/with\ttab\x01\x1f\x7f",
                           "/mit-\xC3\xA4\xF0\x9F\x92\xBE",
                           "/broken\xFF\xC3",
                           "/</script>"};
    for (const std::string& volume : volumes) {
        EXPECT_TRUE(VESKSystemdVolumeRegister("foo", volume));
        EXPECT_TRUE(VESKSystemdVolumeRegister("foo", volume)) << "it is there";
    }
    EXPECT_EQ(ReadText(UnitFile("foo.service")),
              Array({R"("/with \"quotes\"")", R"("/with\\backslash")", R"("/with\nline feed")",
                     "\"/with\\ttab\\u0001\\u001f\x7f\"", Quoted("/mit-\xC3\xA4\xF0\x9F\x92\xBE"),
                     Quoted("/broken\xFF\xC3"), Quoted("/</script>")}));
    for (const std::string& volume : volumes) {
        EXPECT_TRUE(VESKSystemdVolumeIsRegisteredByUnit("foo", {volume}));
        EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", volume));
    }
    EXPECT_EQ(ReadText(UnitFile("foo.service")), "[]\n");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Register, LetsNobodyElseWriteTheFile)
{
    umask(0);
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    umask(before.mask);
    EXPECT_EQ(Mode(UnitFile("foo.service")), 0644U);
}

TEST_F(Register, LetsNoProgramHaveTheLock)
{
    MakeFolder(kLockFolder);
    MakeFolder(kUnitFolder);
    ScriptedMkdir mkdir;
    mkdir->OnAny();
    EXPECT_TRUE(VESKSystemdVolumeRegister("foo", "/volume1"));
    ASSERT_EQ(mkdir->Calls().size(), 2U);
    for (const Call& call : mkdir->Calls()) {
        EXPECT_THAT(call.descriptors, Not(::testing::Contains(::testing::Pair(::testing::Gt(2), kLock))));
        EXPECT_EQ(call.descriptors.size(), 3U) << ::testing::PrintToString(call.descriptors);
    }
}

TEST_F(Register, HoldsTheLockFromBeforeTheFolderIsMade)
{
    MakeFolder(kLockFolder);
    ScriptedMkdir mkdir;
    mkdir->OnAny();
    mkdir->On({"-p", kUnitFolder}).CreateFile("/tmp/making").WaitForFile("/tmp/go-on").Exit(1);
    OtherProcess other([] { return VESKSystemdVolumeRegister("foo", "/volume1") ? 0 : 1; });
    ASSERT_TRUE(Eventually([] { return Exists("/tmp/making"); }));

    EXPECT_FALSE(VESKSystemdPackageVolumeUnregister("foo", "/volume2")) << "all registries share the lock";

    WriteText("/tmp/go-on", "");
    EXPECT_EQ(other.Wait(), Exited(1));
    EXPECT_TRUE(IsLockFree(kLock));
}

using Unregister = RegistryGround;

TEST_F(Unregister, TakesEveryOccurrenceAway)
{
    WriteText(UnitFile("foo.service"), R"(["/volume1", "/volume2", "/volume1", "\/volume1", "/volume3"])");
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({"/volume2", "/volume3"}));
}

TEST_F(Unregister, WritesEvenWhenNothingWasTakenAway)
{
    WriteText(UnitFile("foo.service"), R"(["/volume2"])");
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), Volumes({"/volume2"}));
}

TEST_F(Unregister, MakesAnEmptyArrayForAUnitThatNeverRegistered)
{
    MakeFolder(kUnitFolder);
    EXPECT_TRUE(VESKSystemdVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(UnitFile("foo.service")), "[]\n");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Unregister, MakesAnEmptyArrayForAPackageThatNeverRegistered)
{
    MakeFolder(PackageFolder("foo"));
    EXPECT_TRUE(VESKSystemdPackageVolumeUnregister("foo", "/volume1"));
    EXPECT_EQ(ReadText(PackageFile("foo")), "[]\n");
    EXPECT_THAT(log.Take(), IsEmpty());
}

} // namespace
} // namespace VeskTest
