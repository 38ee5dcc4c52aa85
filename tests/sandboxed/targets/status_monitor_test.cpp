// The status monitor: its lock and its child, with a script that the test stands in for.

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "descriptor.hpp"
#include "error.hpp"
#include "forking_threads.hpp"
#include "isolate_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Key;
using VESK::Systemd::StatusMonitor;

constexpr const char* kFile = "status_monitor.cpp";

class Monitor : public IsolateTest
{
protected:
    // What the child says of a script that ended badly.
    static std::string Failure(int code, const std::string& output)
    {
        return "Run vesk-systemd-status-monitor.sh failed, code: [" + std::to_string(code) + "], output: [" +
               output + "]";
    }

    // A child that was just forked holds the descriptors of its parent for a moment.
    static bool AwaitLockFree()
    {
        return Eventually([] { return IsLockFree(kExitLock); });
    }

    static bool AwaitChildrenGone()
    {
        return Eventually([] { return OtherProcessesOfThisProgram().empty(); });
    }
};

TEST_F(Monitor, HoldsItsLockSharedForAsLongAsItLives)
{
    {
        StatusMonitor monitor;
        EXPECT_TRUE(IsLockFree(kExitLock));
        EXPECT_TRUE(monitor.Start());
        EXPECT_THAT(spy.Locks(), ElementsAre(LockRequest{kExitLock, false, 10}));
        EXPECT_FALSE(IsLockFree(kExitLock));
        EXPECT_TRUE(IsLockFreeToShare(kExitLock));
    }
    EXPECT_TRUE(AwaitLockFree());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Monitor, RunsItsScriptWithoutArgumentsInAChildThatHoldsNothing)
{
    script.OnAny().WaitForFile("/tmp/go-on");
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    ASSERT_TRUE(Eventually([this] { return script.Calls().size() == 1; }));

    EXPECT_THAT(script.Calls().front().argv, ElementsAre(kMonitorScript));
    EXPECT_THAT(script.Calls().front().descriptors, ElementsAre(Key(0), Key(1), Key(2)));
    EXPECT_THAT(ProcessesWithOpen(kExitLock), ElementsAre(getpid()));
    EXPECT_EQ(OtherProcessesOfThisProgram().size(), 1U);

    WriteText("/tmp/go-on", "");
    EXPECT_TRUE(AwaitChildrenGone());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Monitor, LeavesTheFolderOfItsCaller)
{
    script.OnAny().WaitForFile("/tmp/go-on");
    ASSERT_EQ(chdir("/tmp"), 0);
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    ASSERT_TRUE(Eventually([this] { return script.Calls().size() == 1; }));

    EXPECT_EQ(script.Calls().front().folder, "/");
    for (const pid_t child : OtherProcessesOfThisProgram()) {
        EXPECT_EQ(VeskGround::ReadLink("/proc/" + std::to_string(child) + "/cwd"), "/");
    }
    EXPECT_EQ(VeskGround::ReadLink("/proc/self/cwd"), "/tmp");
    WriteText("/tmp/go-on", "");
    EXPECT_TRUE(AwaitChildrenGone());
}

TEST_F(Monitor, HasAChildWithNoneOfItsCallersWays)
{
    script.OnAny().WaitForFile("/tmp/go-on");
    TakeOwnWays();
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    ASSERT_TRUE(Eventually([this] { return script.Calls().size() == 1; }));
    const std::vector<pid_t> children = OtherProcessesOfThisProgram();
    ASSERT_EQ(children.size(), 1U);
    ExpectPlainWays(children.front());
    EXPECT_EQ(kill(children.front(), SIGTERM), 0);
    EXPECT_TRUE(AwaitChildrenGone());
    EXPECT_FALSE(Exists(kHandled));
    WriteText("/tmp/go-on", "");
}

TEST_F(Monitor, IsNotEndedByAChildOfItsCallerThatLeavesItsScope)
{
    auto monitor = std::make_unique<StatusMonitor>();
    EXPECT_TRUE(monitor->Start());
    EXPECT_EQ(RunInChild([&] {
                  monitor.reset();
                  return 0;
              }),
              Exited(0));
    EXPECT_FALSE(IsLockFree(kExitLock));
    monitor.reset();
    EXPECT_TRUE(AwaitLockFree());
}

// A place for log lines whose queue nobody empties until Take() does.
class FullLog
{
public:
    FullLog()
        : m_socket(VeskGround::Require(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "make",
                                       "a socket"))
    {
        closelog();
        VeskGround::Require(std::rename("/dev/log", "/dev/log.kept"), "rename", "/dev/log");
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, "/dev/log", sizeof address.sun_path - 1);
        VeskGround::Require(bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
                            "bind", "/dev/log");
    }
    ~FullLog()
    {
        closelog();
        std::rename("/dev/log.kept", "/dev/log");
    }
    FullLog(const FullLog&) = delete;
    FullLog& operator=(const FullLog&) = delete;

    // The next line, "" when there is none.
    std::string Take()
    {
        std::array<char, 8192> line{};
        const ssize_t length = recv(m_socket.Get(), line.data(), line.size(), 0);
        return length < 0 ? "" : std::string(line.data(), static_cast<std::size_t>(length));
    }

private:
    VeskGround::Descriptor m_socket;
};

// A thread that is inside syslog, and holds its lock, until the log is emptied.
class ThreadInSyslog
{
public:
    ThreadInSyslog()
        : m_thread([this] {
            for (; !m_isDone; ++m_lines) {
                syslog(LOG_INFO, "a line of the caller");
            }
        })
    {
        int before = -1;
        EXPECT_TRUE(Eventually([&] {
            usleep(200000);
            return std::exchange(before, m_lines.load()) == m_lines;
        }));
        m_isDone = true;
    }
    ~ThreadInSyslog() { m_thread.join(); }
    ThreadInSyslog(const ThreadInSyslog&) = delete;
    ThreadInSyslog& operator=(const ThreadInSyslog&) = delete;

private:
    std::atomic<bool> m_isDone{false};
    std::atomic<int> m_lines{0};
    std::thread m_thread;
};

TEST_F(Monitor, LogsInItsChildThoughAnotherThreadWasInsideSyslogAtTheFork)
{
    VESK_NEED_FORKING_THREADS();
    script.OnAny().Exit(3);
    FullLog full;
    const ThreadInSyslog thread;
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    std::string line;
    EXPECT_TRUE(Eventually([&] {
        line = full.Take();
        return line.find("status-monitor.sh") != std::string::npos;
    }));
    EXPECT_THAT(line,
                ::testing::MatchesRegex(std::string("<11>targets_isolat.*: status_monitor.cpp:[0-9]+ ") +
                                        "Run vesk-systemd-status-monitor.sh failed, code: .3., output: .."))
        << "or the child hangs in syslog";
    for (const pid_t child : OtherProcessesOfThisProgram()) {
        kill(child, SIGKILL);
    }
}

TEST_F(Monitor, DoesNotWaitForItsScript)
{
    script.OnAny().WaitForFile("/tmp/never-before-the-end");
    {
        StatusMonitor monitor;
        EXPECT_TRUE(monitor.Start());
    }
    EXPECT_TRUE(AwaitLockFree());
    WriteText("/tmp/never-before-the-end", "");
}

TEST_F(Monitor, LogsInItsChildThatTheScriptFailed)
{
    script.OnAny().Stdout("one\n%s\n").Exit(3);
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    EXPECT_TRUE(AwaitChildrenGone());
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, Failure(3, "one\n%s\n"))));
}

TEST_F(Monitor, LogsInItsChildThatTheScriptWasKilled)
{
    script.OnAny().Kill(SIGKILL);
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    EXPECT_TRUE(AwaitChildrenGone());
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("executor.cpp", std::string("Execution is not completed, status: [9], "
                                                              "command: [") +
                                                      kMonitorScript + "]"),
                            Error(kFile, Failure(-1, ""))));
}

TEST_F(Monitor, LogsInItsChildThatThereIsNoScript)
{
    script.Remove();
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    EXPECT_TRUE(AwaitChildrenGone());
    script.Restore();
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("executor.cpp", std::string("Fail to execute [") + kMonitorScript + "]"),
                            Error(kFile, Failure(-1, ""))));
}

TEST_F(Monitor, DoesNotStartWithoutItsLock)
{
    spy.DoNotWaitForLocks();
    const ForeignLock other(kExitLock);
    StatusMonitor monitor;
    EXPECT_FALSE(monitor.Start());
    EXPECT_EQ(spy.Forks(), 0);
    EXPECT_THAT(log.Take(), ElementsAreArray(LockFailure(kExitLock, "status monitor")));
}

TEST_F(Monitor, SharesItsLockWithOtherMonitors)
{
    StatusMonitor first;
    StatusMonitor second;
    EXPECT_TRUE(first.Start());
    EXPECT_TRUE(second.Start());
}

TEST_F(Monitor, DoesNotStartWhenItCannotFork)
{
    spy.FailFork(1);
    {
        StatusMonitor monitor;
        EXPECT_FALSE(monitor.Start());
    }
    EXPECT_TRUE(IsLockFree(kExitLock));
    EXPECT_THAT(log.Take(), ElementsAre(Error("common.cpp", "vesksystemd: Failed to fork[0x1234 fork.c:7]"),
                                        Error(kFile, "Failed to fork and run monitor")));
}

TEST_F(Monitor, StartsAgainWithANewLock)
{
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start());
    EXPECT_TRUE(monitor.Start());
    EXPECT_EQ(spy.Locks().size(), 2U);
    EXPECT_FALSE(IsLockFree(kExitLock));
    EXPECT_EQ(spy.Forks(), 2);
}

} // namespace
} // namespace VeskTest
