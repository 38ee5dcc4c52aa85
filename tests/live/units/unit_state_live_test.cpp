// The states of units as a real systemd has them.

#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

constexpr int kUnknownWord = 0x8000;

class StatesLive : public ::testing::Test
{
protected:
    StatesLive() { VLIBCErrSetEx(0, "", 0); }

    static void ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS expected)
    {
        EXPECT_EQ(VESKSystemdActiveStatusGet("foo"), expected);
        EXPECT_EQ(VESKSystemdActiveStatusGetSystem("foo.service"), expected);
        EXPECT_EQ(VESKCSystemdActiveStatusGet("foo"), expected);
        EXPECT_EQ(VESKCSystemdActiveStatusGetSystem("foo"), expected);
    }

    static void ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS expected)
    {
        EXPECT_EQ(VESKSystemdEnableStatusGet("foo"), expected);
        EXPECT_EQ(VESKSystemdEnableStatusGetSystem("foo"), expected);
        EXPECT_EQ(VESKSystemdEnableStatusGetInGenerator("foo"), expected);
        EXPECT_EQ(VESKCSystemdEnableStatusGet("foo"), expected);
    }

    static void ExpectLoaded(VESK_SYSTEMD_LOAD_STATUS expected)
    {
        EXPECT_EQ(VESKSystemdLoadStatusGet("foo"), expected);
        EXPECT_EQ(VESKCSystemdLoadStatusGet("foo.service"), expected);
    }
};

TEST_F(StatesLive, InactiveAndActive)
{
    AddUnit("foo.service", RunningService());
    ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS_INACTIVE);
    MustSystemctl({"start", "foo.service"});
    ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS_ACTIVE);
}

TEST_F(StatesLive, Failed)
{
    AddUnit("foo.service", FailingService());
    EXPECT_NE(RealSystemctl({"start", "foo.service"}).exitCode, 0);
    ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS_FAILED);
}

TEST_F(StatesLive, Activating)
{
    AddUnit("foo.service", HangingService());
    MustSystemctl({"--no-block", "start", "foo.service"});
    ASSERT_TRUE(AwaitActiveState("foo.service", "activating"));
    ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS_ACTIVATING);
}

TEST_F(StatesLive, Deactivating)
{
    AddUnit("foo.service", SlowToStopService(600));
    MustSystemctl({"start", "foo.service"});
    MustSystemctl({"--no-block", "stop", "foo.service"});
    ASSERT_TRUE(AwaitActiveState("foo.service", "deactivating"));
    ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS_DEACTIVATING);
}

TEST_F(StatesLive, Reloading)
{
    AddUnit("foo.service", RunningService().Service("ExecReload=/bin/sleep infinity"));
    MustSystemctl({"start", "foo.service"});
    MustSystemctl({"--no-block", "reload", "foo.service"});
    ASSERT_TRUE(AwaitActiveState("foo.service", "reloading"));
    ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS_RELOADING);
}

TEST_F(StatesLive, OfAUnitThatDoesNotExist)
{
    ExpectActive(VESK_SYSTEMD_ACTIVE_STATUS_INACTIVE);
    ExpectLoaded(VESK_SYSTEMD_LOAD_STATUS_NOT_FOUND);
    EXPECT_EQ(VLIBCErrGet(), 0);
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_UNKNOWN);
    EXPECT_EQ(VLIBCErrGet(), kUnknownWord);
}

TEST_F(StatesLive, DisabledAndEnabled)
{
    AddUnit("foo.service", RunningService());
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_DISABLED);
    MustSystemctl({"enable", "foo.service"});
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_ENABLED);
}

TEST_F(StatesLive, EnabledUntilTheNextBoot)
{
    AddUnit("foo.service", RunningService());
    MustSystemctl({"enable", "--runtime", "foo.service"});
    EXPECT_EQ(RealSystemctl({"is-enabled", "foo"}).output, "enabled-runtime\n");
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_ENABLED);
}

TEST_F(StatesLive, Static)
{
    AddUnit("foo.service", UnitText().Service("ExecStart=/bin/true"));
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_STATIC);
}

TEST_F(StatesLive, Masked)
{
    AddUnit("foo.service", RunningService());
    AddMask("foo.service");
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_MASKED);
    ExpectLoaded(VESK_SYSTEMD_LOAD_STATUS_MASKED);
}

TEST_F(StatesLive, MaskedUntilTheNextBoot)
{
    AddUnit("foo.service", RunningService());
    MustSystemctl({"mask", "--runtime", "foo.service"});
    EXPECT_EQ(RealSystemctl({"is-enabled", "foo"}).output, "masked-runtime\n");
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_MASKED);
}

TEST_F(StatesLive, Linked)
{
    WriteText("/opt/foo.service", RunningService().Text());
    MustSystemctl({"link", "/opt/foo.service"});
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_LINKED);
}

TEST_F(StatesLive, LinkedUntilTheNextBoot)
{
    WriteText("/opt/foo.service", RunningService().Text());
    MustSystemctl({"link", "--runtime", "/opt/foo.service"});
    EXPECT_EQ(RealSystemctl({"is-enabled", "foo"}).output, "linked-runtime\n");
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_LINKED);
}

TEST_F(StatesLive, EnabledThroughAnotherUnitIsAWordThatTheLibraryDoesNotKnow)
{
    AddUnit("bar.service", RunningService());
    AddUnit("foo.service", UnitText().Service("ExecStart=/bin/true").Install("Also=bar.service"));
    EXPECT_EQ(RealSystemctl({"is-enabled", "foo"}).output, "indirect\n");
    ExpectEnabled(VESK_SYSTEMD_ENABLE_STATUS_UNKNOWN);
    EXPECT_EQ(VLIBCErrGet(), kUnknownWord);
}

TEST_F(StatesLive, Loaded)
{
    AddUnit("foo.service", RunningService());
    ExpectLoaded(VESK_SYSTEMD_LOAD_STATUS_LOADED);
}

TEST_F(StatesLive, ABadSettingIsAWordThatTheLibraryDoesNotKnow)
{
    AddUnit("foo.service", UnitText().Service("Type=oneshot").Service("Restart=always"));
    EXPECT_EQ(Property("foo.service", "LoadState"), "bad-setting");
    ExpectLoaded(VESK_SYSTEMD_LOAD_STATUS_UNKNOWN);
    EXPECT_EQ(VLIBCErrGet(), kUnknownWord);
}

} // namespace
} // namespace VeskTest
