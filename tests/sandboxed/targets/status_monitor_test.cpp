// The status monitor: its lock and its child, with a script that the test stands in for.

#include <unistd.h>

#include "descriptor.hpp"
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
