// The unit actions on a real systemd, where they succeed.

#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "journal_capture.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

using Units = std::vector<std::string>;

std::string MainPid(const std::string& unit)
{
    return Property(unit, "MainPID");
}

TEST(ActionsLive, StartBringsServicesUpAndStopTakesThemDown)
{
    AddUnit("one.service", RunningService());
    AddUnit("two.service", RunningService());
    Units failed;

    EXPECT_TRUE(VESKSystemdStart({"one", "two.service"}, failed));
    EXPECT_EQ(ActiveState("one.service"), "active");
    EXPECT_EQ(ActiveState("two.service"), "active");

    EXPECT_TRUE(VESKSystemdStop({"one", "two"}, failed));
    EXPECT_EQ(ActiveState("one.service"), "inactive");
    EXPECT_EQ(ActiveState("two.service"), "inactive");
    EXPECT_THAT(failed, IsEmpty());
}

TEST(ActionsLive, StopReturnsAfterASlowServiceIsDown)
{
    AddUnit("slow.service", SlowToStopService(2));
    ASSERT_TRUE(VESKSystemdStart("slow"));

    EXPECT_EQ(VESKCSystemdStop("slow"), 1);

    EXPECT_EQ(ActiveState("slow.service"), "inactive");
}

TEST(ActionsLive, RestartGivesARunningServiceAnotherProcessAndStartsAStoppedOne)
{
    AddUnit("foo.service", RunningService());
    EXPECT_TRUE(VESKSystemdRestart("foo"));
    const std::string before = MainPid("foo.service");

    EXPECT_EQ(VESKCSystemdRestart("foo"), 1);

    EXPECT_EQ(ActiveState("foo.service"), "active");
    EXPECT_NE(MainPid("foo.service"), before);
}

TEST(ActionsLive, TryRestartLeavesAStoppedServiceDown)
{
    AddUnit("foo.service", RunningService());
    EXPECT_TRUE(VESKSystemdTryRestart("foo"));
    EXPECT_EQ(ActiveState("foo.service"), "inactive");

    ASSERT_TRUE(VESKSystemdStart("foo"));
    const std::string before = MainPid("foo.service");
    EXPECT_EQ(VESKCSystemdTryRestart("foo"), 1);
    EXPECT_NE(MainPid("foo.service"), before);
}

TEST(ActionsLive, ReloadRunsTheReloadOfARunningService)
{
    AddUnit("foo.service", RunningService().Service("ExecReload=/bin/touch /run/reloaded"));
    ASSERT_TRUE(VESKSystemdStart("foo"));

    EXPECT_TRUE(VESKSystemdReload("foo"));

    EXPECT_TRUE(Eventually([] { return Exists("/run/reloaded"); }));
}

TEST(ActionsLive, ReloadReturnsWhileTheReloadStillRuns)
{
    AddUnit("foo.service", RunningService().Service("ExecReload=/bin/sleep infinity"));
    ASSERT_TRUE(VESKSystemdStart("foo"));

    EXPECT_EQ(VESKCSystemdReload("foo"), 1);

    EXPECT_TRUE(AwaitActiveState("foo.service", "reloading"));
}

TEST(ActionsLive, ReloadOrRestartReloadsWhatCanBeReloadedAndRestartsTheRest)
{
    AddUnit("can.service", RunningService().Service("ExecReload=/bin/touch /run/reloaded"));
    AddUnit("cannot.service", RunningService());
    Units failed;
    ASSERT_TRUE(VESKSystemdStart({"can", "cannot"}, failed));
    const std::string can = MainPid("can.service");
    const std::string cannot = MainPid("cannot.service");

    EXPECT_TRUE(VESKSystemdReloadOrRestart({"can", "cannot"}, failed));

    EXPECT_EQ(MainPid("can.service"), can);
    EXPECT_TRUE(Exists("/run/reloaded"));
    EXPECT_NE(MainPid("cannot.service"), cannot);
}

TEST(ActionsLive, AnIrreversibleStartCannotBeReplacedByAStop)
{
    AddUnit("foo.service", HangingService());
    OtherProcess start([] { return VESKSystemdStartIrreversibly("foo") ? 1 : 0; });
    ASSERT_TRUE(AwaitActiveState("foo.service", "activating"));

    EXPECT_FALSE(VESKSystemdStop("foo"));
    EXPECT_EQ(ActiveState("foo.service"), "activating");

    MustSystemctl({"cancel"});
    EXPECT_EQ(start.Wait(), Exited(0));
}

TEST(ActionsLive, TheEventLogNamesUnitsByTheirDisplayNames)
{
    AddUnit("media.service", RunningService().Line("X-Veskline", "Name=Media Server"));
    AddUnit("backup.service", FailingService().Line("X-Veskline", "Name=Backup"));
    AddUnit("plain.service", RunningService());
    Units failedToStart;
    Units failedToStop;

    EXPECT_FALSE(VESKSystemdStart({"media", "backup", "plain"}, failedToStart));
    EXPECT_TRUE(VESKSystemdStop({"media", "plain"}, failedToStop));

    EXPECT_THAT(ReadText("/var/log/vesk/event.log"),
                MatchesRegex("[^\n]* vesksystemd 0001 started: Media Server\n"
                             "[^\n]* vesksystemd 0011 failed to start: Backup\n"
                             "[^\n]* vesksystemd 0002 stopped: Media Server\n"));
}

TEST(ActionsLive, TheJournalHoldsTheLinesOfAnAction)
{
    AddUnit("foo.service", RunningService());
    JournalCapture journal;

    EXPECT_TRUE(VESKSystemdStart("foo"));

    EXPECT_THAT(journal.Take(), ElementsAre(Info("systemd_start.cpp", "vesksystemd: [foo] starting ..."),
                                            Info("systemd_start.cpp", "vesksystemd: [foo] started.")));
}

} // namespace
} // namespace VeskTest
