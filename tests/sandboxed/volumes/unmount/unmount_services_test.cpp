// Which services an unmount stops.

#include <algorithm>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include "error.hpp"
#include "unmount_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;

// A unit that declares how it depends on volumes, in a state, registered or not.
struct DependentRow {
    const char* dependency;
    const char* state;
    bool registered;
    bool stops;
};

void PrintTo(const DependentRow& row, std::ostream* stream)
{
    *stream << row.dependency << ' ' << row.state << (row.registered ? " registered" : "");
}

class Dependent : public UnmountTest, public ::testing::WithParamInterface<DependentRow>
{
};

TEST_P(Dependent, IsStoppedByItsDependencyItsStateAndItsRegistration)
{
    const DependentRow& row = GetParam();
    AddUnit("foo.service", std::string("VolumeDependency=") + row.dependency + "\n", row.state);
    if (row.registered) {
        RegisterUnit("foo.service", R"(["/volume9", "/volume1"])");
    } else {
        RegisterUnit("foo.service", R"(["/volume9", "/volume10"])");
    }
    EXPECT_TRUE(Run());
    EXPECT_EQ(Stopped(), row.stops ? "foo.service" : "");
    EXPECT_EQ(runs, 1);
}

INSTANTIATE_TEST_SUITE_P(
    , Dependent,
    ::testing::Values(
        DependentRow{"all", "active", false, true}, DependentRow{"all", "activating", false, true},
        DependentRow{"all", "reloading", false, true}, DependentRow{"all", "inactive", true, false},
        DependentRow{"all", "deactivating", true, false}, DependentRow{"all", "failed", true, false},
        DependentRow{"all", "strange", true, false}, DependentRow{"partial", "active", true, true},
        DependentRow{"partial", "activating", true, true}, DependentRow{"partial", "reloading", true, true},
        DependentRow{"partial", "inactive", true, false}, DependentRow{"partial", "active", false, false},
        DependentRow{"none", "active", true, false}, DependentRow{"", "active", true, false},
        DependentRow{"Partial", "active", true, false}, DependentRow{"ALL", "active", true, false}));

using UnmountServices = UnmountTest;

TEST_F(UnmountServices, AreNotAskedForTheirStateWhenTheyDoNotDependOnTheVolume)
{
    AddUnit("none.service", "VolumeDependency=none\n");
    AddUnit("elsewhere.service", "VolumeDependency=partial\n");
    EXPECT_TRUE(Run());
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListUnits));
}

TEST_F(UnmountServices, ThatDependInPartAreStoppedForAnyOfTheVolumes)
{
    AddUnit("foo.service", "VolumeDependency=partial\n");
    RegisterUnit("foo.service", R"(["/volume2"])");
    EXPECT_TRUE(Run(true, {kVolume, "/volume2"}));
    EXPECT_EQ(Stopped(), "foo.service");
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("foo.service", "/volume1, /volume2")));
}

TEST_F(UnmountServices, ThatControlAPackageAreRegisteredByIt)
{
    AddUnit("pkgctl-web-station.v1.service", "VolumeDependency=partial\n");
    AddUnit("pkgctl-other.service", "VolumeDependency=partial\n");
    AddUnit("pkgctl-timed.timer", "VolumeDependency=partial\n");
    RegisterPackage("web-station.v1", R"(["/volume1"])");
    RegisterUnit("pkgctl-other.service", R"(["/volume1"])");
    RegisterUnit("pkgctl-timed.timer", R"(["/volume1"])");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("pkgctl-timed.timer, pkgctl-web-station.v1.service")));
}

TEST_F(UnmountServices, GiveWayToTheirMasterOnce)
{
    AddUnit("one.service", "VolumeDependency=all\nMaster=master.service\n");
    AddUnit("two.service", "VolumeDependency=all\nMaster=master.service\n");
    AddUnit("three.service", "VolumeDependency=all\nMaster=\n");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("master.service, three.service")));
    EXPECT_EQ(ReadText(kBeginFile), BeginText("master.service three.service"));
    EXPECT_EQ(ReadText(kEndFile), EndText("master.service three.service"));
}

TEST_F(UnmountServices, HaveNoSayWithoutAUnitFile)
{
    AddDependent("gone.service");
    AddDependent("here.service");
    RemoveAll(UnitFilePath(UnitFolder::Usr, "gone.service"));
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("here.service")));
}

TEST_F(UnmountServices, CannotBeMadeOfADamagedRegistry)
{
    AddUnit("foo.service", "VolumeDependency=partial\n");
    RegisterUnit("foo.service", "{");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(NothingToStop()));
}

TEST_F(UnmountServices, WithAWorkingDirectoryOnTheVolumeAreStopped)
{
    MakeFolder("/volume1/share");
    AddUnit("user.service", "");
    const VolumeUser user("/volume1/share", "user.service");

    EXPECT_TRUE(Run());

    EXPECT_EQ(ReadText(kBeginFile), BeginText("user.service"));
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("user.service")));
}

TEST_F(UnmountServices, WithFilesOnAnotherVolumeAreNotStopped)
{
    AddUnit("user.service", "");
    const VolumeUser user("/tmp", "user.service");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(NothingToStop()));
}

TEST_F(UnmountServices, ThatUseTheVolumeAndDependOnItAreStoppedOnce)
{
    AddDependent("a.service");
    AddUnit("user.service", "Master=a.service\n");
    AddUnit("z.service", "");
    const VolumeUser user(kVolume, "user.service");
    const VolumeUser self(kVolume, "a.service");
    const VolumeUser other(kVolume, "z.service");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("a.service, z.service")));
}

TEST_F(UnmountServices, ThatUseTheVolumeStandForThemselvesWhenTheirMasterCannotBeRead)
{
    const VolumeUser user(kVolume, "transient.service");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(Error(kUnmountFile,
                                            "vesksystemd: Failed to get master unit: [transient.service], "
                                            "reason: [Unit is not found [transient.service]]"),
                                      StopLine("transient.service")));
}

TEST_F(UnmountServices, ThatWereFoundBeforeAShortageAreStopped)
{
    AddUnit("a.service", "");
    AddUnit("b.service", "");
    const VolumeUser found(kVolume, "a.service");
    const VolumeUser other("/tmp", "b.service");
    spy.HideFolder("/proc/" + std::to_string(other.Pid()) + "/fd/");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(),
                ElementsAre(Error(kUnmountFile, "vesksystemd: Fail to list services by mnt path [/volume1]."),
                            StopLine("a.service")));
    EXPECT_EQ(runs, 1);
}

// Several volumes, each a file system of its own.
class UnmountGroup : public UnmountTest
{
protected:
    UnmountGroup()
    {
        for (const char* folder : {"/volume2", "/volume3"}) {
            MakeFolder(folder);
            VeskGround::Require(mount("volume", folder, "tmpfs", 0, nullptr), "mount", folder);
        }
    }
    ~UnmountGroup() override
    {
        umount2("/volume2", MNT_DETACH);
        umount2("/volume3", MNT_DETACH);
    }

    // The lines of the search, up to that of its end.
    std::vector<SyslogLine> LogOfSearch()
    {
        std::vector<SyslogLine> lines = log.Take();
        const auto isOther = [](const SyslogLine& line) {
            return line.file != kUnmountFile && line.file != "systemd_service_list_by_mount_path.cpp";
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), isOther), lines.end());
        return lines;
    }

    static ::testing::Matcher<const SyslogLine&> Used(const std::string& file)
    {
        return Info("systemd_service_list_by_mount_path.cpp", "vesksystemd: file used: [" + file + "]");
    }
    static ::testing::Matcher<const SyslogLine&> NoMaster(const std::string& unit)
    {
        return Error(kUnmountFile, "vesksystemd: Failed to get master unit: [" + unit +
                                       "], reason: [Unit is not found [" + unit + "]]");
    }
    static ::testing::Matcher<const SyslogLine&> NotListed(const std::string& volume)
    {
        return Error(kUnmountFile, "vesksystemd: Fail to list services by mnt path [" + volume + "].");
    }
};

TEST_F(UnmountGroup, IsSearchedForInOneWalkAndLoggedVolumeByVolume)
{
    AddUnit("a.service", "");
    AddUnit("d.service", "");
    const VolumeUser first(kVolume, "a.service");
    const VolumeUser second("/volume2", "b.service");
    const ServiceProcess both("c.service", [] {
        VeskGround::Require(chdir("/volume2"), "change to", "/volume2");
        VeskGround::Require(open("/volume1", O_RDONLY), "open", "/volume1");
    });
    const VolumeUser last(kVolume, "d.service");
    const int before = spy.Openings("/proc/");

    EXPECT_TRUE(Run(true, {kVolume, "/volume2", "/volume3", kVolume}));

    EXPECT_EQ(spy.Openings("/proc/") - before, 1);
    EXPECT_EQ(spy.Openings("/proc/" + std::to_string(both.Pid()) + "/fd/"), 1);
    const std::string stopped = "a.service, b.service, c.service, d.service";
    EXPECT_THAT(LogOfSearch(),
                ::testing::ElementsAre(Used(kVolume), Used(kVolume), Used(kVolume), NoMaster("c.service"),
                                       Used("/volume2"), Used("/volume2"), ::testing::_, ::testing::_,
                                       Used(kVolume), Used(kVolume), Used(kVolume), NoMaster("c.service"),
                                       StopLine(stopped, "/volume1, /volume2, /volume3, /volume1")));
}

TEST_F(UnmountGroup, LosesNoVolumeToAShortageThatIsOver)
{
    AddUnit("a.service", "");
    AddUnit("b.service", "");
    const VolumeUser other("/tmp", "a.service");
    const VolumeUser second("/volume2", "b.service");
    spy.HideFolderOnce("/proc/" + std::to_string(other.Pid()) + "/fd/");
    EXPECT_TRUE(Run(true, {kVolume, "/volume2"}));
    EXPECT_THAT(LogOfSearch(), ElementsAre(NotListed(kVolume), Used("/volume2"),
                                           StopLine("b.service", "/volume1, /volume2")));
}

TEST_F(UnmountGroup, IsStoppedAsFarAsAShortageThatLastsLetsItBeFound)
{
    AddUnit("a.service", "");
    AddUnit("b.service", "");
    const VolumeUser first(kVolume, "a.service");
    const VolumeUser other("/tmp", "b.service");
    const VolumeUser second("/volume2", "b.service");
    spy.HideFolder("/proc/" + std::to_string(other.Pid()) + "/fd/");
    EXPECT_TRUE(Run(true, {kVolume, "/volume2"}));
    EXPECT_THAT(LogOfSearch(), ElementsAre(Used(kVolume), NotListed(kVolume), NotListed("/volume2"),
                                           StopLine("a.service", "/volume1, /volume2")));
}

TEST_F(UnmountServices, OfUsersStandForNoneOfTheSystem)
{
    AddUnit("victim.service", "");
    const VolumeUser user(kVolume, "user-1000.slice/user@1000.service/victim.service");
    EXPECT_TRUE(Run());
    EXPECT_THAT(OwnLog(), ElementsAre(NothingToStop()));
}

TEST_F(UnmountServices, AreThoseThatDependWhenTheProcessesCannotBeListed)
{
    AddDependent("a.service");
    spy.HideProcesses();
    VLIBCErrSetEx(0x1234, "other.c", 7);
    EXPECT_TRUE(Run(true, {kVolume, "/volume2"}));
    EXPECT_THAT(OwnLog(),
                ElementsAre(Error(kUnmountFile, "vesksystemd: Fail to list services by mnt path [/volume1]."),
                            Error(kUnmountFile, "vesksystemd: Fail to list services by mnt path [/volume2]."),
                            StopLine("a.service", "/volume1, /volume2")));
    EXPECT_EQ(VLIBCErrGet(), 0x0900);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_service_list_by_mount_path.cpp");
}

} // namespace
} // namespace VeskTest
