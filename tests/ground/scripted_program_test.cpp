#include <algorithm>
#include <cstddef>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "children.hpp"
#include "event_log.hpp"
#include "files.hpp"
#include "shell.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;
using ::testing::SizeIs;

std::string OutputOf(const std::string& arguments)
{
    return RunShell("exec /usr/bin/systemctl " + arguments + " 2>&1").output;
}

Ending EndingOf(const std::string& arguments)
{
    return RunShell("exec /usr/bin/systemctl " + arguments + " 2>&1").ending;
}

TEST(ScriptedSystemctl, AnswersWithTextAndExitCode)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"start", "foo"}).Stderr("Job for foo.service failed.\n").Exit(1);
    const ShellResult result = RunShell("/usr/bin/systemctl start foo 2>&1");
    EXPECT_EQ(result.output, "Job for foo.service failed.\n");
    EXPECT_EQ(result.ending, Exited(1));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("start foo"));
}

TEST(ScriptedSystemctl, SucceedsSilentlyForARuleWithoutSteps)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"daemon-reload"});
    const ShellResult result = RunShell("/usr/bin/systemctl daemon-reload 2>&1");
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.ending, Exited(0));
}

TEST(ScriptedSystemctl, ReportsACallThatNoRuleMatches)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"start", "foo"});
    const ShellResult result = RunShell("/usr/bin/systemctl start foo bar 2>&1");
    EXPECT_EQ(result.output, "unexpected call: systemctl start foo bar\n");
    EXPECT_EQ(result.ending, Exited(kUnexpectedCall));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("start foo bar"));
}

TEST(ScriptedSystemctl, KeepsTheTwoStreamsApartAndInTheStatedOrder)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Stdout("a\n").Stderr("b\n").Stdout("c\n").Stderr("d");
    EXPECT_EQ(OutputOf("x"), "a\nb\nc\nd");
    EXPECT_EQ(RunShell("/usr/bin/systemctl x 2>/dev/null").output, "a\nc\n");
}

TEST(ScriptedSystemctl, PrefersExactRulesToLeadingOnesAndLaterToEarlierOnes)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"show", "foo"}).Stdout("exact");
    systemctl.OnAny().Stdout("any");
    systemctl.OnLeading({"show"}).Stdout("first");
    systemctl.OnLeading({"show"}).Stdout("second");
    EXPECT_EQ(OutputOf("show foo"), "exact");
    EXPECT_EQ(OutputOf("show bar"), "second");
    EXPECT_EQ(OutputOf("list-jobs"), "any");
}

TEST(ScriptedSystemctl, AnswersCallByCallAndRepeatsTheLast)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"is-active"}).Stdout("A").Then().Stdout("B").Exit(3).Then().Stdout("C");
    EXPECT_EQ(OutputOf("is-active"), "A");
    EXPECT_EQ(EndingOf("is-active"), Exited(3));
    EXPECT_EQ(OutputOf("is-active"), "C");
    EXPECT_EQ(OutputOf("is-active"), "C");
}

TEST(ScriptedSystemctl, MatchesArgumentsByteForByte)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"start", "a b", ""}).Stdout("yes");
    EXPECT_EQ(OutputOf("start 'a b' ''"), "yes");
    EXPECT_EQ(EndingOf("start a b ''"), Exited(kUnexpectedCall));
    EXPECT_THAT(systemctl.Calls().front().arguments, ElementsAre("start", "a b", ""));
}

TEST(ScriptedSystemctl, PrintsArbitraryBytes)
{
    std::string bytes("\0\xff\n\x80 7:\0", 8);
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Stdout(bytes);
    EXPECT_EQ(OutputOf("x"), bytes);
}

TEST(ScriptedSystemctl, PrintsAHundredMegabytesFromAShortRule)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Stdout("0123456789abcde\n", 6553600).Stderr("end");
    const ShellResult result =
        RunShell("/usr/bin/systemctl x 2>&1 | tee /tmp/output | tail -c 19; wc -c < /tmp/output");
    EXPECT_EQ(result.output, "0123456789abcde\nend104857603\n");
    EXPECT_LT(ReadText("/run/sandbox/systemctl/rules").size(), 200U);
}

TEST(ScriptedSystemctl, DiesOfASignal)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"kill"}).Stdout("last words").Kill(SIGKILL);
    systemctl.On({"abort"}).Kill(SIGABRT);
    EXPECT_EQ(EndingOf("kill"), Signalled(SIGKILL));
    EXPECT_EQ(OutputOf("kill"), "last words");
    EXPECT_EQ(EndingOf("abort"), Signalled(SIGABRT));
}

TEST(ScriptedSystemctl, ChangesFilesOnItsWay)
{
    WriteText("/run/old", "");
    ScriptedSystemctl systemctl;
    systemctl.OnAny()
        .CreateFile("/run/new")
        .WriteFile("/run/text", std::string("a\0b", 3))
        .RemoveFile("/run/old");
    EXPECT_EQ(EndingOf("x"), Exited(0));
    EXPECT_EQ(ReadText("/run/new"), "");
    EXPECT_EQ(ReadText("/run/text"), std::string("a\0b", 3));
    EXPECT_FALSE(Exists("/run/old"));
}

TEST(ScriptedSystemctl, WaitsForAFileAndIgnoresATerminationThen)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Ignore(SIGTERM).CreateFile("/run/started").WaitForFile("/run/go").Exit(7);
    const Ending ending = RunInChild([] {
        const pid_t child = fork();
        if (child == 0) {
            execl("/usr/bin/systemctl", "systemctl", "x", nullptr);
            _exit(126);
        }
        Eventually([] { return Exists("/run/started"); });
        kill(child, SIGTERM);
        WriteText("/run/go", "");
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    });
    EXPECT_EQ(ending, Exited(7));
}

TEST(ScriptedSystemctl, RecordsTheWholeCall)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    RunShell("cd /var && exec env -i A=1 B='2 3' /usr/bin/systemctl start foo < /dev/zero 9> /dev/full");
    ASSERT_THAT(systemctl.Calls(), SizeIs(1));
    const Call call = systemctl.Calls().front();
    EXPECT_EQ(call.order, 0U);
    EXPECT_THAT(call.argv, ElementsAre("/usr/bin/systemctl", "start", "foo"));
    EXPECT_THAT(call.arguments, ElementsAre("start", "foo"));
    EXPECT_THAT(call.environment, ElementsAre("A=1", "B=2 3"));
    EXPECT_EQ(call.folder, "/var");
    EXPECT_EQ(call.parent, getpid());
    EXPECT_EQ(call.user, geteuid());
    EXPECT_THAT(call.descriptors, AllOf(Contains(Pair(0, "/dev/zero")), Contains(Pair(9, "/dev/full")),
                                        Contains(Key(1)), Contains(Key(2)), SizeIs(4)));
}

TEST(ScriptedSystemctl, RecordsBlockedAndIgnoredSignals)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    RunInChild([] {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGUSR1);
        sigprocmask(SIG_SETMASK, &set, nullptr);
        std::signal(SIGPIPE, SIG_IGN);
        return execl("/usr/bin/systemctl", "systemctl", nullptr);
    });
    ASSERT_THAT(systemctl.Calls(), SizeIs(1));
    const Call call = systemctl.Calls().front();
    EXPECT_EQ(call.blockedSignals, 1ULL << (SIGUSR1 - 1));
    EXPECT_EQ(call.ignoredSignals & (1ULL << (SIGPIPE - 1)), 1ULL << (SIGPIPE - 1));
    EXPECT_EQ(call.caughtSignals, 0U);
}

TEST(ScriptedSystemctl, RecordsSixteenCallsAtOnceWithoutLosingOrMixingAny)
{
    ScriptedSystemctl systemctl;
    Answering answering = systemctl.OnLeading({"call"});
    for (int call = 0; call < 160; ++call) {
        answering.Stdout(std::to_string(call) + "\n").Then();
    }
    const ShellResult result =
        RunShell("for i in 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15; do"
                 " (for j in 0 1 2 3 4 5 6 7 8 9; do /usr/bin/systemctl call $i$j; done) &"
                 " done; wait");
    const std::vector<Call> calls = systemctl.Calls();
    ASSERT_THAT(calls, SizeIs(160));
    std::vector<std::string> arguments;
    for (std::size_t index = 0; index < calls.size(); ++index) {
        EXPECT_EQ(calls[index].order, index);
        arguments.push_back(calls[index].arguments.at(1));
    }
    std::sort(arguments.begin(), arguments.end());
    EXPECT_EQ(std::unique(arguments.begin(), arguments.end()), arguments.end());
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 160);
    EXPECT_EQ(RunShell("printf '%s' '" + result.output + "' | sort -nu | wc -l").output, "160\n");
}

TEST(ScriptedSystemctl, TakesCallsOfAnyUser)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Exit(4);
    EXPECT_EQ(EndingOf("first"), Exited(4));
    const Ending ending = RunInChild([] {
        // A sandbox of an ordinary user has no second user.
        [[maybe_unused]] const int refused = setuid(65534);
        return execl("/usr/bin/systemctl", "systemctl", "second", nullptr);
    });
    EXPECT_EQ(ending, Exited(4));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("first", "second"));
}

TEST(ScriptedSystemctl, ForgetsCallsButKeepsCounting)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Stdout("1").Then().Stdout("2");
    EXPECT_EQ(OutputOf("x"), "1");
    systemctl.ForgetCalls();
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_EQ(OutputOf("y"), "2");
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("y"));
}

TEST(ScriptedSystemctl, StartsAnewWithANewObject)
{
    {
        ScriptedSystemctl systemctl;
        systemctl.OnAny().Exit(5);
        EXPECT_EQ(EndingOf("x"), Exited(5));
    }
    const ScriptedSystemctl systemctl;
    EXPECT_EQ(EndingOf("x"), Exited(kUnexpectedCall));
    EXPECT_THAT(systemctl.Calls(), SizeIs(1));
}

TEST(ScriptedSystemctl, CanBeTakenAwayAndPutBack)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    systemctl.Remove();
    EXPECT_EQ(EndingOf("x"), Exited(127));
    systemctl.Restore();
    EXPECT_EQ(EndingOf("x"), Exited(0));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("x"));
}

TEST(EventLog, RecordsEntriesBesideSystemctl)
{
    ScriptedSystemctl systemctl;
    EventLog events;
    EXPECT_EQ(RunShell("exec /usr/vesk/bin/vesklogset vesksystemd 0001 Foo").ending, Exited(0));
    events.AnswerWith(9);
    EXPECT_EQ(RunShell("exec /usr/vesk/bin/vesklogset vesksystemd 0011 'Foo, Bar'").ending, Exited(9));
    EXPECT_THAT(events.Arguments(), ElementsAre("vesksystemd 0001 Foo", "vesksystemd 0011 Foo, Bar"));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

} // namespace
} // namespace VeskTest
