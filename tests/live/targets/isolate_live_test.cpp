// Isolation on a real systemd.

#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "journal_capture.hpp"
#include "live_units.hpp"
#include "targets_rest.hpp"

namespace VeskTest
{
namespace
{

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kIsolateFile = "systemd_isolate_target.cpp";
constexpr const char* kSlow = "slow.service";
constexpr const char* kSmall = "small.target";

UnitText SmallTarget()
{
    return UnitText().Unit("Requires=basic.target").Unit("After=basic.target").Unit("AllowIsolate=yes");
}

// A service of the default target that takes five seconds to stop, and a small target without it.
class IsolateLive : public ::testing::Test
{
protected:
    IsolateLive()
    {
        AddUnit(kSlow, SlowToStopService(5));
        AddUnit(kSmall, SmallTarget());
        MustSystemctl({"enable", "--now", kSlow});
    }

    void TearDown() override { ExpectTargetsAtRest(); }

    VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result = VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED;
    JournalCapture journal;
};

TEST_F(IsolateLive, ReturnsWhenTheServicesThatTheTargetLacksAreDownAndComesBack)
{
    EXPECT_TRUE(VESKSystemdIsolateTarget(kSmall, &result));

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
    EXPECT_EQ(ActiveState(kSlow), "inactive");
    EXPECT_EQ(ActiveState(kSmall), "active");
    EXPECT_EQ(ActiveState("multi-user.target"), "inactive");
    const auto lines = journal.Take();
    EXPECT_THAT(lines, Contains(Info(kIsolateFile, "vesksystemd: isolated to [small.target].")));
    EXPECT_THAT(lines, Contains(AllOf(
                           Field(&SyslogLine::file, kIsolateFile),
                           Field(&SyslogLine::message,
                                 AllOf(StartsWith("vesksystemd: wait stop service ["), HasSubstr(kSlow))))));

    EXPECT_TRUE(VESKSystemdIsolateToDefaultTarget());
    EXPECT_EQ(ActiveState("multi-user.target"), "active");
    EXPECT_EQ(ActiveState(kSlow), "active");
}

TEST_F(IsolateLive, WaitsForAnIsolationThatWasOnlyQueued)
{
    VESK::Systemd::IsolateOptions options;
    options.noBlock = true;
    EXPECT_TRUE(VESKSystemdIsolateTarget(kSmall, options, &result));
    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
    EXPECT_EQ(ActiveState(kSlow), "inactive");
    EXPECT_THAT(journal.Take(), Contains(Info(kIsolateFile, "vesksystemd: isolated to [small.target] with "
                                                            "option [--no-block].")));
}

TEST_F(IsolateLive, FreesTheIsolateLockWhileSystemctlIsolates)
{
    AddUnit(kSmall, SmallTarget().Unit("After=slow.service"));
    OtherProcess isolation([] { return VESKSystemdIsolateTarget(kSmall, nullptr) ? 0 : 1; });

    ASSERT_TRUE(AwaitActiveState(kSlow, "deactivating"));
    EXPECT_TRUE(Eventually([] { return IsLockFree(kIsolateLock); }));
    EXPECT_EQ(ActiveState(kSlow), "deactivating");
    EXPECT_TRUE(Exists(kFlag));
    EXPECT_FALSE(IsLockFree(kOperationLock));

    EXPECT_EQ(isolation.Wait(), Exited(0));
    EXPECT_EQ(ActiveState(kSlow), "inactive");
}

TEST_F(IsolateLive, TellsThatATargetMayNotBeIsolated)
{
    AddUnit("closed.target", UnitText().Unit("Description=closed"));
    EXPECT_FALSE(VESKSystemdIsolateTarget("closed.target", &result));
    EXPECT_EQ(ActiveState(kSlow), "active");
    EXPECT_THAT(
        journal.Take(),
        Contains(AllOf(Field(&SyslogLine::level, 3), Field(&SyslogLine::file, kIsolateFile),
                       Field(&SyslogLine::message,
                             AllOf(StartsWith("vesksystemd: isolate to [closed.target] failed: ret=["),
                                   HasSubstr("may not be isolated"))))));
}

TEST_F(IsolateLive, ComesBackFromAnActionThatFails)
{
    std::string slow;
    std::string small;
    EXPECT_FALSE(_VESKSystemdIsolateTargetAction(kSmall, [&] {
        slow = ActiveState(kSlow);
        small = ActiveState(kSmall);
        return false;
    }));
    EXPECT_EQ(slow, "inactive");
    EXPECT_EQ(small, "active");
    EXPECT_EQ(ActiveState("multi-user.target"), "active");
    EXPECT_EQ(ActiveState(kSlow), "active");
}

TEST_F(IsolateLive, ComesBackFromAnActionThatThrows)
{
    EXPECT_THROW(_VESKSystemdIsolateTargetAction(kSmall, []() -> bool { throw 7; }), int);
    EXPECT_EQ(ActiveState("multi-user.target"), "active");
    EXPECT_EQ(ActiveState(kSlow), "active");
}

TEST(DefaultTargetLive, IsReadAndSet)
{
    std::string target;
    EXPECT_TRUE(VESKSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, "multi-user.target");
    AddUnit(kSmall, SmallTarget());
    EXPECT_TRUE(VESKSystemdDefaultTargetSet(kSmall));
    EXPECT_TRUE(VESKSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, kSmall);
    EXPECT_TRUE(VESKSystemdDefaultTargetSetInGenerator("multi-user.target"));
    EXPECT_TRUE(VESKSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, "multi-user.target");
    EXPECT_FALSE(VESKSystemdDefaultTargetSet("missing.target"));
}

} // namespace
} // namespace VeskTest
