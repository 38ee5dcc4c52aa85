#include <gmock/gmock.h>
#include <syslog.h>

#include "boot_step.hpp"
#include "queued_jobs.hpp"
#include "runner_call.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// For the two verbs that pass over units with a stop job, outside of the boot.
class StoppingUnits : public ::testing::TestWithParam<const char*>
{
protected:
    StoppingUnits()
    {
        ClearBootStep();
        AnswerNoJobs(systemctl);
    }

    ScriptedSystemctl systemctl;
    SyslogCapture log;
    const std::string verb = GetParam();
};

INSTANTIATE_TEST_SUITE_P(Verbs, StoppingUnits, ::testing::Values("try-restart", "reload"),
                         [](const auto& row) { return row.index == 0 ? "TryRestart" : "Reload"; });

TEST_P(StoppingUnits, AreLeftOutAndLogged)
{
    AnswerJob(systemctl, "b", "stop", "waiting");
    AnswerJob(systemctl, "c", "start");
    AnswerJob(systemctl, "d", "stop", "running");
    systemctl.On({verb, "a", "c"}).Stderr("done\n").Exit(3);
    const RunnerCall call = RunSystemctl(verb, {"a", "b", "c", "d"});
    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.exitCode, 3);
    EXPECT_THAT(call.lines, ElementsAre("done\n"));
    EXPECT_THAT(log.Take(),
                ElementsAre(Info(kRunnerFile, "vesksystemd: [b] type [2] state [2] is going to stop."),
                            Info(kRunnerFile, "vesksystemd: [d] type [2] state [1] is going to stop.")));
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("list-jobs --no-legend a", "list-jobs --no-legend b", "list-jobs --no-legend c",
                            "list-jobs --no-legend d", verb + " a c"));
}

TEST_P(StoppingUnits, AreNotActedOnWhenThereAreNoOthers)
{
    AnswerJob(systemctl, "a", "stop");
    AnswerJob(systemctl, "b", "stop");
    for (const bool answer : {true, false}) {
        const RunnerCall call = RunSystemctl(verb, {"a", "b"}, answer);
        EXPECT_EQ(call.result, answer);
        EXPECT_EQ(call.callbacks, 1);
        EXPECT_EQ(call.exitCode, 0);
        EXPECT_THAT(call.lines, IsEmpty());
    }
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("list-jobs --no-legend a", "list-jobs --no-legend b",
                                                   "list-jobs --no-legend a", "list-jobs --no-legend b"));
}

TEST_P(StoppingUnits, LeaveNothingToRunInAnEmptyList)
{
    const RunnerCall call = RunSystemctl(verb, {});
    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.exitCode, 0);
    EXPECT_THAT(call.lines, IsEmpty());
    EXPECT_FALSE(RunSystemctl(verb, {}, false).result);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(StoppingUnits, NeedACallbackEvenWhenNothingIsRun)
{
    EXPECT_THROW(VESKSystemdSystemctl(verb, {}, nullptr), std::bad_function_call);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

TEST_P(StoppingUnits, LogNoExecuteTimeWhenNothingIsRun)
{
    EXPECT_TRUE(
        RunSystemctl(verb, VESK::Systemd::SystemctlOptsBuilder().SetCalRunTime(true).Build(), {}).result);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(StoppingUnits, AreNotToldWhenTheProcessLogsErrorsOnly)
{
    AnswerJob(systemctl, "a", "stop");
    const int before = setlogmask(LOG_UPTO(LOG_ERR));
    EXPECT_TRUE(RunSystemctl(verb, {"a"}).result);
    setlogmask(before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(StoppingUnitsOfOtherVerbs, AreActedOn)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    ClearBootStep();
    for (const char* verb : {"start", "stop", "restart", "reload-or-restart", "kill"}) {
        EXPECT_TRUE(RunSystemctl(verb, {"a"}).result);
    }
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("start a", "stop a", "restart a", "reload-or-restart a", "kill a"));
}

} // namespace
} // namespace VeskTest
