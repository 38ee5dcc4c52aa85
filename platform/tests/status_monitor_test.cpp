#include <chrono>
#include <csignal>
#include <cstddef>
#include <gmock/gmock.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>
#include <veskcore.h>

#include "children.hpp"
#include "files.hpp"
#include "process_list.hpp"
#include "run_program.hpp"
#include "syslog_capture.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using std::chrono::seconds;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kScript = "/usr/vesk/lib/systemd/scripts/vesk-systemd-status-monitor.sh";
const std::string kLock = "/run/vesksystemd/status_monitor.exit.lock";

constexpr seconds kLongestDelay{1};

std::vector<std::string> Messages(SyslogCapture& syslog)
{
    std::vector<std::string> messages;
    for (const SyslogLine& line : syslog.Take()) {
        messages.push_back(line.message);
    }
    return messages;
}

bool IsMonitorGone()
{
    return ProcessesThatRun(kScript).empty() && ProcessesThatRun("flock").empty() &&
           ProcessesThatRun("/usr/bin/systemctl").empty();
}

/** The monitor's script as a child of the test. */
class Monitor
{
public:
    Monitor()
    {
        m_pid = fork();
        if (m_pid == 0) {
            execl(kScript.c_str(), kScript.c_str(), nullptr);
            _exit(127);
        }
    }
    ~Monitor()
    {
        if (m_pid > 0) {
            kill(m_pid, SIGTERM);
            waitpid(m_pid, nullptr, 0);
        }
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    /** Its raw wait status; -1 while it runs. */
    int Status()
    {
        int status = -1;
        if (m_pid > 0 && waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            m_status = status;
        }
        return m_status;
    }
    bool HasEnded() { return Status() != -1; }
    void Signal(int signal) const { kill(m_pid, signal); }

private:
    pid_t m_pid = -1;
    int m_status = -1;
};

/** The exit lock as the library holds it: shared. */
class ExitLock
{
public:
    ExitLock()
    {
        MakeFolder("/run/vesksystemd");
        EXPECT_NE(VLIBCFileLockTimeByFile(kLock.c_str(), false, 10, &m_descriptor), 0);
    }
    ~ExitLock() { Close(); }
    ExitLock(const ExitLock&) = delete;
    ExitLock& operator=(const ExitLock&) = delete;

    /** As the library lets go: by closing. */
    void Close()
    {
        if (m_descriptor >= 0) {
            close(std::exchange(m_descriptor, -1));
        }
    }

private:
    int m_descriptor = -1;
};

class StatusMonitor : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_systemctl.On({"is-system-running"}).Stdout("running\n");
        m_systemctl.OnLeading({"list-jobs"});
    }

    bool HasAsked(std::size_t times) const { return m_systemctl.Calls().size() >= times; }

    ScriptedSystemctl m_systemctl;
};

TEST_F(StatusMonitor, EndsAtOnceWhenNobodyHoldsTheLock)
{
    EXPECT_EQ(RunProgram({kScript}).status, ExitStatus(0));
    EXPECT_FALSE(Exists(kLock));
    ExitLock().Close();
    EXPECT_EQ(RunProgram({kScript}).status, ExitStatus(0));
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
}

TEST_F(StatusMonitor, RefusesArguments)
{
    EXPECT_EQ(RunProgram({kScript, "word"}).status, ExitStatus(2));
}

TEST_F(StatusMonitor, LogsTheStateAndTheQueuedJobs)
{
    m_systemctl.OnLeading({"list-jobs"})
        .Stdout("12 foo.service start running\n  7 bar.target stop waiting\n");
    SyslogCapture syslog;
    const ExitLock lock;
    const Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(4); }));
    const auto messages = Messages(syslog);
    EXPECT_THAT(messages, Contains("system state: running"));
    EXPECT_THAT(messages, Contains("queued job: 12 foo.service start running"));
    EXPECT_THAT(messages, Contains("queued job: 7 bar.target stop waiting"));
}

TEST_F(StatusMonitor, LogsNothingMoreWhileNothingChanges)
{
    m_systemctl.OnLeading({"list-jobs"}).Stdout("No jobs running.\n");
    SyslogCapture syslog;
    const ExitLock lock;
    const Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(6); }));
    EXPECT_THAT(Messages(syslog), ElementsAre("system state: running"));
}

TEST_F(StatusMonitor, LogsAChangedState)
{
    m_systemctl.On({"is-system-running"}).Stdout("running\n").Then().Stdout("stopping\n").Exit(1);
    SyslogCapture syslog;
    const ExitLock lock;
    const Monitor monitor;
    std::vector<std::string> messages;
    EXPECT_TRUE(Eventually([&] {
        for (const std::string& message : Messages(syslog)) {
            messages.push_back(message);
        }
        return messages.size() >= 2;
    }));
    EXPECT_THAT(messages, ElementsAre("system state: running", "system state: stopping"));
}

TEST_F(StatusMonitor, RunsNoProgramOfTheCallersPath)
{
    const std::string planted = "#!/bin/sh\necho \"$0\" >>/run/planted/ran\nexec /usr/bin/${0##*/} \"$@\"\n";
    for (const char* name : {"flock", "setsid", "timeout", "sed", "logger", "sleep", "kill", "printf"}) {
        WriteText(std::string("/run/planted/") + name, planted, 0755);
    }
    setenv("PATH", "/run/planted:/usr/bin:/bin", 1);
    ExitLock lock;
    Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(4); }));
    lock.Close();
    EXPECT_TRUE(Eventually([&] { return monitor.HasEnded(); }));
    EXPECT_FALSE(Exists("/run/planted/ran"));
}

TEST_F(StatusMonitor, EndsWithinASecondOfTheLockBecomingFree)
{
    ExitLock lock;
    Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(2); }));
    EXPECT_FALSE(monitor.HasEnded());
    lock.Close();
    EXPECT_TRUE(Eventually([&] { return monitor.HasEnded(); }, kLongestDelay));
    EXPECT_EQ(monitor.Status(), ExitStatus(0));
    EXPECT_TRUE(Eventually(IsMonitorGone, kLongestDelay));
}

TEST_F(StatusMonitor, RunsOnWhileAnybodyHoldsTheLock)
{
    ExitLock first;
    ExitLock second;
    Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(2); }));
    first.Close();
    m_systemctl.ForgetCalls();
    EXPECT_TRUE(Eventually([&] { return HasAsked(3); }));
    EXPECT_FALSE(monitor.HasEnded());
    second.Close();
    EXPECT_TRUE(Eventually([&] { return monitor.HasEnded(); }, kLongestDelay));
}

TEST_F(StatusMonitor, EndsWhenTheLocksHolderIsKilled)
{
    const pid_t holder = fork();
    if (holder == 0) {
        const ExitLock lock;
        WriteText("/run/held", "");
        pause();
        _exit(0);
    }
    ASSERT_TRUE(Eventually([] { return Exists("/run/held"); }));
    Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(2); }));
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    EXPECT_TRUE(Eventually([&] { return monitor.HasEnded(); }, kLongestDelay));
    EXPECT_EQ(monitor.Status(), ExitStatus(0));
    EXPECT_TRUE(Eventually(IsMonitorGone, kLongestDelay));
}

TEST_F(StatusMonitor, EndsThoughAQueryHangs)
{
    m_systemctl.On({"is-system-running"}).Ignore(SIGTERM).Delay(600000);
    ExitLock lock;
    Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(1); }));
    lock.Close();
    EXPECT_TRUE(Eventually([&] { return monitor.HasEnded(); }, kLongestDelay));
    EXPECT_EQ(monitor.Status(), ExitStatus(0));
    EXPECT_TRUE(Eventually(IsMonitorGone, kLongestDelay));
}

TEST_F(StatusMonitor, LeavesNothingWhenItIsTerminated)
{
    m_systemctl.On({"is-system-running"}).Ignore(SIGTERM).Delay(600000);
    const ExitLock lock;
    Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(1); }));
    monitor.Signal(SIGTERM);
    EXPECT_TRUE(Eventually([&] { return monitor.HasEnded(); }));
    EXPECT_EQ(monitor.Status(), ExitStatus(143));
    EXPECT_TRUE(Eventually(IsMonitorGone, kLongestDelay));
}

TEST_F(StatusMonitor, GivesTheLockToNoProgram)
{
    const ExitLock lock;
    const Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(2); }));
    for (const Call& call : m_systemctl.Calls()) {
        for (const auto& [number, target] : call.descriptors) {
            EXPECT_NE(target, kLock) << number;
        }
    }
}

TEST_F(StatusMonitor, NeverKeepsTheLockFromOthers)
{
    ExitLock lock;
    Monitor monitor;
    ASSERT_TRUE(Eventually([&] { return HasAsked(2); }));
    // Other isolations join while it is held, however often.
    for (int round = 0; round < 200; ++round) {
        int joined = -1;
        ASSERT_NE(VLIBCFileLockTimeByFile(kLock.c_str(), false, 0, &joined), 0);
        ASSERT_EQ(VLIBCFileUnlockByFile(joined), 0);
    }
    lock.Close();
    int taken = -1;
    EXPECT_NE(VLIBCFileLockTimeByFile(kLock.c_str(), true, 10, &taken), 0);
    EXPECT_EQ(VLIBCFileUnlockByFile(taken), 0);
    EXPECT_TRUE(Eventually([&] { return monitor.HasEnded(); }));
}

TEST_F(StatusMonitor, EndsForTheExecutorThatStartedIt)
{
    ExitLock lock;
    FILE* stream = OpenProgram({kScript});
    ASSERT_NE(stream, nullptr);
    ASSERT_TRUE(Eventually([&] { return HasAsked(2); }));
    lock.Close();
    EXPECT_EQ(ReadLines(stream), "");
    EXPECT_EQ(VLIBCPclose(stream), ExitStatus(0));
}

} // namespace
} // namespace VeskTest
