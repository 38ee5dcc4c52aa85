#include <gmock/gmock.h>

#include "boot_step.hpp"
#include "files.hpp"
#include "paths.hpp"
#include "queued_jobs.hpp"
#include "runner_call.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

enum class Outcome { Runs, RunsWithoutBlocking, IsRefused, RunsNothing };

// What becomes of a verb while the unit has a job of that type ("" for none).
struct PolicyRow {
    const char* name;
    const char* verb;
    const char* job;
    Outcome inForce;
    Outcome otherwise;
};

std::ostream& operator<<(std::ostream& stream, const PolicyRow& row)
{
    return stream << row.verb << " with " << (*row.job == '\0' ? "no" : row.job) << " job";
}

constexpr PolicyRow kRows[] = {
    {"StartAndNoJob", "start", "", Outcome::Runs, Outcome::Runs},
    {"StartAndStartJob", "start", "start", Outcome::IsRefused, Outcome::Runs},
    {"StartAndStopJob", "start", "stop", Outcome::Runs, Outcome::Runs},
    {"StartAndOtherJob", "start", "verify-active", Outcome::Runs, Outcome::Runs},
    {"StopAndNoJob", "stop", "", Outcome::Runs, Outcome::Runs},
    {"StopAndStartJob", "stop", "start", Outcome::Runs, Outcome::Runs},
    {"StopAndStopJob", "stop", "stop", Outcome::IsRefused, Outcome::Runs},
    {"StopAndOtherJob", "stop", "restart", Outcome::Runs, Outcome::Runs},
    {"RestartAndNoJob", "restart", "", Outcome::Runs, Outcome::Runs},
    {"RestartAndStartJob", "restart", "start", Outcome::IsRefused, Outcome::Runs},
    {"RestartAndStopJob", "restart", "stop", Outcome::IsRefused, Outcome::Runs},
    {"RestartAndOtherJob", "restart", "reload", Outcome::IsRefused, Outcome::Runs},
    {"ReloadAndNoJob", "reload", "", Outcome::Runs, Outcome::Runs},
    {"ReloadAndStartJob", "reload", "start", Outcome::RunsWithoutBlocking, Outcome::Runs},
    {"ReloadAndStopJob", "reload", "stop", Outcome::RunsNothing, Outcome::RunsNothing},
    {"ReloadAndOtherJob", "reload", "restart", Outcome::RunsWithoutBlocking, Outcome::Runs},
    {"TryRestartAndNoJob", "try-restart", "", Outcome::Runs, Outcome::Runs},
    {"TryRestartAndStartJob", "try-restart", "start", Outcome::Runs, Outcome::Runs},
    {"TryRestartAndStopJob", "try-restart", "stop", Outcome::RunsNothing, Outcome::RunsNothing},
    {"TryRestartAndOtherJob", "try-restart", "restart", Outcome::Runs, Outcome::Runs},
    {"ReloadOrRestartAndStopJob", "reload-or-restart", "stop", Outcome::Runs, Outcome::Runs},
    {"ReloadOrRestartAndStartJob", "reload-or-restart", "start", Outcome::Runs, Outcome::Runs},
    {"EnableAndStartJob", "enable", "start", Outcome::Runs, Outcome::Runs},
    {"IsolateAndStartJob", "isolate", "start", Outcome::Runs, Outcome::Runs},
    {"CapitalStartAndStartJob", "Start", "start", Outcome::Runs, Outcome::Runs},
    {"NoVerbAndStartJob", "", "start", Outcome::Runs, Outcome::Runs},
};

struct Step {
    const char* text; // what the boot sequence left in its file; null for no file
    bool inForce;
};

constexpr Step kSteps[] = {
    {nullptr, false}, {"-1\n", false}, {"0\n", true},  {"1\n", true},     {"2\n", true},        {"3\n", true},
    {"4\n", false},   {"5\n", true},   {"6\n", false}, {"1000\n", false}, {"garbage\n", false}, {"", false},
};

void WriteStep(const Step& step)
{
    ClearBootStep();
    if (step.text != nullptr) {
        WriteText(kBootStep, step.text);
    }
}

// The calls that are no question about jobs.
Words Commands(const ScriptedProgram& systemctl)
{
    Words commands;
    for (const Call& call : systemctl.Calls()) {
        if (call.arguments.at(0) != "list-jobs") {
            EXPECT_EQ(call.arguments.back(), "foo");
            commands.push_back(call.arguments.size() == 2 ? "runs" : call.arguments.at(1));
        }
    }
    return commands;
}

class ServiceControlPolicy : public ::testing::TestWithParam<PolicyRow>
{
protected:
    ServiceControlPolicy()
    {
        systemctl.OnAny();
        AnswerNoJobs(systemctl);
        if (*GetParam().job != '\0') {
            AnswerJob(systemctl, "foo", GetParam().job, "waiting");
        }
    }

    void Expect(Outcome outcome)
    {
        const RunnerCall call = RunSystemctl(GetParam().verb, {"foo"});
        EXPECT_EQ(call.refused, outcome == Outcome::IsRefused);
        EXPECT_EQ(call.result, outcome != Outcome::IsRefused);
        EXPECT_EQ(call.callbacks, outcome == Outcome::IsRefused ? 0 : 1);
        EXPECT_THAT(call.lines, IsEmpty());
        switch (outcome) {
        case Outcome::Runs:
            EXPECT_THAT(Commands(systemctl), ElementsAre("runs"));
            break;
        case Outcome::RunsWithoutBlocking:
            EXPECT_THAT(Commands(systemctl), ElementsAre("--no-block"));
            break;
        case Outcome::IsRefused:
        case Outcome::RunsNothing:
            EXPECT_THAT(Commands(systemctl), IsEmpty());
            break;
        }
    }

    ScriptedSystemctl systemctl;
};

TEST_P(ServiceControlPolicy, HoldsInTheBootStepsZeroToThreeAndFiveOnly)
{
    for (const Step& step : kSteps) {
        SCOPED_TRACE(step.text == nullptr ? "no step" : step.text);
        WriteStep(step);
        systemctl.ForgetCalls();
        Expect(step.inForce ? GetParam().inForce : GetParam().otherwise);
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, ServiceControlPolicy, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

// While the system boots, and nothing is queued at first.
class ServiceControl : public ::testing::Test
{
protected:
    ServiceControl()
    {
        systemctl.OnAny();
        AnswerNoJobs(systemctl);
        SetBootStep(0);
    }

    ScriptedSystemctl systemctl;
    SyslogCapture log;
};

TEST_F(ServiceControl, IsThatOfWhatSystemctlGetsOfTheVerbAndTheUnits)
{
    AnswerJob(systemctl, "foo", "start");
    EXPECT_TRUE(RunSystemctl(std::string("start\0x", 7), {std::string("foo\0bar", 7)}).refused);
    AnswerJob(systemctl, "foo", "stop");
    EXPECT_EQ(RunSystemctl(std::string("try-restart\0", 12), {std::string("foo\0", 4)}).callbacks, 1);
    EXPECT_THAT(Commands(systemctl), IsEmpty());
}

TEST_F(ServiceControl, LogsTheJobAndTheCommandThatItRefuses)
{
    AnswerJob(systemctl, "b", "start");
    const Words options{"--job-mode=fail"};
    const auto opts = VESK::Systemd::SystemctlOptsBuilder().SetCmdOpts(&options).SetCalRunTime(true).Build();
    EXPECT_TRUE(RunSystemctl("start", opts, {"a", "b", "c"}).refused);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("list-jobs --no-legend a", "list-jobs --no-legend b"));
    EXPECT_THAT(
        log.Take(),
        ElementsAre(Info(kRunnerFile, "vesksystemd: unit is in job list: [7 b.service start running]"),
                    Info(kRunnerFile, "vesksystemd: Skip execute by service control policy: "
                                      "[/usr/bin/systemctl start --job-mode=fail a b c]")));
}

TEST_F(ServiceControl, NamesAJobOfAnotherTypeInItsOwnWord)
{
    AnswerJob(systemctl, "a", "verify-active", "waiting");
    EXPECT_TRUE(RunSystemctl("restart", {"a"}).refused);
    EXPECT_THAT(
        log.Take(),
        ElementsAre(
            Info(kRunnerFile, "vesksystemd: unit is in job list: [7 a.service unknow waiting]"),
            Info(kRunnerFile,
                 "vesksystemd: Skip execute by service control policy: [/usr/bin/systemctl restart a]")));
}

TEST_F(ServiceControl, LooksPastAJobThatDoesNotConflict)
{
    AnswerJob(systemctl, "a", "stop");
    AnswerJob(systemctl, "b", "start");
    EXPECT_TRUE(RunSystemctl("start", {"a", "b"}).refused);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("list-jobs --no-legend a", "list-jobs --no-legend b"));
}

TEST_F(ServiceControl, LetsACallWithoutUnitsRun)
{
    for (const char* verb : {"start", "stop", "restart"}) {
        EXPECT_TRUE(RunSystemctl(verb, {}).result);
    }
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("start", "stop", "restart"));
}

TEST_F(ServiceControl, AsksForJobsUpToTheFirstThatMakesAReloadNotBlock)
{
    AnswerJob(systemctl, "b", "start");
    const Words options{"--quiet"};
    EXPECT_TRUE(RunSystemctl("reload", VESK::Systemd::SystemctlOptsBuilder().SetCmdOpts(&options).Build(),
                             {"a", "b", "c"})
                    .result);
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("list-jobs --no-legend a", "list-jobs --no-legend b", "list-jobs --no-legend a",
                            "list-jobs --no-legend b", "list-jobs --no-legend c",
                            "reload --quiet --no-block a b c"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ServiceControl, TakesAQueueThatCannotBeReadForAnEmptyOne)
{
    systemctl.On({"list-jobs", "--no-legend", "a"}).Stdout("7 a.service start running\n").Exit(0);
    EXPECT_TRUE(RunSystemctl("start", {"a"}).result);
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("systemd_job_list.cpp", "vesksystemd: Failed to list-jobs [a], ret=[0], "
                                                          "reason=[7 a.service start running\n]")));
}

TEST_F(ServiceControl, TakesARowThatCannotBeReadForNoJob)
{
    systemctl.On({"list-jobs", "--no-legend", "a"}).Stdout("7 a.service  start running\n").Exit(1);
    EXPECT_TRUE(RunSystemctl("start", {"a"}).result);
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("systemd_job_list.cpp", "vesksystemd: Failed to parse job info: "
                                                          "[7 a.service  start running\n]")));
}

TEST_F(ServiceControl, GoesByTheFirstRowOfAnAnswer)
{
    systemctl.On({"list-jobs", "--no-legend", "a"})
        .Stdout("7 a.service stop running\n8 a.service start waiting\n")
        .Exit(1);
    EXPECT_TRUE(RunSystemctl("start", {"a"}).result);
    EXPECT_TRUE(RunSystemctl("stop", {"a"}).refused);
}

} // namespace
} // namespace VeskTest
