#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

constexpr const char* kWants = "/etc/systemd/system/multi-user.target.wants/foo.service";
constexpr const char* kMark = "/usr/vesk/etc/vesksystemd/enable-status-changed/foo.service";

TEST(EnableLive, MakesTheLinkAndTheMarkAndDisableTakesTheLinkAway)
{
    AddUnit("foo.service", RunningService());

    EXPECT_TRUE(VESKSystemdEnable("foo"));
    EXPECT_TRUE(Exists(kWants));
    EXPECT_TRUE(Exists(kMark));
    EXPECT_TRUE(VESK::Systemd::IsEnableStatusChanged("foo"));

    EXPECT_TRUE(VESKSystemdDisable("foo"));
    EXPECT_FALSE(Exists(kWants));
    EXPECT_TRUE(Exists(kMark));
}

TEST(EnableLive, OfAUnitThatDoesNotExistFailsAndStillMarksIt)
{
    EXPECT_FALSE(VESKSystemdEnable("foo"));
    EXPECT_FALSE(Exists(kWants));
    EXPECT_TRUE(Exists(kMark));
}

TEST(MaskLive, LeavesARunningUnitAloneAndKeepsItFromBeingStartedAnew)
{
    AddUnit("foo.service", RunningService());
    MustSystemctl({"start", "foo.service"});
    const std::string process = Property("foo.service", "MainPID");

    EXPECT_TRUE(VESKSystemdMask("foo"));
    EXPECT_EQ(VESKSystemdLoadStatusGet("foo"), VESK_SYSTEMD_LOAD_STATUS_MASKED);
    EXPECT_EQ(VESKSystemdActiveStatusGet("foo"), VESK_SYSTEMD_ACTIVE_STATUS_ACTIVE);
    EXPECT_EQ(Property("foo.service", "MainPID"), process);

    EXPECT_TRUE(VESKSystemdStop("foo"));
    EXPECT_FALSE(VESKSystemdStart("foo"));

    EXPECT_TRUE(VESKSystemdUnmask("foo"));
    EXPECT_EQ(VESKSystemdLoadStatusGet("foo"), VESK_SYSTEMD_LOAD_STATUS_LOADED);
    EXPECT_TRUE(VESKSystemdStart("foo"));
}

TEST(ReloadLive, IsQueuedWithoutWaitingForIt)
{
    AddUnit("foo.service", RunningService().Service("ExecReload=/bin/sh -c 'until [ -e /run/go ]; do sleep "
                                                    "0.05; done; touch /run/reloaded'"));
    MustSystemctl({"start", "foo.service"});

    EXPECT_TRUE(VESKSystemdReload("foo"));
    EXPECT_TRUE(AwaitActiveState("foo.service", "reloading"));
    EXPECT_FALSE(Exists("/run/reloaded"));

    WriteText("/run/go", "");
    EXPECT_TRUE(AwaitActiveState("foo.service", "active"));
    EXPECT_TRUE(Exists("/run/reloaded"));
}

} // namespace
} // namespace VeskTest
