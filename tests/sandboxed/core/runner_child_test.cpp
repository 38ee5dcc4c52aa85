#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>

#include "boot_step.hpp"
#include "checks.hpp"
#include "files.hpp"
#include "holdings.hpp"
#include "queued_jobs.hpp"
#include "runner_call.hpp"
#include "signal_storm.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class RunnerChild : public ::testing::Test
{
protected:
    RunnerChild() { ClearBootStep(); }

    ScriptedSystemctl systemctl;
    SyslogCapture log;
};

Words EnvironmentOfThisProcess()
{
    Words variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        variables.emplace_back(*variable);
    }
    return variables;
}

TEST_F(RunnerChild, HasTheCallersEnvironmentAndFolder)
{
    systemctl.OnAny();
    setenv("VESK_TEST", "a b\nc", 1);
    ASSERT_EQ(chdir("/usr/lib"), 0);
    EXPECT_TRUE(RunSystemctl("show", {}).result);
    const std::vector<Call> calls = systemctl.Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].environment, EnvironmentOfThisProcess());
    EXPECT_THAT(calls[0].environment, Contains("VESK_TEST=a b\nc"));
    EXPECT_EQ(calls[0].folder, "/usr/lib");
    EXPECT_EQ(calls[0].parent, getpid());
}

TEST_F(RunnerChild, HasTheThreeStandardDescriptorsOnly)
{
    systemctl.OnAny();
    ASSERT_NE(open("/etc/passwd", O_RDONLY), -1); // NOLINT(android-cloexec-open): inheritable on purpose
    ASSERT_NE(dup2(STDERR_FILENO, 900), -1);
    EXPECT_TRUE(RunSystemctl("show", {}).result);
    const auto descriptors = systemctl.Calls().at(0).descriptors;
    ASSERT_THAT(descriptors, SizeIs(3));
    EXPECT_EQ(descriptors.at(0), "/dev/null");
    EXPECT_THAT(descriptors.at(1), ::testing::StartsWith("pipe:"));
    EXPECT_EQ(descriptors.at(2), descriptors.at(1));
}

TEST_F(RunnerChild, StartsForACallerThatClosedItsStandardDescriptors)
{
    systemctl.OnAny().Stdout("out\n").Stderr("err\n").Exit(3);
    ExpectInChild([] {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        const RunnerCall call = RunSystemctl("show", {});
        EXPECT_EQ(call.exitCode, 3);
        EXPECT_THAT(call.lines, ElementsAre("out\n", "err\n"));
    });
    EXPECT_THAT(systemctl.Calls().at(0).descriptors, SizeIs(3));
}

TEST_F(RunnerChild, LeavesNothingBehind)
{
    AnswerNoJobs(systemctl);
    AnswerJob(systemctl, "b", "start");
    systemctl.On({"show"}).Stdout("x\n", 100000).Exit(1);
    systemctl.On({"status"}).Kill(SIGKILL);
    SetBootStep(0);
    const Holdings before = Holdings::Now();
    EXPECT_EQ(RunSystemctl("show", {}).exitCode, 1);
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_EQ(RunSystemctl("status", {}).exitCode, 0);
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_TRUE(RunSystemctl("start", {"a", "b"}).refused);
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_THROW(VESKSystemdSystemctl("show", {}, nullptr), std::bad_function_call);
    EXPECT_EQ(Holdings::Now(), before);
    systemctl.Remove();
    EXPECT_TRUE(RunSystemctl("show", {}).refused);
    EXPECT_EQ(Holdings::Now(), before);
}

TEST_F(RunnerChild, HasRunWhenTheCallbackTurnsOutToBeEmpty)
{
    systemctl.OnAny();
    EXPECT_THROW(VESKSystemdSystemctl("show", {"a"}, nullptr), std::bad_function_call);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("show a"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(RunnerChild, HasEndedWhenTheCallbackThrows)
{
    systemctl.OnAny();
    const Holdings before = Holdings::Now();
    EXPECT_THROW(VESKSystemdSystemctl("show", {"a"}, [](int, const Words&) -> bool { throw 42; }), int);
    EXPECT_EQ(Holdings::Now(), before);
}

TEST_F(RunnerChild, IsReportedWhenItCannotBeStarted)
{
    const auto opts = VESK::Systemd::SystemctlOptsBuilder().SetCalRunTime(true).Build();
    const auto expectRefusal = [&](const char* what) {
        SCOPED_TRACE(what);
        const RunnerCall call = RunSystemctl("start", opts, {"foo", "bar"});
        EXPECT_TRUE(call.refused);
        EXPECT_EQ(call.callbacks, 0);
        EXPECT_THAT(log.Take(),
                    ElementsAre(Error(kRunnerFile,
                                      "vesksystemd: fail to execute [/usr/bin/systemctl start foo bar].")));
    };
    ASSERT_EQ(chmod("/usr/bin/systemctl", 0644), 0);
    expectRefusal("not executable");
    WriteText("/usr/bin/systemctl", "", 0755);
    expectRefusal("no program");
    systemctl.Remove();
    expectRefusal("missing");
    MakeFolder("/usr/bin/systemctl");
    expectRefusal("a folder");
    RemoveAll("/usr/bin/systemctl");
}

// Without a look at the exception's type, for which a sanitizer needs descriptors itself.
bool IsRefused()
{
    try {
        return !VESKSystemdSystemctl("show", {}, [](int, const Words&) { return true; });
    } catch (const std::exception&) {
        return true;
    }
}

TEST_F(RunnerChild, NeedsTwoFreeDescriptors)
{
    systemctl.OnAny().Exit(3);
    ExpectInChild([] {
        openlog(nullptr, LOG_NDELAY, LOG_USER);
        const rlimit limit{64, 64};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
        int last = -1;
        for (int descriptor = dup(STDERR_FILENO); descriptor >= 0; descriptor = dup(STDERR_FILENO)) {
            last = descriptor;
        }
        EXPECT_TRUE(IsRefused()) << "none is free";
        close(last);
        EXPECT_TRUE(IsRefused()) << "one is free";
        EXPECT_EQ(dup(STDERR_FILENO), last);
        EXPECT_EQ(dup(STDERR_FILENO), -1) << "none has come back that was not there";
        close(last);
        close(last - 1);
        EXPECT_EQ(RunSystemctl("show", {}).exitCode, 3) << "two are free";
        EXPECT_NE(dup(STDERR_FILENO), -1);
        EXPECT_NE(dup(STDERR_FILENO), -1);
        EXPECT_EQ(dup(STDERR_FILENO), -1);
    });
    EXPECT_THAT(log.Take(),
                ElementsAre(Error(kRunnerFile, "vesksystemd: fail to execute [/usr/bin/systemctl show]."),
                            Error(kRunnerFile, "vesksystemd: fail to execute [/usr/bin/systemctl show].")));
}

TEST_F(RunnerChild, IsWaitedForByACallerThatIgnoresSigchld)
{
    systemctl.OnAny().Delay(20).Stdout("out\n").Exit(3);
    ExpectInChild([] {
        ASSERT_NE(signal(SIGCHLD, SIG_IGN), SIG_ERR);
        const Holdings before = Holdings::Now();
        const RunnerCall call = RunSystemctl("show", {});
        // 255 where the kernel keeps no exit code of a child that nobody is to wait for.
        EXPECT_THAT(call.exitCode, AnyOf(3, 255));
        EXPECT_THAT(call.lines, ElementsAre("out\n"));
        EXPECT_EQ(Holdings::Now(), before);
    });
}

TEST_F(RunnerChild, IsReadWholeByACallerWhoseCallsAreInterrupted)
{
    systemctl.OnAny()
        .Stdout("a line\n", 2000)
        .Delay(20)
        .Stdout("half ")
        .Delay(20)
        .Stderr("and half\n")
        .Exit(3);
    const SignalStorm storm;
    for (int round = 0; round < 10; ++round) {
        const RunnerCall call = RunSystemctl("show", {});
        EXPECT_EQ(call.exitCode, 3);
        ASSERT_THAT(call.lines, SizeIs(2001));
        EXPECT_EQ(call.lines.back(), "half and half\n");
    }
    EXPECT_GT(SignalStorm::Count(), 0);
}

TEST_F(RunnerChild, IsOneOfItsOwnForEachOfManyThreads)
{
    constexpr int kThreads = 16;
    constexpr int kRounds = 8;
    for (int number = 0; number < kThreads; ++number) {
        const std::string name = std::to_string(number);
        systemctl.On({"show", name}).Stdout("I am " + name + "\n", 100).Exit(number);
    }
    // The first thread makes the C library set a handler for a signal of its own.
    std::thread([] {}).join();
    const Holdings before = Holdings::Now();
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    std::vector<int> right(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([number, &right] {
            const std::string name = std::to_string(number);
            const Words expected(100, "I am " + name + "\n");
            for (int round = 0; round < kRounds; ++round) {
                const RunnerCall call = RunSystemctl("show", {name});
                right[static_cast<std::size_t>(number)] += call.exitCode == number && call.lines == expected;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, std::vector<int>(kThreads, kRounds));
    EXPECT_EQ(Holdings::Now(), before);
}

} // namespace
} // namespace VeskTest
