// The locks of an isolation, the child that releases one of them early, and what is left when its process
// dies.

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

#include "isolate_ground.hpp"
#include "killed_process.hpp"
#include "shown_file.hpp"

namespace VeskTest
{
namespace
{

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;

constexpr const char* kReading = "/tmp/reading-the-queue";
constexpr const char* kQueueGoOn = "/tmp/queue-go-on";

// Whether alarm() counts in milliseconds, for children as well.
bool alarmIsEarly = false;

// The calls of alarm(), those of forked children included.
int& Alarms()
{
    static int* const count = static_cast<int*>(
        mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *count;
}

const LockRequest kOperation{kOperationLock, true, 120};
const LockRequest kIsolate{kIsolateLock, true, 600};
const LockRequest kExit{kExitLock, false, 10};

// An isolation in a process of its own, which is stopped at a step by the systemctl that it runs.
class IsolateLocks : public IsolateTest
{
protected:
    IsolateLocks()
    {
        Alarms() = 0;
        RemoveAll(kReading);
        RemoveAll(kQueueGoOn);
    }

    static int IsolateHere() { return VESKSystemdIsolateTarget("foo.target", nullptr) ? 0 : 1; }

    // Systemctl waits in the first reading of the queue.
    void HoldFirstReading()
    {
        systemctl.On({"list-jobs", "--no-legend"})
            .CreateFile(kReading)
            .WaitForFile(kQueueGoOn)
            .Exit(1)
            .Then()
            .Exit(1);
    }
    static bool AwaitFirstReading()
    {
        return Eventually([] { return Exists(kReading); });
    }
    static void LetFirstReadingGo() { WriteText(kQueueGoOn, ""); }

    bool AwaitHalfSeconds(int count) const
    {
        return Eventually([&] { return spy.HalfSeconds() >= count; });
    }

    // The locks as an isolation holds them before systemctl isolates.
    static void ExpectAllLocksHeld()
    {
        EXPECT_FALSE(IsLockFreeToShare(kOperationLock));
        EXPECT_FALSE(IsLockFreeToShare(kIsolateLock));
        EXPECT_FALSE(IsLockFree(kExitLock));
        EXPECT_TRUE(IsLockFreeToShare(kExitLock));
    }

    // The child of the isolation, which is the other process that has the isolate lock.
    static pid_t ChildOf(const OtherProcess& isolation)
    {
        for (const pid_t pid : ProcessesWithOpen(kIsolateLock)) {
            if (pid != isolation.Pid()) {
                return pid;
            }
        }
        return -1;
    }

    static bool AwaitAllLocksFree()
    {
        return Eventually(
            [] { return IsLockFree(kOperationLock) && IsLockFree(kIsolateLock) && IsLockFree(kExitLock); });
    }

    // Nor does the child, which has their descriptors and lives on, hold one of them.
    static void ExpectAllLocksFreeThough(OtherProcess& child)
    {
        EXPECT_TRUE(IsLockFree(kOperationLock));
        EXPECT_TRUE(IsLockFree(kIsolateLock));
        EXPECT_TRUE(IsLockFree(kExitLock));
        child.Kill();
        EXPECT_EQ(child.Wait(), Signalled(SIGKILL));
    }

    static void ExpectNothingLeft(int step)
    {
        EXPECT_TRUE(AwaitAllLocksFree()) << step;
        EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); })) << step;
    }
};

TEST_F(IsolateLocks, AreTakenInTheirOrderAndWithTheirModesAndTimes)
{
    EXPECT_TRUE(Isolate());
    EXPECT_THAT(spy.Locks(), ElementsAre(kOperation, kIsolate, kExit));
}

TEST_F(IsolateLocks, LackTheOneOfTheOperationForACallerThatHoldsIt)
{
    EXPECT_TRUE(VESKSystemdIntIsolateTarget("foo.target", &result));
    EXPECT_THAT(spy.Locks(), ElementsAre(kIsolate, kExit));
}

TEST_F(IsolateLocks, LeaveEverythingAsItIsWhenTheOperationLockIsTaken)
{
    spy.DoNotWaitForLocks();
    const ForeignLock other(kOperationLock);

    EXPECT_FALSE(Isolate());

    EXPECT_EQ(result, kUntouched);
    EXPECT_EQ(spy.Forks(), 0);
    EXPECT_THAT(spy.Locks(), ElementsAre(kOperation));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(LockFailure(kOperationLock, "foo.target")));
}

TEST_F(IsolateLocks, LeaveEverythingAsItIsWhenAVolumeIsBeingUnmounted)
{
    spy.DoNotWaitForLocks();
    const ForeignLock other(kIsolateLock, ForeignLock::Mode::Shared);

    EXPECT_FALSE(Isolate());

    EXPECT_EQ(result, kUntouched);
    EXPECT_EQ(spy.Forks(), 0);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(LockFailure(kIsolateLock, "foo.target")));
}

TEST_F(IsolateLocks, AreHeldAndTheFlagIsThereUntilSystemctlIsolates)
{
    HoldFirstReading();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitFirstReading());
    ASSERT_TRUE(AwaitHalfSeconds(2));

    ExpectAllLocksHeld();
    EXPECT_TRUE(Exists(kFlag));

    LetFirstReadingGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
}

TEST_F(IsolateLocks, GiveTheIsolateLockToOthersWhileSystemctlIsolates)
{
    HoldIsolation();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitIsolation());

    EXPECT_TRUE(Eventually([] { return IsLockFree(kIsolateLock); }));
    EXPECT_EQ(RunInChild([] {
                  VESK::Systemd::FileLock lock(kIsolateLock, false, 10);
                  return lock.Acquire() ? 0 : 1;
              }),
              Exited(0));
    EXPECT_TRUE(Exists(kFlag));
    EXPECT_FALSE(IsLockFreeToShare(kOperationLock));
    EXPECT_FALSE(IsLockFree(kExitLock));
    EXPECT_TRUE(Eventually([&] {
        return OtherProcessesOfThisProgram() == std::vector<pid_t>{isolation.Pid()};
    })) << "the child outlives its task";

    LetIsolationGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
}

TEST_F(IsolateLocks, AreHeldToTheEndWhenTheProcessesCannotBeListed)
{
    const ShownFile noList("/bin/ps", "");
    HoldIsolation();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitIsolation());
    ASSERT_TRUE(AwaitHalfSeconds(2));
    ExpectAllLocksHeld();

    LetIsolationGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
    EXPECT_TRUE(AwaitAllLocksFree());
}

TEST_F(IsolateLocks, AreNotTakenFromAnotherProcessThatGotTheLockMeanwhile)
{
    HoldIsolation();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(Eventually([] { return Exists(kIsolateLock) && IsLockFree(kIsolateLock); }));
    ASSERT_TRUE(AwaitIsolation());
    ASSERT_TRUE(Eventually([] { return IsLockFree(kIsolateLock); }));
    const ForeignLock other(kIsolateLock, ForeignLock::Mode::Shared);

    LetIsolationGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));

    EXPECT_FALSE(IsLockFree(kIsolateLock));
}

TEST_F(IsolateLocks, AreWithNoneOfTheProcessesThatAreStarted)
{
    script.OnAny().WaitForFile("/tmp/script-go-on");
    HoldFirstReading();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitFirstReading());
    ASSERT_TRUE(AwaitHalfSeconds(1));

    EXPECT_THAT(ProcessesWithOpen(kOperationLock), ElementsAre(isolation.Pid()));
    EXPECT_THAT(ProcessesWithOpen(kExitLock), ElementsAre(isolation.Pid()));
    EXPECT_THAT(ProcessesWithOpen(kIsolateLock), AllOf(Contains(isolation.Pid()), ::testing::SizeIs(2)))
        << "only the isolation and its child hold this one";

    LetFirstReadingGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
    for (const Call& call : systemctl.Calls()) {
        EXPECT_THAT(call.descriptors, ElementsAre(Key(0), Key(1), Key(2)));
    }
    ASSERT_TRUE(Eventually([this] { return script.Calls().size() == 1; }));
    EXPECT_THAT(script.Calls().front().descriptors, ElementsAre(Key(0), Key(1), Key(2)));
    WriteText("/tmp/script-go-on", "");
}

TEST_F(IsolateLocks, LeaveTheCallersOtherDescriptorsOutOfTheChild)
{
    HoldFirstReading();
    constexpr const char* kOwn = "/tmp/file-of-the-caller";
    WriteText(kOwn, "");
    OtherProcess isolation([] { return open(kOwn, O_RDONLY) < 0 ? 2 : IsolateHere(); });
    ASSERT_TRUE(AwaitFirstReading());
    ASSERT_TRUE(AwaitHalfSeconds(1));
    EXPECT_THAT(ProcessesWithOpen(kOwn), ElementsAre(isolation.Pid()));
    LetFirstReadingGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
}

TEST_F(IsolateLocks, LeaveTheCallersDescriptorsOutOfTheChildThoughItCannotListThem)
{
    spy.HideProcesses();
    HoldFirstReading();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitFirstReading());
    ASSERT_TRUE(AwaitHalfSeconds(1));
    EXPECT_THAT(ProcessesWithOpen(kOperationLock), ElementsAre(isolation.Pid()));
    EXPECT_THAT(ProcessesWithOpen(kExitLock), ElementsAre(isolation.Pid()));
    EXPECT_THAT(ProcessesWithOpen(kIsolateLock), AllOf(Contains(isolation.Pid()), ::testing::SizeIs(2)));
    LetFirstReadingGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
}

TEST_F(IsolateLocks, HaveTheChildEndThoughItHangs)
{
    alarmIsEarly = true;
    HoldFirstReading();
    OtherProcess isolation([] {
        signal(SIGALRM, SIG_IGN);
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, nullptr);
        return IsolateHere();
    });
    ASSERT_TRUE(AwaitFirstReading());
    EXPECT_TRUE(
        Eventually([&] { return OtherProcessesOfThisProgram() == std::vector<pid_t>{isolation.Pid()}; }));
    ExpectAllLocksHeld();
    LetFirstReadingGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
}

TEST_F(IsolateLocks, AreGivenUpByTheChildAfterTwoMinutes)
{
    spy.StopTheClock();
    HoldFirstReading();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitFirstReading());

    EXPECT_TRUE(Eventually([] { return IsLockFree(kIsolateLock); }, std::chrono::seconds(120)));

    EXPECT_EQ(spy.HalfSeconds(), 240);
    EXPECT_EQ(Alarms(), 240) << "a round that is slow is none that hangs";
    EXPECT_FALSE(IsLockFreeToShare(kOperationLock));
    LetFirstReadingGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
    EXPECT_THAT(
        log.Take(),
        ElementsAreArray(InOrder(
            {Begin(), {Error(kIsolateFile, "vesksystemd: Isolate doesn't execute successfully")}, Done()})));
}

TEST_F(IsolateLocks, AreSharedByAChildWithNoneOfItsCallersWays)
{
    HoldFirstReading();
    OtherProcess isolation([] {
        TakeOwnWays();
        return IsolateHere();
    });
    ASSERT_TRUE(AwaitFirstReading());
    ASSERT_TRUE(AwaitHalfSeconds(1));
    const pid_t child = ChildOf(isolation);
    ASSERT_GT(child, 0);
    ExpectPlainWays(child);
    EXPECT_EQ(kill(child, SIGTERM), 0);
    EXPECT_TRUE(Eventually([&] { return ChildOf(isolation) == -1; }));
    EXPECT_FALSE(Exists(kHandled));
    ExpectAllLocksHeld();
    LetFirstReadingGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
}

TEST_F(IsolateLocks, AreFreeAtOnceWhenTheIsolationIsKilledBeforeItIsolates)
{
    HoldFirstReading();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitFirstReading());
    ASSERT_TRUE(AwaitHalfSeconds(1));
    ExpectAllLocksHeld();

    // Nobody reaps it meanwhile, and its systemctl still runs.
    isolation.Kill();

    EXPECT_TRUE(AwaitAllLocksFree());
    EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); }));
    EXPECT_TRUE(Exists(kFlag));
    LetFirstReadingGo();

    EXPECT_EQ(isolation.Wait(), Signalled(SIGKILL));
    EXPECT_TRUE(Isolate()) << "what is left does not disturb the next isolation";
}

TEST_F(IsolateLocks, AreFreeAtOnceWhenTheIsolationIsKilledWhileItIsolates)
{
    HoldIsolation();
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(AwaitIsolation());

    isolation.Kill();

    EXPECT_TRUE(AwaitAllLocksFree());
    EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); }));
    flagMayStay = true;
    LetIsolationGo();
}

TEST_F(IsolateLocks, AreFreeAtOnceWhenTheIsolationIsKilledWhileItWaits)
{
    Queue("").Then().Stdout("2 a.service stop running\n").Exit(1);
    OtherProcess isolation(IsolateHere);
    ASSERT_TRUE(Eventually([&] { return spy.Seconds() >= 1; }));

    isolation.Kill();

    EXPECT_TRUE(AwaitAllLocksFree());
    EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); }));
    EXPECT_FALSE(Exists(kFlag));
}

TEST_F(IsolateLocks, AreFreeAndTheSystemCanBeIsolatedWhereverTheIsolationIsKilled)
{
    spy.StopTheClock();
    const int kills = KillAtEveryStep(IsolateHere, ExpectNothingLeft);
    EXPECT_GT(kills, 50);
    EXPECT_TRUE(Isolate());
}

TEST_F(IsolateLocks, AreFreeAndTheSystemCanBeIsolatedWhereverATargetActionIsKilled)
{
    spy.StopTheClock();
    const auto act = [] { _VESKSystemdIsolateTargetAction("foo.target", [] { return true; }); };
    const int kills = KillAtEveryStep(act, ExpectNothingLeft);
    EXPECT_GT(kills, 50);
    EXPECT_TRUE(Isolate());
}

TEST_F(IsolateLocks, AreLeftToNoChildOfAnotherThreadThatLivesOn)
{
    std::unique_ptr<OtherProcess> child;
    spy.OnFork([&](int) { child = std::make_unique<OtherProcess>(&pause); });
    EXPECT_TRUE(VESKSystemdIsolateTarget("foo.target", nullptr));
    EXPECT_EQ(spy.Forks(), 2);
    ExpectAllLocksFreeThough(*child);
}

TEST_F(IsolateLocks, AreLeftToNoSuchChildWhenTheIsolationFailsEarly)
{
    std::unique_ptr<OtherProcess> child;
    spy.OnFork([&](int) { child = std::make_unique<OtherProcess>(&pause); });
    spy.FailFork(2);
    EXPECT_FALSE(VESKSystemdIsolateTarget("foo.target", nullptr));
    ExpectAllLocksFreeThough(*child);
}

TEST_F(IsolateLocks, KeepNoDescriptorOpenInTheCaller)
{
    EXPECT_TRUE(Isolate());
    for (const char* lock : {kOperationLock, kIsolateLock, kExitLock}) {
        EXPECT_THAT(ProcessesWithOpen(lock), Not(Contains(getpid()))) << lock;
    }
}

TEST_F(IsolateLocks, HaveTheChildEndWhenTheIsolationIsOverBeforeItLooked)
{
    systemctl.OnLeading({"isolate"}).Exit(1);
    EXPECT_FALSE(Isolate());
    EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); }));
    EXPECT_THAT(log.Take(), Not(Contains(Error(kIsolateFile, "vesksystemd: Isolate doesn't execute "
                                                             "successfully"))));
}

} // namespace
} // namespace VeskTest

extern "C" [[gnu::visibility("default")]] unsigned alarm(unsigned seconds)
{
    ++VeskTest::Alarms();
    const auto count = static_cast<time_t>(seconds);
    const auto microseconds = static_cast<suseconds_t>(seconds) * 1000;
    const itimerval timer =
        VeskTest::alarmIsEarly ? itimerval{{0, 0}, {0, microseconds}} : itimerval{{0, 0}, {count, 0}};
    setitimer(ITIMER_REAL, &timer, nullptr);
    return 0;
}
