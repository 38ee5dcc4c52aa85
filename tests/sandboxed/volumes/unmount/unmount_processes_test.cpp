// Several processes that unmount volumes or isolate at the same time.

#include <algorithm>

#include "killed_process.hpp"
#include "unmount_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;
using ::testing::Not;

// An unmount in a process of its own, whose action lasts until it is let go.
class HeldUnmount
{
public:
    explicit HeldUnmount(const std::string& name)
        : m_entered(Fresh("/tmp/entered-" + name))
        , m_letGo(Fresh("/tmp/let-go-" + name))
        , m_process([this] {
            return _VESKSystemdVolumeUnmountAction({kVolume},
                                                   [this] {
                                                       WriteText(m_entered, "");
                                                       return Eventually([this] { return Exists(m_letGo); });
                                                   })
                       ? 0
                       : 1;
        })
    {
    }

    pid_t Pid() const { return m_process.Pid(); }
    bool HasEntered() const { return Exists(m_entered); }
    bool AwaitAction() const
    {
        return Eventually([this] { return HasEntered(); });
    }
    void LetGo() const { WriteText(m_letGo, ""); }
    void Kill() const { m_process.Kill(); }
    Ending Wait() { return m_process.Wait(); }

private:
    static std::string Fresh(const std::string& path)
    {
        RemoveAll(path);
        return path;
    }

    std::string m_entered;
    std::string m_letGo;
    OtherProcess m_process;
};

class UnmountProcesses : public UnmountTest
{
protected:
    UnmountProcesses()
    {
        RemoveAll("/tmp/isolating");
        RemoveAll("/tmp/isolated");
        systemctl.On({"list-jobs", "--no-legend"}).Exit(1);
    }

    static int IsolateHere() { return VESKSystemdIsolateTarget("foo.target", nullptr) ? 0 : 1; }

    // The process waits for the lock, or has it.
    static bool AwaitInterest(pid_t pid, const char* lock)
    {
        return Eventually([&] {
            const std::vector<pid_t> pids = ProcessesWithOpen(lock);
            return std::find(pids.begin(), pids.end(), pid) != pids.end();
        });
    }
};

TEST_F(UnmountProcesses, UnmountOneAfterTheOtherAndIsolateOnlyWhenNobodyUnmounts)
{
    AddDependent("a.service");
    HeldUnmount first("first");
    ASSERT_TRUE(first.AwaitAction());
    HeldUnmount second("second");
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitInterest(second.Pid(), kActionLock));
    ASSERT_TRUE(AwaitInterest(isolation.Pid(), kIsolateLock));

    EXPECT_FALSE(second.HasEntered());
    EXPECT_THAT(systemctl.Arguments(), Not(Contains("isolate foo.target")));
    first.LetGo();
    EXPECT_EQ(first.Wait(), Exited(0));

    second.LetGo();
    EXPECT_EQ(second.Wait(), Exited(0));
    EXPECT_EQ(isolation.Wait(), Exited(0));
    EXPECT_THAT(systemctl.Arguments(), Contains("isolate foo.target"));
}

TEST_F(UnmountProcesses, UnmountWhileAnIsolationStopsServices)
{
    systemctl.OnLeading({"isolate"}).CreateFile("/tmp/isolating").WaitForFile("/tmp/isolated");
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(Eventually([] { return Exists("/tmp/isolating"); }));

    HeldUnmount unmount("one");
    EXPECT_TRUE(unmount.AwaitAction());

    WriteText("/tmp/isolated", "");
    EXPECT_EQ(isolation.Wait(), Exited(0)) << "an isolation that systemd has begun waits for nobody";
    EXPECT_FALSE(IsLockFree(kIsolateLock)) << "the unmount has lost its lock to the isolation's end";
    unmount.LetGo();
    EXPECT_EQ(unmount.Wait(), Exited(0));
}

TEST_F(UnmountProcesses, LeaveNoLockWhenTheyAreKilled)
{
    AddDependent("a.service");
    HeldUnmount unmount("one");
    ASSERT_TRUE(unmount.AwaitAction());

    unmount.Kill();

    EXPECT_TRUE(Eventually(
        [] { return IsLockFree(kActionLock) && IsLockFree(kIsolateLock) && IsLockFree(kExitLock); }));
    EXPECT_TRUE(Run()) << "the next one is not disturbed";
}

TEST_F(UnmountProcesses, LeaveNoLockWhereverTheyAreKilled)
{
    AddDependent("a.service");
    const auto unmount = [] { _VESKSystemdVolumeUnmountAction({kVolume}, [] { return true; }); };
    const int kills = KillAtEveryStep(unmount, [](int step) {
        EXPECT_TRUE(Eventually([] {
            return IsLockFree(kActionLock) && IsLockFree(kIsolateLock) && IsLockFree(kExitLock);
        })) << step;
        EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); })) << step;
    });
    EXPECT_GT(kills, 50);
    EXPECT_TRUE(Run()) << "the next one is not disturbed";
}

} // namespace
} // namespace VeskTest
