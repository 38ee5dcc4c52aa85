#include <boost/optional/optional_io.hpp>
#include <csignal>
#include <cstdio>
#include <gmock/gmock.h>
#include <string>
#include <syslog.h>
#include <vector>
#include <vesksystemd.hpp>

#include "c_library_faults.hpp"
#include "holdings.hpp"
#include "scripted_program.hpp"
#include "signal_storm.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::Executor;

constexpr const char* kFile = "executor.cpp";
constexpr const char* kProgram = "/usr/bin/program";

class ExecutorTest : public ::testing::Test
{
protected:
    ScriptedProgram program{kProgram};
    SyslogCapture log;
    Executor executor;
};

TEST_F(ExecutorTest, IsEmptyAtFirst)
{
    EXPECT_EQ(executor.GetCommandLine(), "");
    EXPECT_EQ(executor.GetOutput(), "");
}

TEST_F(ExecutorTest, RunsAProgramWithItsArguments)
{
    program.OnAny().Stdout("one\ntwo");
    EXPECT_EQ(executor.Execute(kProgram, {"a b", "", "$c"}), 0);
    EXPECT_THAT(program.Calls().at(0).argv, ElementsAre(kProgram, "a b", "", "$c"));
    EXPECT_EQ(executor.GetOutput(), "one\ntwo");
    EXPECT_EQ(executor.GetCommandLine(), "/usr/bin/program a b  $c");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ExecutorTest, HasThePathAloneForACommandLineWithoutArguments)
{
    program.OnAny();
    EXPECT_EQ(executor.Execute(kProgram, {}), 0);
    EXPECT_EQ(executor.GetCommandLine(), kProgram);
}

TEST_F(ExecutorTest, GivesEveryExitCodeAndTheOutputWithIt)
{
    auto answers = program.OnAny();
    for (int code = 0; code < 256; ++code) {
        answers.Stdout(std::to_string(code)).Exit(code).Then();
    }
    for (int code = 0; code < 256; ++code) {
        ASSERT_EQ(executor.Execute(kProgram, {}), code);
        ASSERT_EQ(executor.GetOutput(), std::to_string(code));
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ExecutorTest, KeepsEveryByteOfTheStandardOutputAndNoneOfTheErrors)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    program.OnAny().Stderr("error").Stdout(bytes, 1000).Stderr("error");
    EXPECT_EQ(executor.Execute(kProgram, {}), 0);
    EXPECT_EQ(executor.GetOutput().size(), 256000U);
    EXPECT_EQ(executor.GetOutput().substr(255744), bytes);
}

TEST_F(ExecutorTest, RefusesAnEmptyPathAndKeepsWhatItHolds)
{
    program.OnAny().Stdout("out");
    ASSERT_EQ(executor.Execute(kProgram, {"a"}), 0);
    EXPECT_EQ(executor.Execute("", {"b"}), boost::none);
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "Bad executable path")));
    EXPECT_EQ(executor.GetCommandLine(), "/usr/bin/program a");
    EXPECT_EQ(executor.GetOutput(), "out");
    EXPECT_EQ(program.Calls().size(), 1U);
}

TEST_F(ExecutorTest, LogsAProgramThatCannotBeStarted)
{
    program.OnAny().Stdout("out");
    ASSERT_EQ(executor.Execute(kProgram, {}), 0);
    const Holdings before = Holdings::Now();
    EXPECT_EQ(executor.Execute("/no/such/program", {"a", "b"}), boost::none);
    EXPECT_EQ(executor.Execute("/etc/passwd", {}), boost::none);
    EXPECT_EQ(executor.Execute("/tmp", {}), boost::none);
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "Fail to execute [/no/such/program a b]"),
                                        Error(kFile, "Fail to execute [/etc/passwd]"),
                                        Error(kFile, "Fail to execute [/tmp]")));
    EXPECT_EQ(executor.GetCommandLine(), "/tmp");
    EXPECT_EQ(executor.GetOutput(), "out") << "what was last read";
}

TEST_F(ExecutorTest, HasNoResultForAProgramThatASignalEnded)
{
    for (const int signal : {SIGKILL, SIGTERM, SIGHUP}) {
        program.OnAny().Stdout("last words").Kill(signal);
        EXPECT_EQ(executor.Execute(kProgram, {"a"}), boost::none);
        EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "Execution is not completed, status: [" +
                                                             std::to_string(signal) +
                                                             "], command: [/usr/bin/program a]")));
        EXPECT_EQ(executor.GetOutput(), "last words");
    }
}

TEST_F(ExecutorTest, MayBeUsedAgain)
{
    program.On({"1"}).Stdout("first");
    program.On({"2"}).Exit(2);
    EXPECT_EQ(executor.Execute(kProgram, {"1"}), 0);
    EXPECT_EQ(executor.Execute(kProgram, {"2"}), 2);
    EXPECT_EQ(executor.GetOutput(), "");
    EXPECT_EQ(executor.GetCommandLine(), "/usr/bin/program 2");
}

TEST_F(ExecutorTest, TakesItsOwnOutputForAPath)
{
    program.OnAny().Stdout(kProgram);
    ASSERT_EQ(executor.Execute(kProgram, {}), 0);
    EXPECT_EQ(executor.Execute(executor.GetOutput(), {executor.GetOutput()}), 0);
    EXPECT_EQ(executor.GetCommandLine(), "/usr/bin/program /usr/bin/program");
}

TEST_F(ExecutorTest, ReadsOutputFromAnyStream)
{
    std::string text("a\nb\0c\n\nd", 8);
    FILE* stream = fmemopen(text.data(), text.size(), "r");
    EXPECT_TRUE(executor.ReadOutput(stream));
    EXPECT_EQ(executor.GetOutput(), text);
    EXPECT_TRUE(executor.ReadOutput(stream)) << "at its end";
    EXPECT_EQ(executor.GetOutput(), "");
    EXPECT_EQ(fclose(stream), 0);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ExecutorTest, ReadsNoNullStream)
{
    std::string text("text");
    FILE* stream = fmemopen(text.data(), text.size(), "r");
    EXPECT_TRUE(executor.ReadOutput(stream));
    EXPECT_EQ(fclose(stream), 0);
    EXPECT_FALSE(executor.ReadOutput(nullptr));
    EXPECT_EQ(executor.GetOutput(), "text");
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "Bad file descriptor")));
}

TEST_F(ExecutorTest, LeavesNothingBehind)
{
    program.On({"0"}).Stdout("x\n", 10000);
    program.On({"1"}).Kill(SIGKILL);
    const Holdings before = Holdings::Now();
    EXPECT_EQ(executor.Execute(kProgram, {"0"}), 0);
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_EQ(executor.Execute(kProgram, {"1"}), boost::none);
    EXPECT_EQ(Holdings::Now(), before);
}

TEST_F(ExecutorTest, ReadsAllWhileItsCallsAreInterrupted)
{
    program.OnAny().Stdout("half a ").Delay(20).Stdout("line\n").Delay(20).Exit(3);
    const SignalStorm storm;
    for (int round = 0; round < 10; ++round) {
        EXPECT_EQ(executor.Execute(kProgram, {}), 3);
        EXPECT_EQ(executor.GetOutput(), "half a line\n");
    }
    EXPECT_GT(SignalStorm::Count(), 0);
}

TEST_F(ExecutorTest, LogsOutputThatCannotBeReadToItsEnd)
{
    // One that prints may be ended by the signal for a pipe that nobody reads any more.
    program.OnAny().Exit(3);
    const CLibraryFault fault(CLibraryFault::Getdelim);
    EXPECT_EQ(executor.Execute(kProgram, {}), 3);
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "Failed to read error output")));
}

TEST_F(ExecutorTest, LogsNothingWhenTheProcessLogsAlertsOnly)
{
    const int before = setlogmask(LOG_UPTO(LOG_CRIT));
    EXPECT_EQ(executor.Execute("", {}), boost::none);
    EXPECT_EQ(executor.Execute("/no/such/program", {}), boost::none);
    setlogmask(before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

} // namespace
} // namespace VeskTest
