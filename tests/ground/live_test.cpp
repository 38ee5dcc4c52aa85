// What a test may count on in each of the live test grounds.

#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "cgroup_trees.hpp"
#include "files.hpp"
#include "live_units.hpp"

namespace VeskTest
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

Outcome Systemctl(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command = {"/usr/bin/systemctl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunCommand(command);
}

TEST(LiveSystem, HasSystemdAsItsFirstProcess)
{
    EXPECT_EQ(ReadText("/proc/1/comm"), "systemd\n");
    const Outcome state = RealSystemctl({"is-system-running"});
    EXPECT_EQ(state.output, "running\n");
    EXPECT_EQ(state.exitCode, 0);
}

TEST(LiveSystem, RunsTheServicesThatUsersNeed)
{
    for (const char* unit : {"systemd-journald.service", "dbus.service", "systemd-logind.service",
                             "systemd-user-sessions.service", "multi-user.target"}) {
        EXPECT_EQ(ActiveState(unit), "active") << unit;
    }
    EXPECT_EQ(MustSystemctl({"--failed", "--no-legend"}), "");
}

TEST(LiveSystem, StartsAndStopsAServiceForReal)
{
    AddUnit("one.service", RunningService());
    ASSERT_EQ(ActiveState("one.service"), "inactive");
    EXPECT_EQ(Systemctl({"start", "one.service"}).exitCode, 0);
    EXPECT_EQ(ActiveState("one.service"), "active");
    const std::string pid = Property("one.service", "MainPID");
    // A child of systemd has a name of systemd's until it runs its program.
    EXPECT_TRUE(Eventually([&pid] { return ReadText("/proc/" + pid + "/comm") == "sleep\n"; }));
    EXPECT_EQ(Systemctl({"stop", "one.service"}).exitCode, 0);
    EXPECT_EQ(ActiveState("one.service"), "inactive");
    EXPECT_FALSE(Exists("/proc/" + pid));
}

TEST(LiveSystem, SaysWhatFailsAsSystemctlDoes)
{
    AddUnit("fail.service", FailingService(3));
    const Outcome start = Systemctl({"start", "fail.service"});
    EXPECT_EQ(start.exitCode, 1);
    EXPECT_THAT(
        start.output,
        HasSubstr("Job for fail.service failed because the control process exited with error code.\n"));
    EXPECT_EQ(Property("fail.service", "ExecMainStatus"), "3");

    AddUnit("masked.service", OneshotService(), UnitFolder::Usr);
    AddMask("masked.service");
    const Outcome masked = Systemctl({"start", "masked.service"});
    EXPECT_EQ(masked.exitCode, 1);
    EXPECT_EQ(masked.output, "Failed to start masked.service: Unit masked.service is masked.\n");

    const Outcome unknown = Systemctl({"start", "nosuch.service"});
    EXPECT_EQ(unknown.exitCode, 5);
    EXPECT_EQ(unknown.output, "Failed to start nosuch.service: Unit nosuch.service not found.\n");
}

TEST(LiveSystem, HasFreshFoldersOfThePlatform)
{
    EXPECT_THAT(ListFolder("/usr/vesk"), ElementsAre("bin", "etc", "lib"));
    EXPECT_THAT(ListFolder("/var/packages"), IsEmpty());
    EXPECT_THAT(ListFolder("/var/log/vesk"), IsEmpty());
}

TEST(LiveSystem, GivesOrdinaryUsersTheirOwnSystemd)
{
    for (const OrdinaryUser& user : {kAlice, kBob}) {
        AddUserUnit(user, "mine.service", RunningService());
        StartUserManager(user);
        const auto asUser = [&] {
            setenv("XDG_RUNTIME_DIR", ("/run/user/" + std::to_string(user.id)).c_str(), 1);
            if (Systemctl({"--user", "start", "mine.service"}).exitCode != 0) {
                return 1;
            }
            const Outcome state = Systemctl({"--user", "is-active", "mine.service"});
            return state.output == "active\n" && getuid() == user.id ? 0 : 2;
        };
        EXPECT_EQ(RunAsUser(user, asUser), Exited(0)) << user.name;
        StopUserManager(user);
    }
}

TEST(LiveSystem, HasNoUserManagerUntilOneIsStarted)
{
    EXPECT_EQ(ActiveState("user@1001.service"), "inactive");
    EXPECT_EQ(RunAsUser(kAlice,
                        [] {
                            return Systemctl({"--user", "is-active", "x"}).exitCode == 0 ? 1 : 0;
                        }),
              Exited(0));
}

TEST(LiveSystem, KeepsWhatIsBeyondItOutOfReach)
{
    const Outcome time = RunCommand({"/bin/date", "-s", "@0"});
    EXPECT_EQ(time.exitCode, 1) << time.output;
    EXPECT_THAT(time.output, HasSubstr("Operation not permitted"));
    const Outcome node = RunCommand({"/bin/mknod", "/tmp/kmsg", "c", "1", "11"});
    EXPECT_EQ(node.exitCode, 1) << node.output;
    EXPECT_FALSE(Exists("/dev/kmsg"));
    const Outcome tune = RunCommand({"/bin/sh", "-c", "echo 1 > /proc/sys/vm/drop_caches"});
    EXPECT_THAT(tune.output, HasSubstr("Read-only file system"));
}

// All of it, not what one read of one line shows.
std::string CgroupsOf(const std::string& process)
{
    return ReadText("/proc/" + process + "/cgroup");
}

TEST(LiveSystem, IsTheRootOfItsHierarchies)
{
    const CgroupTree tree = SystemdTree();
    EXPECT_THAT(CgroupsOf("self"), HasSubstr(":" + tree.hierarchy + ":/\n"));
    EXPECT_THAT(CgroupsOf("self"), HasSubstr("0::/\n"));
    EXPECT_TRUE(Exists(tree.Members("system.slice/dbus.service")));
    EXPECT_THAT("\n" + ReadText(tree.Members(".")), HasSubstr("\n" + std::to_string(getpid()) + "\n"));
}

// A folder with controllers could not hold the tests beside the system's units.
TEST(LiveSystem, HasNoControllersOfTheMachine)
{
    EXPECT_EQ(ReadText(KillFolder("cgroup.controllers")), "");
}

TEST(LiveSystem, LetsATestMoveAProcessIntoASliceThatIsMeasured)
{
    const CgroupTree tree = MonitoredTree();
    MakeFolder(tree.Folder("vesk-test.slice"));
    EXPECT_EQ(RunInChild([&] {
                  MoveByHand(getpid(), tree.Members("vesk-test.slice"));
                  const std::string line = ":" + tree.hierarchy + ":/vesk-test.slice\n";
                  return CgroupsOf("self").find(line) != std::string::npos ? 0 : 1;
              }),
              Exited(0));
}

std::vector<std::string> MountedHierarchies()
{
    return ListFolder("/sys/fs/cgroup");
}

void ExpectNoNewHierarchy()
{
    const Outcome hierarchy = RunCommand({"/bin/sh", "-c", "mkdir /sys/fs/cgroup/new"});
    EXPECT_THAT(hierarchy.output, HasSubstr("Read-only file system"));
}

TEST(HierarchiesOnPlatform, AreTheTwoNamedOnesAndTheUnifiedOne)
{
    EXPECT_THAT(MountedHierarchies(), ElementsAre("systemd", "unified", "veskmonitor"));
    EXPECT_EQ(MonitoredTree().hierarchy, "name=veskmonitor");
    EXPECT_THAT(CgroupsOf("self"), HasSubstr(":name=veskmonitor:/\n"));
    ExpectNoNewHierarchy();
}

TEST(HierarchiesOnHybrid, AreSystemdsOwnAndTheUnifiedOne)
{
    EXPECT_THAT(MountedHierarchies(), ElementsAre("systemd", "unified"));
    EXPECT_EQ(SystemdTree().hierarchy, "name=systemd");
    EXPECT_EQ(MonitoredTree().hierarchy, "name=systemd");
    ExpectNoNewHierarchy();
}

TEST(HierarchiesOnUnified, AreTheUnifiedOneAlone)
{
    EXPECT_THAT(MountedHierarchies(), IsSupersetOf({"cgroup.procs", "init.scope", "system.slice"}));
    EXPECT_THAT(MountedHierarchies(), Not(IsSupersetOf({"systemd"})));
    EXPECT_EQ(SystemdTree().hierarchy, "");
    const std::string mounts = ReadText("/proc/self/mounts");
    EXPECT_THAT(mounts, HasSubstr(" /sys/fs/cgroup cgroup2 rw,"));
    EXPECT_THAT(mounts, Not(HasSubstr(" cgroup ")));
    EXPECT_THAT(CgroupsOf("1"), HasSubstr("0::/init.scope\n"));
}

TEST(SystemctlOnCurrent, IsTheMachinesOwn)
{
    EXPECT_EQ(ReadText("/usr/bin/systemctl"), ReadText("/usr/lib/vesk-ground/systemctl"));
    AddUnit("a-good-deal-longer.service", RunningService());
    ASSERT_EQ(Systemctl({"list-jobs", "--no-legend"}).exitCode, 0);
    EXPECT_THAT(
        Systemctl({"list-unit-files", "--no-legend", "dbus.service", "a-good-deal-longer.service"}).output,
        HasSubstr("\ndbus.service               "));
}

} // namespace

} // namespace VeskTest
