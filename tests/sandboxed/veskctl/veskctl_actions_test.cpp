#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>

#include "files.hpp"
#include "paths.hpp"
#include "shell.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

struct Row {
    const char* name;
    const char* arguments;
    std::vector<std::string> call;
    const char* output;
};

const std::vector<Row> kRows{
    {"Start", "start foo bar.target", {"start", "foo", "bar.target"}, "foo: started\nbar.target: started\n"},
    {"StartNoBlock", "start --no-block foo", {"start", "--no-block", "foo"}, "foo: queued\n"},
    {"Stop", "stop foo", {"stop", "foo"}, "foo: stopped\n"},
    {"StopNoBlock", "stop foo --no-block", {"stop", "--no-block", "foo"}, "foo: queued\n"},
    {"Restart", "restart foo", {"restart", "foo"}, "foo: restarted\n"},
    {"RestartNoBlock", "restart --no-block foo", {"restart", "--no-block", "foo"}, "foo: queued\n"},
    {"Reload", "reload foo", {"reload", "--no-block", "foo"}, "foo: queued\n"},
    {"ReloadOrRestart",
     "reload-or-restart foo",
     {"reload-or-restart", "foo"},
     "foo: reloaded or restarted\n"},
    {"ReloadOrRestartNoBlock",
     "reload-or-restart --no-block foo",
     {"reload-or-restart", "--no-block", "foo"},
     "foo: queued\n"},
    {"Enable", "enable foo", {"enable", "foo"}, "foo: enabled\n"},
    {"Disable", "disable foo", {"disable", "foo"}, "foo: disabled\n"},
    {"Reenable", "reenable foo", {"reenable", "foo"}, "foo: reenabled\n"},
    {"Mask", "mask foo", {"mask", "foo"}, "foo: masked\n"},
    {"MaskRuntime", "mask --runtime foo", {"mask", "--runtime", "foo"}, "foo: masked\n"},
    {"Unmask", "unmask foo", {"unmask", "foo"}, "foo: unmasked\n"},
    {"UnmaskRuntime", "unmask --runtime foo", {"unmask", "--runtime", "foo"}, "foo: unmasked\n"},
    {"ResetFailed", "reset-failed foo", {"reset-failed", "foo"}, "foo: reset\n"},
    {"DaemonReload", "daemon-reload", {"daemon-reload"}, ""},
    {"DashedName", "stop -- -.mount", {"stop", "-.mount"}, "-.mount: stopped\n"},
};

// GoogleTest would print its bytes.
void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.arguments;
}

class VeskctlAction : public ::testing::TestWithParam<Row>
{
};

TEST_P(VeskctlAction, HasSystemctlDoItAndTellsSo)
{
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-jobs"}).Exit(1);
    systemctl.On(GetParam().call);

    const Use use = Veskctl(GetParam().arguments);

    EXPECT_EQ(use, (Use{0, GetParam().output, ""}));
    ASSERT_FALSE(systemctl.Calls().empty());
    EXPECT_EQ(systemctl.Calls().back().arguments, GetParam().call);
}

INSTANTIATE_TEST_SUITE_P(Verbs, VeskctlAction, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

TEST(VeskctlActions, TryRestartsWhatHasNoStopJob)
{
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-jobs"}).Exit(1);
    systemctl.On({"try-restart", "foo"});
    systemctl.On({"try-restart", "--no-block", "foo"});

    EXPECT_EQ(Veskctl("try-restart foo").exitCode, 0);
    EXPECT_EQ(systemctl.Arguments().back(), "try-restart foo");
    EXPECT_EQ(Veskctl("try-restart --no-block foo").exitCode, 0);
    EXPECT_EQ(systemctl.Arguments().back(), "try-restart --no-block foo");
}

TEST(VeskctlActions, TellWhichUnitsFailedAndWhy)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"start", "foo", "bar"})
        .Stderr("Job for bar.service failed because the control process exited with error code.\n"
                "See \"systemctl status bar.service\" and \"journalctl -xeu bar.service\" for details.\n")
        .Exit(1);
    systemctl.On(StateQuestion("bar.service")).Stdout(StateAnswer("failed", "failed", "exit-code", 3));

    EXPECT_EQ(
        Veskctl("start foo bar"),
        (Use{1, "foo: started\n",
             "veskctl: bar: start failed: failed (exit-code, status 3): Job for bar.service failed because "
             "the control process exited with error code.\n"}));
}

TEST(VeskctlActions, ExitWithThreeWhenThereIsNoSuchUnit)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"stop", "foo"})
        .Stderr("Failed to stop foo.service: Unit foo.service not loaded.\n")
        .Exit(5);
    systemctl.On(StateQuestion("foo.service")).Stdout(NotFoundAnswer("foo.service"));

    EXPECT_EQ(Veskctl("stop foo"),
              (Use{3, "",
                   "veskctl: foo: stop failed: Failed to stop foo.service: Unit foo.service not loaded.\n"}));
}

TEST(VeskctlActions, TellSystemctlsReasonForEachUnitThatFailed)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"start", "foo", "dep", "far"})
        .Stderr("Failed to start far.service: Unit far.service is masked.\n"
                "A dependency job for dep.service failed. See 'journalctl -xe' for details.\n")
        .Exit(1);
    systemctl.On(StateQuestion("dep.service")).Stdout(StateAnswer("inactive", "dead"));
    systemctl.On(StateQuestion("far.service")).Stdout("LoadState=masked\nActiveState=inactive\n");

    EXPECT_EQ(
        Veskctl("start foo dep far").err,
        "veskctl: far: start failed: Failed to start far.service: Unit far.service is masked.\n"
        "veskctl: dep: start failed: inactive: A dependency job for dep.service failed. See 'journalctl "
        "-xe' for details.\n");
}

TEST(VeskctlActions, TellSystemctlsReasonThatSpeaksOfAnotherUnit)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"enable", "foo", "nothing"})
        .Stderr("Failed to enable unit: Unit file nothing.service does not exist.\n")
        .Exit(1);
    systemctl.On(StateQuestion("foo.service")).Stdout(StateAnswer("active", "running"));
    systemctl.On(StateQuestion("nothing.service")).Stdout(NotFoundAnswer("nothing.service"));

    EXPECT_EQ(
        Veskctl("enable foo nothing"),
        (Use{1, "",
             "veskctl: foo: enable failed: active: Failed to enable unit: Unit file nothing.service does "
             "not exist.\n"
             "veskctl: nothing: enable failed: Failed to enable unit: Unit file nothing.service does not "
             "exist.\n"}));
}

TEST(VeskctlActions, TellSystemctlsReasonThatNamesNoUnit)
{
    const char* kReason = "Failed to connect to bus: Connection refused";
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-jobs"}).Stdout("242 foo.service start running\n").Exit(1);
    systemctl.On({"start", "foo"}).Stderr(std::string(kReason) + "\n").Exit(1);
    systemctl.On({"daemon-reload"}).Stderr(std::string(kReason) + "\n").Exit(1);

    EXPECT_EQ(Veskctl("start foo"), (Use{1, "", std::string("veskctl: start failed: ") + kReason + "\n"}));
    EXPECT_EQ(Veskctl("daemon-reload"),
              (Use{1, "", std::string("veskctl: daemon-reload failed: ") + kReason + "\n"}));
}

TEST(VeskctlActions, TellTheStateAloneWhenSystemctlSaysNothing)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"enable", "foo"}).Exit(1);
    systemctl.On(StateQuestion("foo.service")).Stdout(StateAnswer("active", "running"));

    EXPECT_EQ(Veskctl("enable foo"), (Use{1, "", "veskctl: foo: enable failed: active\n"}));
}

TEST(VeskctlActions, TellASystemctlThatDoesNotAnswer)
{
    ScriptedSystemctl systemctl;
    systemctl.Remove();

    EXPECT_EQ(Veskctl("stop foo"), (Use{1, "", "veskctl: foo: stop failed: systemctl did not answer\n"}));
    EXPECT_EQ(Veskctl("daemon-reload"),
              (Use{1, "", "veskctl: daemon-reload failed; the system log tells why\n"}));
}

class VeskctlHeld : public ::testing::TestWithParam<const char*>
{
};

TEST_P(VeskctlHeld, SaysSoAndDoesNothingUnlessForced)
{
    const std::string verb = GetParam();
    WriteText(ReasonsOf("foo.service") + "/backup", "");
    ScriptedSystemctl systemctl;
    systemctl.On({verb, "foo"});

    EXPECT_EQ(Veskctl(verb + " foo"),
              (Use{1, "",
                   "veskctl: foo: held stopped for: backup; 'veskctl reason start backup foo' ends a reason, "
                   "--force starts it all the same\n"}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre());
    EXPECT_EQ(Veskctl(verb + " --force foo").exitCode, 0);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(verb + " foo"));
}

INSTANTIATE_TEST_SUITE_P(Starters, VeskctlHeld, ::testing::Values("start", "restart", "reload-or-restart"),
                         [](const auto& verb) {
                             std::string name = verb.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

TEST(VeskctlUse, RefusesWhatItDoesNotUnderstandWithTwoAndTellsWhereHelpIs)
{
    ScriptedSystemctl systemctl;

    EXPECT_EQ(Veskctl("start"), (Use{2, "", "veskctl: UNIT is missing; see: veskctl start --help\n"}));
    EXPECT_EQ(Veskctl("start ''"),
              (Use{2, "", "veskctl: an empty name names nothing; see: veskctl start --help\n"}));
    EXPECT_EQ(Veskctl("keys a b"), (Use{2, "", "veskctl: 'b' is too much; see: veskctl keys --help\n"}));
    EXPECT_EQ(Veskctl("target run foo"),
              (Use{2, "", "veskctl: -- COMMAND... is missing; see: veskctl target run --help\n"}));
    EXPECT_EQ(Veskctl("frobnicate foo"),
              (Use{2, "", "veskctl: 'frobnicate' is no verb; see: veskctl --help\n"}));
    EXPECT_EQ(Veskctl("start --frobnicate foo").exitCode, 2);
    EXPECT_EQ(Veskctl("reason frobnicate").exitCode, 2);
    EXPECT_EQ(Veskctl("").exitCode, 2);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre());
}

TEST(VeskctlUse, TakesWordsAfterAVerbForNamesThoughThereAreVerbsCalledSo)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();

    EXPECT_EQ(Veskctl("stop volume start reason").exitCode, 0);
    EXPECT_EQ(Veskctl("reason list mask").exitCode, 0);
    EXPECT_EQ(Veskctl("reason remove stop list").exitCode, 0);

    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop volume start reason", "reset-failed list"));
}

TEST(VeskctlUse, FailsWhenItsOutputCannotBeWritten)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();

    const ShellResult full = RunShell(std::string(VESKCTL) + " --help 2>&1 >/dev/full");

    EXPECT_EQ(full.ending, Exited(1));
    EXPECT_EQ(full.output, "veskctl: the output could not be written\n");
}

TEST(VeskctlUse, IsNotPermittedToOthersThanRootWhereItChangesTheSystem)
{
    if (system("setpriv --reuid=1 --clear-groups true") != 0) {
        GTEST_SKIP() << "this machine's sandbox has no second user";
    }
    // Who may all the same read the build folder, wherever that is.
    const std::string otherUser =
        "setpriv --reuid=1 --clear-groups --inh-caps=+dac_read_search --ambient-caps=+dac_read_search ";
    for (const std::string verb : {"reason stop backup foo", "volume unmount /tmp", "volume recover",
                                   "volume register /v --unit foo", "target set rescue", "isolate rescue",
                                   "slice kill foo", "slice enter foo", "uninstall --yes foo"}) {
        const ShellResult result = RunShell(otherUser + VESKCTL + " " + verb + " 2>&1");
        EXPECT_EQ(result.ending, Exited(4)) << verb;
        EXPECT_THAT(result.output, HasSubstr("needs root; run it with sudo\n")) << verb;
    }
}

TEST(VeskctlUse, TellsOfItselfWhenAsked)
{
    EXPECT_THAT(Veskctl("--version").out, StartsWith("veskctl 7"));
    EXPECT_THAT(Veskctl("--help").out, HasSubstr("reason stop REASON SERVICE..."));
    EXPECT_THAT(Veskctl("start --help").out, StartsWith("veskctl start [OPTION]... UNIT...\n"));
    EXPECT_THAT(Veskctl("reason --help").out, HasSubstr("reason remove REASON SERVICE..."));
}

TEST(VeskctlUse, PrintsWhatTheLibraryLogsWhenVerbose)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"stop", "foo"});

    EXPECT_THAT(Veskctl("stop --verbose foo").err, HasSubstr("vesksystemd: [foo] stopped."));
    EXPECT_THAT(Veskctl("--verbose stop foo").err, HasSubstr("vesksystemd: [foo] stopped."));
}

} // namespace
