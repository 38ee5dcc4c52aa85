// The live test ground itself: what a test may count on inside.

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>
#include <vector>

#include "files.hpp"
#include "journal_capture.hpp"
#include "live_units.hpp"

namespace VeskTest
{

namespace
{

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

Outcome Systemctl(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command = {"/usr/bin/systemctl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunCommand(command);
}

std::vector<std::string> Lines(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Job numbers differ from run to run.
std::vector<std::string> WithoutJobNumbers(const std::vector<std::string>& rows)
{
    std::vector<std::string> rest;
    std::transform(rows.begin(), rows.end(), std::back_inserter(rest), [](const std::string& row) {
        const std::size_t digits = row.find_first_not_of("0123456789");
        return digits == 0 ? "no number: " + row : "N" + row.substr(digits);
    });
    return rest;
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

TEST(LiveSystem, HasTheTwoNamedHierarchiesAndTheUnifiedOne)
{
    const std::string own = ReadText("/proc/self/cgroup");
    EXPECT_THAT(
        own, AllOf(HasSubstr(":name=systemd:/\n"), HasSubstr(":name=veskmonitor:/\n"), HasSubstr("0::/\n")));
    for (const char* hierarchy : {"systemd", "veskmonitor"}) {
        const std::string tasks = std::string("/sys/fs/cgroup/") + hierarchy + "/tasks";
        EXPECT_THAT(Lines(ReadText(tasks)), Contains(std::to_string(getpid()))) << tasks;
    }
    EXPECT_TRUE(Exists("/sys/fs/cgroup/unified/cgroup.procs"));
    EXPECT_TRUE(Exists("/sys/fs/cgroup/systemd/system.slice/dbus.service/cgroup.procs"));
}

TEST(LiveSystem, LetsATestMakeAMonitoredSliceAndMoveThere)
{
    const std::string slice = "/sys/fs/cgroup/veskmonitor/vesk-test.slice";
    ASSERT_EQ(mkdir(slice.c_str(), 0755), 0);
    EXPECT_EQ(RunInChild([&] {
                  WriteText(slice + "/tasks", std::to_string(getpid()));
                  const bool moved =
                      ReadText("/proc/self/cgroup").find(":name=veskmonitor:/vesk-test.slice\n") !=
                      std::string::npos;
                  return moved ? 0 : 1;
              }),
              Exited(0));
}

TEST(LiveSystem, StartsAndStopsAServiceForReal)
{
    AddUnit("one.service", RunningService());
    ASSERT_EQ(ActiveState("one.service"), "inactive");
    EXPECT_EQ(Systemctl({"start", "one.service"}).exitCode, 0);
    EXPECT_EQ(ActiveState("one.service"), "active");
    const std::string pid = Property("one.service", "MainPID");
    EXPECT_EQ(ReadText("/proc/" + pid + "/comm"), "sleep\n");
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
    const Outcome remount = RunCommand({"/bin/sh", "-c", "mkdir /sys/fs/cgroup/new"});
    EXPECT_THAT(remount.output, HasSubstr("Read-only file system"));
}

TEST(Journal, ShowsWhatAProcessSendsToSyslogInOrder)
{
    JournalCapture journal;
    syslog(LOG_INFO, "%s:%d vesksystemd: [%s] starting ...", "systemd_start.cpp", 12, "foo");
    syslog(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", "systemd_start.cpp", 34, "nullptr != szUnit", 0);
    syslog(LOG_WARNING, "no origin");
    EXPECT_THAT(journal.Take(),
                ElementsAre(Info("systemd_start.cpp", "vesksystemd: [foo] starting ..."),
                            Error("systemd_start.cpp", "Invaild Argument (nullptr != szUnit)=[0]\n"),
                            AllOf(testing::Field(&SyslogLine::level, LOG_WARNING),
                                  testing::Field(&SyslogLine::file, ""),
                                  testing::Field(&SyslogLine::message, "no origin"))));
    EXPECT_THAT(journal.Take(), IsEmpty());
}

TEST(Journal, KeepsTextsOfSeveralLinesAndOddBytesWhole)
{
    JournalCapture journal;
    syslog(LOG_INFO, "%s", "a.cpp:1 reason:\nline one\n, line two  ");
    syslog(LOG_INFO, "%s", "a.cpp:2 bytes \xff\xfe\x01 and a tab\t.");
    syslog(LOG_INFO, "%s", ("a.cpp:3 " + std::string(6000, 'x')).c_str());
    EXPECT_THAT(journal.Take(), ElementsAre(Info("a.cpp", "reason:\nline one\n, line two  "),
                                            Info("a.cpp", "bytes \xff\xfe\x01 and a tab\t."),
                                            Info("a.cpp", std::string(6000, 'x'))));
}

TEST(Journal, KeepsHundredsOfLinesOfForkedChildrenToo)
{
    JournalCapture journal;
    EXPECT_EQ(RunInChild([] {
                  for (int i = 1; i <= 1000; ++i) {
                      syslog(LOG_INFO, "child.cpp:%d line %d", i, i);
                  }
                  return 0;
              }),
              Exited(0));
    const std::vector<SyslogLine> lines = journal.Take();
    ASSERT_EQ(lines.size(), 1000U);
    for (int i = 1; i <= 1000; ++i) {
        EXPECT_EQ(lines[static_cast<std::size_t>(i) - 1].line, i);
    }
}

TEST(Journal, LeavesOtherProgramsOut)
{
    JournalCapture journal;
    EXPECT_EQ(RunCommand({"/usr/bin/logger", "from another program"}).exitCode, 0);
    EXPECT_THAT(journal.Take(), IsEmpty());
    EXPECT_THAT(RunCommand({"/usr/bin/journalctl", "-o", "cat", "--no-pager", "-t", "root"}).output,
                HasSubstr("from another program\n"));
}

class QueuedJobs : public testing::Test
{
protected:
    void SetUp() override
    {
        AddUnit("hang.service", HangingService());
        AddUnit("hang-with-a-name-that-is-longer.service", HangingService());
        AddUnit("waits.service", OneshotService().Unit("After=hang.service"));
        AddUnit("slow.service", SlowToStopService(600));
        MustSystemctl({"start", "slow.service"});
        for (const char* unit :
             {"hang.service", "hang-with-a-name-that-is-longer.service", "waits.service"}) {
            ASSERT_TRUE(QueueJob("start", unit)) << unit;
        }
        ASSERT_TRUE(QueueJob("stop", "slow.service"));
    }
};

TEST_F(QueuedJobs, AreListedInThePlatformsDialect)
{
    const Outcome list = Systemctl({"list-jobs", "--no-legend"});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_THAT(WithoutJobNumbers(Lines(list.output)),
                UnorderedElementsAre("N hang.service start running",
                                     "N hang-with-a-name-that-is-longer.service start running",
                                     "N waits.service start waiting", "N slow.service stop running"));
    EXPECT_THAT(RealSystemctl({"list-jobs", "--no-legend"}).output, HasSubstr("  "));
}

TEST_F(QueuedJobs, OfOneUnitAreListedAlone)
{
    const Outcome list = Systemctl({"--no-legend", "list-jobs", "slow.service"});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_THAT(WithoutJobNumbers(Lines(list.output)), ElementsAre("N slow.service stop running"));
}

TEST(AdapterInPlace, ListsNoJobsWithExitCodeOne)
{
    const Outcome list = Systemctl({"list-jobs", "--no-legend"});
    EXPECT_EQ(list.output, "");
    EXPECT_EQ(list.exitCode, 1);
}

TEST(AdapterInPlace, ListsUnitFilesInTwoColumns)
{
    AddUnit("vesk-one.service", RunningService());
    AddUnit("vesk-a-good-deal-longer.service", UnitText().Service("ExecStart=/bin/true"));
    MustSystemctl({"enable", "vesk-one.service"});
    const Outcome list = Systemctl({"list-unit-files", "--no-legend", "--root=/.", "--type", "service"});
    EXPECT_EQ(list.exitCode, 0);
    const std::vector<std::string> rows = Lines(list.output);
    EXPECT_THAT(rows, AllOf(Contains("vesk-one.service enabled"),
                            Contains("vesk-a-good-deal-longer.service static"),
                            Contains("modprobe@.service masked")));
    for (const std::string& row : rows) {
        EXPECT_EQ(std::count(row.begin(), row.end(), ' '), 1) << row;
    }
}

TEST(AdapterInPlace, HandsFailuresOfAListingOn)
{
    const Outcome list = Systemctl({"list-jobs", "--no-legend", "-H", "no-such-host.invalid"});
    EXPECT_EQ(list.exitCode, 1);
    const Outcome bad = Systemctl({"list-unit-files", "--root=/no-such-root"});
    EXPECT_EQ(bad.output, RealSystemctl({"list-unit-files", "--root=/no-such-root"}).output);
    EXPECT_EQ(bad.exitCode, RealSystemctl({"list-unit-files", "--root=/no-such-root"}).exitCode);
}

TEST(AdapterInPlace, IsTheRealSystemctlForEverythingElse)
{
    EXPECT_EQ(Systemctl({"--version"}).output, RealSystemctl({"--version"}).output);
    EXPECT_EQ(Systemctl({"show", "-p", "Id", "dbus.service"}).output, "Id=dbus.service\n");
    EXPECT_EQ(Systemctl({"is-active", "nosuch.service"}).exitCode, 3);
}

// The shell prints what ps shows of its only child while that runs.
TEST(AdapterInPlace, ShowsTheCommandLineAsItWasGiven)
{
    AddUnit("hang.service", HangingService());
    const std::string script = "/usr/bin/systemctl start hang.service & "
                               "until systemctl is-active hang.service | grep -q activating; do :; done; "
                               "tr '\\0' ' ' < /proc/$!/cmdline; echo; cat /proc/$!/comm; kill -TERM $!; "
                               "{ wait $!; } 2>/dev/null; echo $?";
    EXPECT_EQ(RunCommand({"/bin/sh", "-c", script}).output,
              "/usr/bin/systemctl start hang.service \nsystemctl\n143\n");
}

TEST(AdapterInPlace, PassesTheStandardInputOn)
{
    const Outcome edited =
        RunCommand({"/bin/sh", "-c", "echo | systemctl --no-ask-password cat dbus.socket"});
    EXPECT_EQ(edited.exitCode, 0);
    EXPECT_EQ(edited.output, RealSystemctl({"cat", "dbus.socket"}).output);
}

// In place of the real systemctl, for what that does not do on demand.
void ReplaceRealSystemctl(const std::string& script)
{
    RemoveAll("/usr/lib/vesk-ground/systemctl");
    WriteText("/usr/lib/vesk-ground/systemctl", "#!/bin/sh\n" + script, 0755);
}

TEST(AdapterInPlace, HandsSignalsOnToARunningListing)
{
    ReplaceRealSystemctl("trap 'echo 1   a.service  start running; exit 7' TERM\n"
                         "touch /tmp/started; while :; do sleep 0.01; done\n");
    const std::string script = "systemctl list-jobs & until [ -e /tmp/started ]; do :; done; "
                               "kill -TERM $!; { wait $!; } 2>/dev/null; echo $?";
    EXPECT_EQ(RunCommand({"/bin/sh", "-c", script}).output, "1 a.service start running\n7\n");
}

TEST(AdapterInPlace, EndsByTheSignalThatEndsTheListing)
{
    ReplaceRealSystemctl("echo x   y; kill -KILL $$\n");
    const Outcome list = Systemctl({"list-jobs"});
    EXPECT_EQ(list.output, "x y\n");
    EXPECT_EQ(list.exitCode, 128 + SIGKILL);
}

TEST(AdapterInPlace, TakesTheListingAlongWhenItIsKilled)
{
    ReplaceRealSystemctl("echo $$ > /tmp/pid; mv /tmp/pid /tmp/started; exec sleep 1000\n");
    const std::string script = "systemctl list-jobs & until [ -e /tmp/started ]; do :; done; kill -KILL $!; "
                               "{ wait $!; } 2>/dev/null; echo $?";
    EXPECT_EQ(RunCommand({"/bin/sh", "-c", script}).output, "137\n");
    const std::string pid = ReadText("/tmp/started");
    EXPECT_TRUE(Eventually([&] { return !Exists("/proc/" + pid.substr(0, pid.size() - 1)); }));
}

TEST(UnitText, PutsTheLinesOfASectionTogether)
{
    EXPECT_EQ(UnitText().Service("A=1").Unit("B=2").Service("C=3").Line("X-Veskline", "d=4").Text(),
              "[Service]\nA=1\nC=3\n\n[Unit]\nB=2\n\n[X-Veskline]\nd=4\n");
}

} // namespace

} // namespace VeskTest
