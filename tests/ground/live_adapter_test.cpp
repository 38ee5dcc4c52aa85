// The adapter in front of systemctl, in the ground where it stands.

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <vector>

#include "files.hpp"
#include "live_units.hpp"

namespace VeskTest
{

namespace
{

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
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

class QueuedJobsOnPlatform : public testing::Test
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

TEST_F(QueuedJobsOnPlatform, AreListedInThePlatformsDialect)
{
    const Outcome list = Systemctl({"list-jobs", "--no-legend"});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_THAT(WithoutJobNumbers(Lines(list.output)),
                UnorderedElementsAre("N hang.service start running",
                                     "N hang-with-a-name-that-is-longer.service start running",
                                     "N waits.service start waiting", "N slow.service stop running"));
    EXPECT_THAT(RealSystemctl({"list-jobs", "--no-legend"}).output, HasSubstr("  "));
}

TEST_F(QueuedJobsOnPlatform, OfOneUnitAreListedAlone)
{
    const Outcome list = Systemctl({"--no-legend", "list-jobs", "slow.service"});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_THAT(WithoutJobNumbers(Lines(list.output)), ElementsAre("N slow.service stop running"));
}

TEST(AdapterOnPlatform, ListsNoJobsWithExitCodeOne)
{
    const Outcome list = Systemctl({"list-jobs", "--no-legend"});
    EXPECT_EQ(list.output, "");
    EXPECT_EQ(list.exitCode, 1);
}

TEST(AdapterOnPlatform, ListsUnitFilesInTwoColumns)
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

TEST(AdapterOnPlatform, HandsFailuresOfAListingOn)
{
    const Outcome list = Systemctl({"list-jobs", "--no-legend", "-H", "no-such-host.invalid"});
    EXPECT_EQ(list.exitCode, 1);
    const Outcome bad = Systemctl({"list-unit-files", "--root=/no-such-root"});
    EXPECT_EQ(bad.output, RealSystemctl({"list-unit-files", "--root=/no-such-root"}).output);
    EXPECT_EQ(bad.exitCode, RealSystemctl({"list-unit-files", "--root=/no-such-root"}).exitCode);
}

TEST(AdapterOnPlatform, IsTheRealSystemctlForEverythingElse)
{
    EXPECT_EQ(Systemctl({"--version"}).output, RealSystemctl({"--version"}).output);
    EXPECT_EQ(Systemctl({"show", "-p", "Id", "dbus.service"}).output, "Id=dbus.service\n");
    // 3 or, in newer releases, 4.
    EXPECT_GE(Systemctl({"is-active", "nosuch.service"}).exitCode, 3);
    EXPECT_EQ(Systemctl({"is-active", "nosuch.service"}).exitCode,
              RealSystemctl({"is-active", "nosuch.service"}).exitCode);
}

// The shell prints what ps shows of its only child while that runs.
TEST(AdapterOnPlatform, ShowsTheCommandLineAsItWasGiven)
{
    AddUnit("hang.service", HangingService());
    const std::string script = "/usr/bin/systemctl start hang.service & "
                               "until systemctl is-active hang.service | grep -q activating; do :; done; "
                               "tr '\\0' ' ' < /proc/$!/cmdline; echo; cat /proc/$!/comm; kill -TERM $!; "
                               "{ wait $!; } 2>/dev/null; echo $?";
    EXPECT_EQ(RunCommand({"/bin/sh", "-c", script}).output,
              "/usr/bin/systemctl start hang.service \nsystemctl\n143\n");
}

TEST(AdapterOnPlatform, PassesTheStandardInputOn)
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

TEST(AdapterOnPlatform, HandsSignalsOnToARunningListing)
{
    ReplaceRealSystemctl("trap 'echo 1   a.service  start running; exit 7' TERM\n"
                         "touch /tmp/started; while :; do sleep 0.01; done\n");
    const std::string script = "systemctl list-jobs & until [ -e /tmp/started ]; do :; done; "
                               "kill -TERM $!; { wait $!; } 2>/dev/null; echo $?";
    EXPECT_EQ(RunCommand({"/bin/sh", "-c", script}).output, "1 a.service start running\n7\n");
}

TEST(AdapterOnPlatform, EndsByTheSignalThatEndsTheListing)
{
    ReplaceRealSystemctl("echo x   y; kill -KILL $$\n");
    const Outcome list = Systemctl({"list-jobs"});
    EXPECT_EQ(list.output, "x y\n");
    EXPECT_EQ(list.exitCode, 128 + SIGKILL);
}

TEST(AdapterOnPlatform, TakesTheListingAlongWhenItIsKilled)
{
    ReplaceRealSystemctl("echo $$ > /tmp/pid; mv /tmp/pid /tmp/started; exec sleep 1000\n");
    const std::string script = "systemctl list-jobs & until [ -e /tmp/started ]; do :; done; kill -KILL $!; "
                               "{ wait $!; } 2>/dev/null; echo $?";
    EXPECT_EQ(RunCommand({"/bin/sh", "-c", script}).output, "137\n");
    const std::string pid = ReadText("/tmp/started");
    EXPECT_TRUE(Eventually([&] { return !Exists("/proc/" + pid.substr(0, pid.size() - 1)); }));
}

} // namespace

} // namespace VeskTest
