// The unmount of a volume that services use, on a real systemd.

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <system_error>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "files.hpp"
#include "journal_capture.hpp"
#include "live_units.hpp"
#include "targets_rest.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;

constexpr const char* kVolume = "/volume1";
constexpr const char* kUnmountFile = "systemd_volume_unmount_action.cpp";

UnitText Declared(const std::string& dependency)
{
    return RunningService().Line("X-Veskline", "VolumeDependency=" + dependency);
}

// A tmpfs at /volume1 and services that use it in several ways, or do not.
class UnmountLive : public ::testing::Test
{
protected:
    UnmountLive()
    {
        MakeFolder(kVolume);
        EXPECT_EQ(mount("volume", kVolume, "tmpfs", 0, nullptr), 0);
        AddUnit("inside.service",
                UnitText().Service("ExecStart=/bin/sh -c 'cd /volume1 && exec /bin/sleep infinity'"));
        AddUnit("declared.service", Declared("all"));
        AddUnit("registered.service", Declared("partial"));
        AddUnit("elsewhere.service", Declared("partial"));
        AddUnit("idle.service", Declared("all"));
        AddUnit("other.service", RunningService());
        EXPECT_TRUE(VESKSystemdVolumeRegister("registered.service", kVolume));
        EXPECT_TRUE(VESKSystemdVolumeRegister("elsewhere.service", "/volume2"));
        MustSystemctl({"start", "inside.service", "declared.service", "registered.service",
                       "elsewhere.service", "other.service"});
        EXPECT_TRUE(AwaitInside());
    }
    ~UnmountLive() override { umount2(kVolume, MNT_DETACH); }

    void TearDown() override { ExpectTargetsAtRest(); }

    // The service has its working directory on the volume.
    static bool AwaitInside()
    {
        return Eventually([] {
            std::error_code error;
            const std::string process = "/proc/" + Property("inside.service", "MainPID");
            return std::filesystem::read_symlink(process + "/cwd", error) == kVolume;
        });
    }

    static bool IsMounted() { return ReadText("/proc/self/mounts").find(" /volume1 ") != std::string::npos; }

    // The states of the services that use the volume, then those of the others.
    static std::vector<std::string> States()
    {
        std::vector<std::string> states;
        for (const char* service : {"inside.service", "declared.service", "registered.service",
                                    "elsewhere.service", "other.service", "idle.service"}) {
            states.push_back(ActiveState(service));
        }
        return states;
    }

    const std::vector<std::string> kUp{"active", "active", "active", "active", "active", "inactive"};
    const std::vector<std::string> kDown{"inactive", "inactive", "inactive", "active", "active", "inactive"};

    std::vector<std::string> atAction;
    JournalCapture journal;
};

TEST_F(UnmountLive, FindsTheServicesThatHaveFilesOnTheVolume)
{
    std::vector<std::string> services;
    EXPECT_TRUE(VESKSystemdServiceListByMntPath(kVolume, services));
    EXPECT_THAT(services, ElementsAre("inside.service"));
}

TEST_F(UnmountLive, StopsWhatUsesTheVolumeSoThatItCanBeUnmountedAndStartsItAgain)
{
    ASSERT_EQ(States(), kUp);
    ASSERT_NE(umount(kVolume), 0) << "the volume is not in use";
    int error = 0;

    EXPECT_TRUE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
        atAction = States();
        error = umount(kVolume) == 0 ? 0 : errno;
        return error == 0;
    }));

    EXPECT_EQ(error, 0);
    EXPECT_FALSE(IsMounted());
    EXPECT_EQ(atAction, kDown);
    EXPECT_EQ(States(), kUp);
    EXPECT_THAT(
        journal.Take(),
        Contains(Info(kUnmountFile, "vesksystemd: the following service will temporarily stop for volume "
                                    "unmounting: [/volume1][declared.service, inside.service, "
                                    "registered.service]")));
}

TEST_F(UnmountLive, StartsThemAgainAfterAnActionThatFailsEachTime)
{
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(AwaitInside());
        EXPECT_FALSE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
            atAction = States();
            return false;
        }));
        EXPECT_EQ(atAction, kDown);
        EXPECT_EQ(States(), kUp);
        EXPECT_TRUE(IsMounted());
    }
}

TEST_F(UnmountLive, StartsThemAgainAfterAnActionThatThrows)
{
    EXPECT_THROW(_VESKSystemdVolumeUnmountAction({kVolume}, []() -> bool { throw 7; }), int);
    EXPECT_EQ(States(), kUp);
}

TEST_F(UnmountLive, StopsTheMasterInPlaceOfAServiceThatUsesTheVolume)
{
    AddUnit("master.service", RunningService());
    AddUnit("inside.service", UnitText()
                                  .Unit("PartOf=master.service")
                                  .Unit("After=master.service")
                                  .Service("ExecStart=/bin/sh -c 'cd /volume1 && exec /bin/sleep infinity'")
                                  .Line("X-Veskline", "Master=master.service"));
    MustSystemctl({"start", "master.service"});
    MustSystemctl({"restart", "inside.service"});
    ASSERT_TRUE(AwaitInside());
    std::string master;
    EXPECT_TRUE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
        master = ActiveState("master.service");
        return ActiveState("inside.service") == "inactive" && umount(kVolume) == 0;
    }));
    EXPECT_EQ(master, "inactive");
    EXPECT_EQ(ActiveState("master.service"), "active");
}

TEST_F(UnmountLive, IsDoneWhenAServiceThatDoesNotWantToStopHasBeenKilled)
{
    AddUnit("stubborn.service",
            UnitText()
                .Service("ExecStart=/bin/sh -c 'trap \"\" TERM; cd /volume1; while :; do sleep 0.1; done'")
                .Service("TimeoutStopSec=1"));
    MustSystemctl({"start", "stubborn.service"});
    const std::string first = Property("stubborn.service", "MainPID");
    std::string stubborn;

    EXPECT_TRUE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
        stubborn = ActiveState("stubborn.service");
        return umount(kVolume) == 0;
    }));

    EXPECT_EQ(stubborn, "failed");
    EXPECT_EQ(ActiveState("stubborn.service"), "active");
    EXPECT_NE(Property("stubborn.service", "MainPID"), first);
}

TEST_F(UnmountLive, StopsNothingForAVolumeThatNobodyUses)
{
    MakeFolder("/volume9");
    ASSERT_EQ(mount("unused", "/volume9", "tmpfs", 0, nullptr), 0);
    MustSystemctl({"stop", "declared.service"});
    const std::string inside = Property("inside.service", "MainPID");

    EXPECT_TRUE(_VESKSystemdVolumeUnmountAction({"/volume9"}, [] { return umount("/volume9") == 0; }));

    EXPECT_EQ(Property("inside.service", "MainPID"), inside);
    EXPECT_EQ(ActiveState("declared.service"), "inactive");
    EXPECT_FALSE(std::filesystem::exists("/run/systemd/system/unmount-volume-begin.target"));
}

} // namespace
} // namespace VeskTest
