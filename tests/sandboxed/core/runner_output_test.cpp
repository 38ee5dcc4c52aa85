#include <csignal>
#include <gmock/gmock.h>
#include <syslog.h>

#include "boot_step.hpp"
#include "c_library_faults.hpp"
#include "holdings.hpp"
#include "runner_call.hpp"
#include "syslog_capture.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using VESK::Systemd::SystemctlOptsBuilder;

class RunnerOutput : public ::testing::Test
{
protected:
    RunnerOutput() { ClearBootStep(); }

    ScriptedSystemctl systemctl;
    SyslogCapture log;
};

TEST_F(RunnerOutput, IsGivenLineByLineWithTheLineFeeds)
{
    systemctl.OnAny().Stdout("one\n\n  two  \nthree");
    EXPECT_THAT(RunSystemctl("show", {}).lines, ElementsAre("one\n", "\n", "  two  \n", "three"));
}

TEST_F(RunnerOutput, IsThatOfBothStreamsAsTheyCame)
{
    systemctl.OnAny().Stderr("error 1\n").Stdout("line 1\n").Stderr("error ").Stdout("2\n");
    EXPECT_THAT(RunSystemctl("show", {}).lines, ElementsAre("error 1\n", "line 1\n", "error 2\n"));
}

TEST_F(RunnerOutput, MayBeEmpty)
{
    systemctl.OnAny();
    const RunnerCall call = RunSystemctl("show", {});
    EXPECT_EQ(call.callbacks, 1);
    EXPECT_THAT(call.lines, IsEmpty());
}

TEST_F(RunnerOutput, KeepsEveryByte)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    systemctl.OnAny().Stdout(bytes);
    EXPECT_THAT(RunSystemctl("show", {}).lines, ElementsAre(bytes.substr(0, 11), bytes.substr(11)));
}

TEST_F(RunnerOutput, IsNoneWhenItCannotBeReadToItsEnd)
{
    systemctl.OnAny().Stdout("one\n");
    const CLibraryFault fault(CLibraryFault::Getdelim);
    const Holdings before = Holdings::Now();
    const RunnerCall call = RunSystemctl("show", {"a"});
    EXPECT_TRUE(call.refused);
    EXPECT_EQ(call.callbacks, 0);
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_THAT(log.Take(),
                ElementsAre(Error(kRunnerFile, "vesksystemd: fail to execute [/usr/bin/systemctl show a].")));
}

TEST_F(RunnerOutput, FailsAnActionWhenItCannotBeReadToItsEnd)
{
    systemctl.OnAny();
    const CLibraryFault fault(CLibraryFault::Getdelim);
    Words failed;
    EXPECT_FALSE(VESKSystemdStart(Words{"a", "b"}, failed));
    EXPECT_THAT(failed, ElementsAre("a", "b"));
}

TEST_F(RunnerOutput, KeepsZeroBytesAtTheEndOfLines)
{
    const std::string bytes("a\0\n\0\n\0", 6);
    systemctl.OnAny().Stdout(bytes);
    EXPECT_THAT(RunSystemctl("show", {}).lines,
                ElementsAre(bytes.substr(0, 3), bytes.substr(3, 2), bytes.substr(5)));
}

TEST_F(RunnerOutput, MayBeAHundredMegabytesOfLines)
{
    constexpr std::size_t kLines = 1024UL * 1024;
    const std::string line = std::string(99, 'x') + "\n";
    systemctl.OnAny().Stdout(line, kLines).Exit(4);
    const RunnerCall call = RunSystemctl("show", {});
    EXPECT_EQ(call.exitCode, 4);
    ASSERT_THAT(call.lines, SizeIs(kLines));
    EXPECT_EQ(call.lines.front(), line);
    EXPECT_EQ(call.lines.back(), line);
}

TEST_F(RunnerOutput, MayBeOneLineOfAHundredMegabytes)
{
    constexpr std::size_t kBytes = 100UL * 1024 * 1024;
    systemctl.OnAny().Stderr("x", kBytes).Stderr("\n").Stdout("end");
    const RunnerCall call = RunSystemctl("show", {});
    ASSERT_THAT(call.lines, SizeIs(2));
    EXPECT_EQ(call.lines[0].size(), kBytes + 1);
    EXPECT_EQ(call.lines[0].find_first_not_of('x'), kBytes);
    EXPECT_EQ(call.lines[1], "end");
}

TEST_F(RunnerOutput, ComesWithEveryExitCodeThereIs)
{
    auto answers = systemctl.OnAny();
    for (int code = 0; code < 256; ++code) {
        answers.Exit(code).Then();
    }
    for (int code = 0; code < 256; ++code) {
        ASSERT_EQ(RunSystemctl("show", {}).exitCode, code);
    }
    EXPECT_THAT(log.Take(), IsEmpty()) << "what an exit code means is the callback's to judge";
}

TEST_F(RunnerOutput, ComesWithZeroForAChildThatASignalEnded)
{
    for (const int signal : {SIGKILL, SIGTERM, SIGSEGV, SIGHUP, SIGRTMAX}) {
        systemctl.OnAny().Stderr("last words").Kill(signal);
        const RunnerCall call = RunSystemctl("show", {});
        EXPECT_EQ(call.exitCode, 0) << signal;
        EXPECT_THAT(call.lines, ElementsAre("last words"));
    }
}

TEST_F(RunnerOutput, IsJudgedByTheCallbackAlone)
{
    systemctl.OnAny().Exit(3);
    const RunnerCall call = RunSystemctl("is-active", {"foo"}, true);
    EXPECT_TRUE(call.result);
    EXPECT_EQ(call.exitCode, 3);
    systemctl.OnAny().Exit(0);
    EXPECT_FALSE(RunSystemctl("is-active", {"foo"}, false).result);
}

TEST_F(RunnerOutput, ComesWithTheExecuteTimeInTheLogWhenAskedFor)
{
    constexpr int kMilliseconds = 30;
    systemctl.OnAny().Delay(kMilliseconds).Exit(1);
    const Words options{"--no-reload"};
    const auto opts = SystemctlOptsBuilder().SetCmdOpts(&options).SetCalRunTime(true).Build();
    EXPECT_TRUE(RunSystemctl("enable", opts, {"foo"}).result);
    const std::vector<SyslogLine> lines = log.Take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(lines[0].level, LOG_INFO);
    EXPECT_EQ(lines[0].file, kRunnerFile);
    const std::string before =
        "vesksystemd: Execute time for [/usr/bin/systemctl enable --no-reload foo] is ";
    ASSERT_EQ(lines[0].message.substr(0, before.size()), before);
    EXPECT_THAT(lines[0].message.substr(before.size()), MatchesRegex("[0-9]+ ms"));
    EXPECT_GE(std::stoi(lines[0].message.substr(before.size())), kMilliseconds);
}

TEST_F(RunnerOutput, ComesWithoutTheExecuteTimeWhenTheProcessLogsErrorsOnly)
{
    systemctl.OnAny();
    const int before = setlogmask(LOG_UPTO(LOG_ERR));
    EXPECT_TRUE(RunSystemctl("enable", SystemctlOptsBuilder().SetCalRunTime(true).Build(), {"foo"}).result);
    setlogmask(before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

} // namespace
} // namespace VeskTest
