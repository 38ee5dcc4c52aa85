// The verbs on volumes, reasons, slices and targets on a real systemd.

#include <csignal>
#include <regex>
#include <unistd.h>

#include "cgroup_trees.hpp"
#include "children.hpp"
#include "files.hpp"
#include "paths.hpp"
#include "veskctl_live_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::HasSubstr;
using ::testing::Not;

TEST_F(VeskctlLive, ShowsWhoUsesAVolume)
{
    const Outcome users = Veskctl("volume users /volume1");

    EXPECT_EQ(users.exitCode, 0);
    EXPECT_THAT(users.output, HasSubstr("inside.service"));
    EXPECT_THAT(users.output, HasSubstr("working folder  yes"));
}

TEST_F(VeskctlLive, ShowsAProgramOnAVolumeAndWhatIsNoService)
{
    RunCommand({"/bin/cp", "/bin/sleep", "/volume1/pause"});
    AddUnit("program.service", UnitText().Service("Type=exec").Service("ExecStart=/volume1/pause infinity"));
    MustSystemctl({"start", "program.service"});
    const OtherProcess other([] { return chdir(kVolume) + pause(); });

    EXPECT_TRUE(Eventually([] {
        const std::string users = Veskctl("volume users /volume1").output;
        return std::regex_search(
                   users, std::regex("program[.]service +[0-9]+ +pause +program +yes +/volume1/pause")) &&
               std::regex_search(
                   users, std::regex("program[.]service +[0-9]+ +pause +mapped +yes +/volume1/pause")) &&
               std::regex_search(users,
                                 std::regex("- +[0-9]+ +veskctl_live_tests +working folder +no +/volume1"));
    })) << Veskctl("volume users /volume1").output;
}

TEST_F(VeskctlLive, RefusesToUnmountWhatItsOwnServiceIsStoppedFor)
{
    AddUnit("own.service",
            OneshotService("/bin/sh -c '" + VeskctlPath() + " volume unmount /volume1 >/tmp/own 2>&1'")
                .Line("X-Veskline", "VolumeDependency=all"));

    Veskctl("start own");

    EXPECT_THAT(
        ReadText("/tmp/own"),
        HasSubstr("veskctl: veskctl runs in own.service, which would be stopped; start it from elsewhere"));
    EXPECT_TRUE(IsVolumeMounted());
    EXPECT_EQ(ActiveState("inside.service"), "active");
}

TEST_F(VeskctlLive, UnmountsAVolumeAndHasItsUsersBack)
{
    AddUnit("need.service", RunningService().Unit("Requires=inside.service").Unit("After=inside.service"));
    MustSystemctl({"start", "need.service"});
    const std::string before = Property("inside.service", "MainPID");

    const Outcome plan = Veskctl("volume unmount --dry-run /volume1");
    const Outcome outcome = Veskctl("volume unmount /volume1");

    EXPECT_THAT(plan.output, HasSubstr("need.service"));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_FALSE(IsVolumeMounted());
    EXPECT_EQ(ActiveState("inside.service"), "active");
    EXPECT_NE(Property("inside.service", "MainPID"), before);
    EXPECT_EQ(ActiveState("need.service"), "active");
}

TEST_F(VeskctlLive, NamesAServiceThatDoesNotComeBack)
{
    AddUnit("inside.service", UnitText().Service("Type=exec").Service("ExecStart=/bin/nothing"));

    const Outcome outcome = Veskctl("volume unmount /volume1");

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.output, HasSubstr("inside.service: was active before and is now failed"));
}

TEST_F(VeskctlLive, RecoversFromAnActionThatWasKilled)
{
    OtherProcess action([] { return Veskctl("volume unmount /volume1 -- sleep 1000").exitCode; });
    ASSERT_TRUE(AwaitActiveState("inside.service", "inactive"));
    ASSERT_TRUE(Eventually([] { return RunCommand({"/usr/bin/pgrep", "-x", "sleep"}).exitCode == 0; }));
    RunCommand({"/usr/bin/pkill", "-KILL", "-x", "veskctl"});
    RunCommand({"/usr/bin/pkill", "-KILL", "-x", "sleep"});
    action.Wait();
    EXPECT_EQ(ActiveState("inside.service"), "inactive");

    const Outcome outcome = Veskctl("volume recover");

    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_THAT(outcome.output, HasSubstr("inside.service: started again"));
    EXPECT_EQ(ActiveState("inside.service"), "active");
    EXPECT_EQ(Veskctl("volume recover").output, "");
}

TEST_F(VeskctlLive, HoldsAServiceForAReason)
{
    EXPECT_EQ(Veskctl("reason stop backup inside").exitCode, 0);
    EXPECT_EQ(ActiveState("inside.service"), "inactive");
    EXPECT_EQ(Veskctl("start inside").exitCode, 1);
    EXPECT_THAT(Veskctl("reason list").output, HasSubstr("inside.service  backup"));
    EXPECT_EQ(Veskctl("reason start backup inside").exitCode, 0);
    EXPECT_EQ(ActiveState("inside.service"), "active");
}

TEST_F(VeskctlLive, TellsWhyAUnitFailed)
{
    AddUnit("bad.service", FailingService(3));

    EXPECT_THAT(
        Veskctl("start bad").output,
        HasSubstr("veskctl: bad: start failed: failed (exit-code, status 3): Job for bad.service failed "
                  "because the control process exited with error code."));
    const Outcome missing = Veskctl("start nothing");
    EXPECT_EQ(missing.exitCode, 3);
    EXPECT_EQ(missing.output,
              "veskctl: nothing: start failed: Failed to start nothing.service: Unit nothing.service "
              "not found.\n");
    Veskctl("mask inside");
    EXPECT_EQ(Veskctl("restart inside").output, "veskctl: inside: restart failed: Failed to restart "
                                                "inside.service: Unit inside.service is masked.\n");
    EXPECT_THAT(Veskctl("status bad").output, HasSubstr("exit-code, status 3"));
}

TEST_F(VeskctlLive, ChoosesTheDefaultTarget)
{
    EXPECT_EQ(Veskctl("target set rescue").exitCode, 0);
    EXPECT_EQ(Veskctl("target get").output, "rescue.target\n");
}

TEST_F(VeskctlLive, RunsACommandInATargetAndComesBack)
{
    AddUnit("small.target", UnitText().Unit("AllowIsolate=yes"));

    const Outcome outcome = Veskctl("target run small -- systemctl is-active small.target");

    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_THAT(outcome.output, HasSubstr("active\n"));
    EXPECT_TRUE(AwaitActiveState("multi-user.target", "active"));
}

TEST_F(VeskctlLive, IsolatesATarget)
{
    AddUnit("small.target", UnitText().Unit("AllowIsolate=yes"));

    EXPECT_EQ(Veskctl("isolate small").exitCode, 0);

    EXPECT_EQ(ActiveState("small.target"), "active");
    EXPECT_EQ(ActiveState("inside.service"), "inactive");
}

TEST_F(VeskctlLive, ShowsWhatDependsOnVolumesAndWhoIsRegistered)
{
    AddUnit("dependent.service", RunningService().Line("X-Veskline", "VolumeDependency=all"));
    MustSystemctl({"start", "dependent.service"});

    EXPECT_THAT(Veskctl("volume dependents /volume1").output,
                HasSubstr("dependent.service  all volumes  active  "));
    EXPECT_EQ(Veskctl("volume register /volume1 --unit dependent").exitCode, 0);
    EXPECT_THAT(Veskctl("volume registered").output, HasSubstr("/volume1  dependent.service  unit\n"));
    EXPECT_EQ(Veskctl("volume unregister /volume1 --unit dependent").exitCode, 0);
    EXPECT_THAT(Veskctl("volume registered").output, Not(HasSubstr("dependent.service")));
}

TEST_F(VeskctlLive, ListsShowsAndEntersASlice)
{
    AddUnit("sliced.service", RunningService().Service("Slice=work.slice"));
    MustSystemctl({"start", "sliced.service"});
    MonitorSlice("work.slice");
    if (MonitoredTree().folder != SystemdTree().folder) {
        MoveByHand(std::stoi(Property("sliced.service", "MainPID")), MonitoredTree().Members("work.slice"));
    }

    EXPECT_THAT(Veskctl("slice list").output, HasSubstr("\nwork.slice "));
    EXPECT_THAT(Veskctl("slice show work").output, HasSubstr(" sliced.service"));
    const Outcome entered = Veskctl("slice enter work -- cat /proc/self/cgroup");
    EXPECT_EQ(entered.exitCode, 0) << entered.output;
    EXPECT_THAT(entered.output, HasSubstr(":/work.slice\n"));
}

TEST_F(VeskctlLive, KillsASlice)
{
    AddUnit("sliced.service", RunningService().Service("Slice=work.slice"));
    MustSystemctl({"start", "sliced.service"});
    MonitorSlice("work.slice");

    const Outcome outcome = Veskctl("slice kill work");

    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_EQ(ActiveState("sliced.service"), "inactive");
}

} // namespace
} // namespace VeskTest
