// The runs of systemctl, in their order, and what becomes of those that fail.

#include "boot_step.hpp"
#include "uninstall_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kShow = "show --property=FragmentPath --property=DropInPaths ";

// The policy of boot steps is a machine's state.
class UninstallWhileBooting : public Uninstall
{
protected:
    UninstallWhileBooting() { SetBootStep(0); }
    ~UninstallWhileBooting() override { ClearBootStep(); }
};

TEST_F(Uninstall, RunsItsStepsInOrderAndLogsTheBeginningAndTheEnd)
{
    EXPECT_TRUE(Run({"foo", "bar.timer"}));

    EXPECT_THAT(failed, IsEmpty());
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("stop foo bar.timer", "disable --root=/. foo bar.timer",
                            "disable --root=/. --runtime foo bar.timer", "is-enabled foo",
                            "is-enabled bar.timer", "daemon-reload", std::string(kShow) + "foo",
                            std::string(kShow) + "bar.timer", "daemon-reload", "reset-failed foo bar.timer"));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo, bar.timer")));
}

TEST_F(Uninstall, WritesNothingToTheEventLog)
{
    WriteUnitFile(UnitFolder::Usr, "foo.service", "[X-Veskline]\nDisplayName=Foo\n");
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_THAT(events.Calls(), IsEmpty());
}

TEST_F(Uninstall, UnmasksOnlyTheUnitsThatAreMasked)
{
    EnableState("masked", "masked");
    EnableState("gone", "masked-runtime");
    EnableState("enabled", "enabled", 0);
    EnableState("odd", "bad");

    EXPECT_TRUE(Run({"masked", "enabled", "gone", "odd"}));

    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("stop masked enabled gone odd", "disable --root=/. masked enabled gone odd",
                            "disable --root=/. --runtime masked enabled gone odd", "is-enabled masked",
                            "is-enabled enabled", "is-enabled gone", "is-enabled odd",
                            "unmask --root=/. masked gone", "unmask --root=/. --runtime masked gone",
                            "daemon-reload", std::string(kShow) + "masked", std::string(kShow) + "enabled",
                            std::string(kShow) + "gone", std::string(kShow) + "odd", "daemon-reload",
                            "reset-failed masked enabled gone odd"));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("masked, enabled, gone, odd")));
}

TEST_F(Uninstall, LogsEachStepThatFailsUnderItsNameAndGoesOn)
{
    EnableState("foo", "masked");
    Step({"stop"}).Stderr("Failed to stop foo.service: Unit foo.service not loaded.\n").Exit(5);
    Step({"disable", "--root=/."}).Stdout("one\n").Stderr("two\n").Exit(1);
    Step({"disable", "--root=/.", "--runtime"}).Exit(2);
    Step({"unmask", "--root=/."}).Stderr("no line feed").Exit(3);
    Step({"unmask", "--root=/.", "--runtime"}).Stderr("%s%n\n").Exit(4);
    const std::string path = WriteUnitFile(UnitFolder::Etc, "foo.service", "");
    Files("foo", path);

    EXPECT_TRUE(Run({"foo", "bar"}));

    EXPECT_THAT(failed, IsEmpty());
    EXPECT_FALSE(Exists(path));
    EXPECT_THAT(
        log.Take(),
        ElementsAreArray(InOrder(
            {Begin("foo, bar"),
             StepFailure("foo, bar", "stop", 5, "Failed to stop foo.service: Unit foo.service not loaded.\n"),
             StepFailure("foo, bar", "disable", 1, "one\ntwo\n"),
             StepFailure("foo, bar", "disable runtime", 2, ""),
             StepFailure("foo", "unmask", 3, "no line feed"),
             StepFailure("foo", "unmask runtime", 4, "%s%n\n"), ReloadLog(), ReloadLog(), End("foo, bar"),
             ResetFailed("foo, bar")})));
}

TEST_F(Uninstall, GoesOnWhenTheManagerCannotBeReloadedOrHasNoFailureToForget)
{
    systemctl.On({"daemon-reload"}).Stderr("busy\n").Exit(1);
    systemctl.OnLeading({"reset-failed"})
        .Stderr("Failed to reset failed state of unit foo.service: Unit foo.service not loaded.\n")
        .Exit(1);
    const std::string path = WriteUnitFile(UnitFolder::Etc, "foo.service", "");
    Files("foo", path);

    EXPECT_TRUE(Run({"foo"}));

    EXPECT_THAT(failed, IsEmpty());
    EXPECT_FALSE(Exists(path));
    const LogMatchers resetFailed = {
        Info("systemd_reset_failed.cpp", "vesksystemd: [foo] doing reset-failed ..."),
        Error("systemd_reset_failed.cpp",
              "vesksystemd: [foo] is unabled to reset-failed, skipped: ret=[1], reason:\n"
              "Failed to reset failed state of unit foo.service: Unit foo.service not loaded.\n")};
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin("foo"), ReloadLog(1, "busy\n"),
                                                      ReloadLog(1, "busy\n"), End("foo"), resetFailed})));
}

TEST_F(Uninstall, FailsForAllUnitsWhenSystemctlIsMissing)
{
    WriteText(Mark("foo.service"), "");
    WriteText(Reasons("foo.service") + "/a", "");
    systemctl.Remove();
    failed = {"before"};

    EXPECT_FALSE(Run({"foo", "bar"}));

    systemctl.Restore();
    EXPECT_THAT(failed, ElementsAre("before", "foo", "bar"));
    EXPECT_TRUE(Exists(Mark("foo.service")));
    EXPECT_TRUE(Exists(Reasons("foo.service") + "/a"));
    const LogMatchers lines = {
        NotStarted("stop foo bar"),
        Error("systemd_uninstall.cpp", "vesksystemd: [before, foo, bar] uninstalled failed on exception."),
        Info("systemd_daemon-reload.cpp", "vesksystemd: start daemon reload"),
        NotStarted("daemon-reload"),
        Error("systemd_daemon-reload.cpp", "vesksystemd: daemon-reload failed."),
        Info("systemd_reset_failed.cpp", "vesksystemd: [foo, bar] doing reset-failed ..."),
        NotStarted("reset-failed foo bar"),
        Error("systemd_reset_failed.cpp", "vesksystemd: [foo, bar] failed to reset-failed.")};
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin("foo, bar"), lines})));
}

TEST_F(UninstallWhileBooting, FailsWhenTheStopIsRefusedAndStillForgetsFailures)
{
    systemctl.OnLeading({"list-jobs"}).Exit(1);
    systemctl.On({"list-jobs", "--no-legend", "bar"}).Stdout("7 bar.service stop waiting\n").Exit(1);
    const std::string path = WriteUnitFile(UnitFolder::Etc, "bar.service", "");
    Files("bar", path);

    EXPECT_FALSE(Run({"foo", "bar"}));

    EXPECT_THAT(failed, ElementsAre("foo", "bar"));
    EXPECT_TRUE(Exists(path));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("list-jobs --no-legend foo", "list-jobs --no-legend bar",
                                                   "daemon-reload", "reset-failed foo bar"));
    const LogMatchers refusal = {
        Info("systemd_systemctl.cpp", "vesksystemd: unit is in job list: [7 bar.service stop waiting]"),
        Info("systemd_systemctl.cpp", "vesksystemd: Skip execute by service control policy: "
                                      "[/usr/bin/systemctl stop foo bar]"),
        Error("systemd_uninstall.cpp", "vesksystemd: [foo, bar] uninstalled failed on exception.")};
    EXPECT_THAT(log.Take(), ElementsAreArray(
                                InOrder({Begin("foo, bar"), refusal, ReloadLog(), ResetFailed("foo, bar")})));
}

TEST_F(UninstallWhileBooting, IsNotRefusedForAQueuedStart)
{
    systemctl.OnLeading({"list-jobs"}).Stdout("7 foo.service start waiting\n").Exit(1);
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo")));
}

TEST_F(Uninstall, PassesNamesOnAsTheyAre)
{
    const Words names = {"a b", "%s%n", "$(x)`y`'\"\\", "two\nlines", "\xff", "-"};
    EXPECT_TRUE(Run(names));

    Words stop = {"stop"};
    stop.insert(stop.end(), names.begin(), names.end());
    const std::vector<Call> calls = systemctl.Calls();
    EXPECT_THAT(calls.front().arguments, ElementsAreArray(stop));
    stop.front() = "reset-failed";
    EXPECT_THAT(calls.back().arguments, ElementsAreArray(stop));
}

TEST_F(Uninstall, TakesAUnitThatIsNamedTwiceTwice)
{
    const std::string path = WriteUnitFile(UnitFolder::Etc, "foo.service", "");
    Files("foo", path);
    EXPECT_TRUE(Run({"foo", "foo"}));
    EXPECT_FALSE(Exists(path));
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo, foo")));
}

} // namespace
} // namespace VeskTest
