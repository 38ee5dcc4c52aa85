// Slices with services, scopes and stubborn processes, killed on a real systemd.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <system_error>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "cgroup_trees.hpp"
#include "children.hpp"
#include "files.hpp"
#include "journal_capture.hpp"
#include "library_log.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kFile = "systemd_kill_slice.cpp";

::testing::Matcher<const SyslogLine&> Line(const std::string& message)
{
    return Info(kFile, "vesksystemd: " + message);
}

::testing::Matcher<const SyslogLine&> Stopping(const std::string& units)
{
    return Line("The following units will be stopped: [" + units + "]");
}

const auto kSkip = Line("There is no alive process in [foo.slice], skip kill slice");
const auto kBegin = Line("[foo.slice] killing...");
const auto kNoUnits = Line("There is no units in [foo.slice], skip stop units");
const auto kTermSent = Line("has sent SIGTERM to [foo.slice]");
const auto kKillSent = Line("has sent SIGKILL to [foo.slice]");
const auto kDone = Line("[foo.slice] killed.");

// The processes in a folder of cgroups and below it.
std::vector<pid_t> ProcessesBelow(const std::string& folder)
{
    std::vector<pid_t> pids;
    std::ifstream processes(folder + "/cgroup.procs");
    for (pid_t pid = 0; processes >> pid;) {
        pids.push_back(pid);
    }
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator(folder, gone)) {
        if (entry.is_directory(gone)) {
            const std::vector<pid_t> below = ProcessesBelow(entry.path());
            pids.insert(pids.end(), below.begin(), below.end());
        }
    }
    return pids;
}

// Not so for a zombie: the machine's own init may reap it late.
bool Lives(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    std::getline(file, stat);
    const std::size_t nameEnd = stat.rfind(") ");
    return nameEnd != std::string::npos && stat[nameEnd + 2] != 'Z' && stat[nameEnd + 2] != 'X';
}

// A process in the slice that ignores SIGTERM, started by the shell.
const std::string kStubborn = "(trap '' TERM; exec sleep infinity) &\n";

class KillSliceLive : public ::testing::Test
{
protected:
    static void AddSlice(const std::string& graceTime)
    {
        WriteUnitFile(UnitFolder::Usr, "foo.slice", "[X-Veskline]\nSliceKillTimeoutSec=" + graceTime + "\n");
    }
    // A service of the slice that runs a script.
    static void StartService(const std::string& name, const std::string& script,
                             const std::vector<std::string>& lines = {})
    {
        WriteText("/opt/" + name + ".sh", "#!/bin/sh\n" + script + "touch /run/" + name + "-is-up\nwait\n",
                  0755);
        UnitText text = UnitText().Service("ExecStart=/opt/" + name + ".sh").Service("Slice=foo.slice");
        for (const std::string& line : lines) {
            text.Service(line);
        }
        AddUnit(name, text);
        MustSystemctl({"start", name});
        ASSERT_TRUE(Eventually([&] { return Exists("/run/" + name + "-is-up"); }));
    }
    void Kill(bool expected = true)
    {
        m_processes = ProcessesBelow(SystemdTree().Folder("foo.slice"));
        ASSERT_THAT(m_processes, ::testing::Not(IsEmpty()));
        EXPECT_EQ(VESKSystemdKillSlice("foo.slice"), expected);
        ExpectNothingLives();
    }
    void ExpectNothingLives()
    {
        EXPECT_TRUE(Eventually([] { return ProcessesBelow(SystemdTree().Folder("foo.slice")).empty(); }));
        EXPECT_TRUE(
            Eventually([this] { return std::none_of(m_processes.begin(), m_processes.end(), Lives); }));
    }
    void ExpectLog(const LogMatchers& expected)
    {
        std::vector<SyslogLine> lines = journal.Take();
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const SyslogLine& line) { return line.file != kFile; }),
                    lines.end());
        EXPECT_THAT(lines, ElementsAreArray(expected));
    }

    JournalCapture journal;

private:
    std::vector<pid_t> m_processes;
};

TEST_F(KillSliceLive, ServicesAreStopped)
{
    AddSlice("5");
    StartService("a.service", "sleep infinity &\n");
    Kill();
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kDone});
    EXPECT_EQ(ActiveState("a.service"), "inactive");
}

TEST_F(KillSliceLive, ServicesOfASliceInTheSliceAreStoppedToo)
{
    AddSlice("5");
    for (const char* name : {"a.service", "b.service", "c.service"}) {
        AddUnit(name, RunningService().Service("Slice=foo-bar.slice"));
        MustSystemctl({"start", name});
    }
    AddUnit("d.service", RunningService().Service("Slice=foo.slice"));
    MustSystemctl({"start", "d.service"});
    AddUnit("other.service", RunningService().Service("Slice=foobar.slice"));
    MustSystemctl({"start", "other.service"});
    Kill();
    for (const char* name : {"a.service", "b.service", "c.service", "d.service"}) {
        EXPECT_EQ(ActiveState(name), "inactive") << name;
    }
    EXPECT_EQ(ActiveState("other.service"), "active");
}

TEST_F(KillSliceLive, AServiceThatIgnoresSigtermIsKilledWhenItsStopTimesOut)
{
    AddSlice("5");
    StartService("a.service", "trap '' TERM\n" + kStubborn, {"TimeoutStopSec=1"});
    Kill();
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kDone});
}

TEST_F(KillSliceLive, WhatAServiceLeavesBehindEndsWithSigterm)
{
    AddSlice("60");
    StartService("a.service", "sleep infinity &\n", {"KillMode=process"});
    Kill();
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kDone});
}

TEST_F(KillSliceLive, WhatIgnoresSigtermEndsWithSigkill)
{
    AddSlice("1");
    StartService("a.service", kStubborn, {"KillMode=process"});
    Kill();
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kKillSent, kDone});
}

TEST_F(KillSliceLive, WithoutGraceTimeSigkillComesAtOnce)
{
    AddSlice("0");
    StartService("a.service", kStubborn, {"KillMode=process"});
    Kill();
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kKillSent, kDone});
}

TEST_F(KillSliceLive, AServiceThatSystemdGivesUpIsKilled)
{
    AddSlice("1");
    StartService("a.service", "trap '' TERM\n" + kStubborn, {"TimeoutStopSec=1", "SendSIGKILL=no"});
    Kill();
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kKillSent, kDone});
}

TEST_F(KillSliceLive, WhatAServiceStartsOnSigtermIsKilledToo)
{
    AddSlice("1");
    StartService("a.service",
                 "trap '(trap \"\" TERM; touch /run/late-one; exec sleep infinity) & exit' TERM\n"
                 "sleep infinity &\n",
                 {"KillMode=process"});
    Kill();
    EXPECT_TRUE(Exists("/run/late-one"));
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kKillSent, kDone});
}

TEST_F(KillSliceLive, AServiceThatStartsMeanwhileIsKilledToo)
{
    AddSlice("30");
    AddUnit("late.service", UnitText()
                                .Service("ExecStartPre=/bin/touch /run/late-one")
                                .Service("ExecStart=/bin/sleep infinity")
                                .Service("Slice=foo.slice"));
    StartService("a.service", "sleep infinity &\n", {"ExecStopPost=/usr/bin/systemctl start late.service"});
    ASSERT_FALSE(Exists("/run/late-one"));
    Kill();
    EXPECT_TRUE(Exists("/run/late-one"));
    EXPECT_EQ(ActiveState("late.service"), "inactive");
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kDone});
}

TEST_F(KillSliceLive, AScopeIsStopped)
{
    AddSlice("5");
    OtherProcess scope([] {
        execl("/usr/bin/systemd-run", "systemd-run", "--quiet", "--scope", "--unit=s", "--slice=foo.slice",
              "/bin/sleep", "infinity", nullptr);
        return 1;
    });
    ASSERT_TRUE(AwaitActiveState("s.scope", "active"));
    Kill();
    ExpectLog({kBegin, Stopping("s.scope"), kTermSent, kDone});
    EXPECT_EQ(scope.Wait(), Signalled(SIGTERM));
}

TEST_F(KillSliceLive, AProcessOfTheSliceItselfIsKilledWithoutStoppingUnits)
{
    AddSlice("5");
    MakeFolder(MonitoredTree().Folder("foo.slice"));
    MustSystemctl({"start", "foo.slice"});
    OtherProcess child([] {
        const bool moved = VESKSystemdCgroupSystemdSliceMove("foo.slice");
        MoveByHand(getpid(), KillFolder("foo.slice/cgroup.procs"));
        return moved && Eventually([] { return false; }) ? 0 : 1;
    });
    ASSERT_TRUE(Eventually([] { return !ProcessesBelow(KillFolder("foo.slice")).empty(); }));
    Kill();
    ExpectLog({kBegin, kNoUnits, kTermSent, kDone});
    EXPECT_EQ(child.Wait(), Signalled(SIGTERM));
}

TEST_F(KillSliceLive, ASliceWithoutProcessesIsSkipped)
{
    AddSlice("5");
    EXPECT_TRUE(VESKSystemdKillSlice("foo.slice"));
    MustSystemctl({"start", "foo.slice"});
    EXPECT_TRUE(VESKSystemdKillSlice("foo.slice"));
    ExpectLog({kSkip, kSkip});
    EXPECT_EQ(ActiveState("foo.slice"), "active");
}

TEST_F(KillSliceLive, ASecondKillFindsNothingToDo)
{
    AddSlice("0");
    StartService("a.service", kStubborn, {"KillMode=process"});
    Kill();
    ExpectLog({kBegin, Stopping("a.service"), kTermSent, kKillSent, kDone});
    EXPECT_TRUE(VESKSystemdKillSlice("foo.slice"));
    ExpectLog({kSkip});
}

} // namespace
} // namespace VeskTest
