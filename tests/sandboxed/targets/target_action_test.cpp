// Work on an isolated system, and the way back to the default target.

#include <csignal>
#include <memory>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "isolate_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Words = std::vector<std::string>;

constexpr const char* kThere = "isolate foo.target";
constexpr const char* kBack = "isolate default.target";
constexpr const char* kActionFile = "systemd_isolate_target_action.cpp";

class TargetAction : public IsolateTest
{
protected:
    // The isolations so far.
    Words Isolations() const
    {
        Words isolations;
        for (const std::string& call : systemctl.Arguments()) {
            if (call.rfind("isolate", 0) == 0) {
                isolations.push_back(call);
            }
        }
        return isolations;
    }

    bool Run(bool actionResult)
    {
        return _VESKSystemdIsolateTargetAction("foo.target", [this, actionResult] {
            ++runs;
            atAction = Isolations();
            return actionResult;
        });
    }

    int runs = 0;
    Words atAction;
};

int answer = 0;
int cRuns = 0;
int CAction()
{
    ++cRuns;
    return answer;
}
int ThrowingCAction()
{
    throw std::runtime_error("no");
}

TEST_F(TargetAction, RunsBetweenTheIsolationAndTheWayBack)
{
    EXPECT_TRUE(Run(true));
    EXPECT_EQ(runs, 1);
    EXPECT_THAT(atAction, ElementsAre(kThere));
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
    EXPECT_THAT(log.Take(), ElementsAreArray(
                                InOrder({Begin(), Done(), Begin("default.target"), Done("default.target")})));
}

TEST_F(TargetAction, HoldsTheOperationLockFromTheFirstToTheLastStep)
{
    std::vector<bool> seen;
    EXPECT_TRUE(_VESKSystemdIsolateTargetAction("foo.target", [&] {
        seen = {IsLockFreeToShare(kOperationLock), IsLockFree(kIsolateLock),
                Eventually([] { return IsLockFree(kExitLock); }), Exists(kFlag)};
        return true;
    }));
    EXPECT_THAT(seen, ElementsAre(false, true, true, false));
    EXPECT_THAT(spy.Locks(),
                ElementsAre(LockRequest{kOperationLock, true, 120}, LockRequest{kIsolateLock, true, 600},
                            LockRequest{kExitLock, false, 10}, LockRequest{kIsolateLock, true, 600},
                            LockRequest{kExitLock, false, 10}));
}

TEST_F(TargetAction, LeavesNoLockToAChildThatLivesOn)
{
    std::unique_ptr<OtherProcess> child;
    EXPECT_TRUE(_VESKSystemdIsolateTargetAction("foo.target", [&] {
        child = std::make_unique<OtherProcess>(&pause);
        return true;
    }));
    EXPECT_TRUE(IsLockFree(kOperationLock));
    child->Kill();
    EXPECT_EQ(child->Wait(), Signalled(SIGKILL));
}

TEST_F(TargetAction, KeepsItsLockWhenAChildOfItReturnsIntoTheOperation)
{
    pid_t child = -1;
    bool isFree = true;
    EXPECT_TRUE(_VESKSystemdIsolateTargetAction("foo.target", [&] {
        child = fork();
        if (child > 0) {
            waitpid(child, nullptr, 0);
            isFree = IsLockFreeToShare(kOperationLock);
        }
        return true;
    }));
    if (child == 0) {
        _exit(0);
    }
    ASSERT_GT(child, 0);
    EXPECT_FALSE(isFree);
}

TEST_F(TargetAction, IsNeverCalledWhileAnotherOperationRuns)
{
    spy.DoNotWaitForLocks();
    const ForeignLock other(kOperationLock);

    EXPECT_FALSE(Run(true));

    EXPECT_EQ(runs, 0);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(LockFailure(kOperationLock, "foo.target")));
}

TEST_F(TargetAction, RefusesAnEmptyTargetBeforeItTakesAnyLock)
{
    VLIBCErrSetEx(0, "", 0);
    EXPECT_FALSE(_VESKSystemdIsolateTargetAction("", [this] { return ++runs > 0; }));
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(spy.Locks(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kActionFile, "!strTarget.empty()")));
}

TEST_F(TargetAction, IsNotCalledWhenTheIsolationFailsAndTheSystemGoesBack)
{
    systemctl.On({"isolate", "foo.target"}).Exit(1);
    EXPECT_FALSE(Run(true));
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
}

TEST_F(TargetAction, ThatFailsIsFollowedByTheWayBackAllTheSame)
{
    EXPECT_FALSE(Run(false));
    EXPECT_EQ(runs, 1);
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
}

TEST_F(TargetAction, FailsWhenTheWayBackFails)
{
    systemctl.On({"isolate", "default.target"}).Exit(1);
    EXPECT_FALSE(Run(true));
    EXPECT_FALSE(Run(false));
    EXPECT_EQ(runs, 2);
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack, kThere, kBack));
}

TEST_F(TargetAction, ThatThrowsIsFollowedByTheWayBackBeforeTheExceptionPassesOn)
{
    try {
        _VESKSystemdIsolateTargetAction("foo.target", []() -> bool { throw std::runtime_error("mine"); });
        FAIL() << "the exception did not pass on";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "mine");
    }
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
    EXPECT_TRUE(Eventually([] { return IsLockFree(kOperationLock); }));
}

TEST_F(TargetAction, ThatThrowsNoStandardExceptionIsTreatedAlike)
{
    EXPECT_THROW(_VESKSystemdIsolateTargetAction("foo.target", []() -> bool { throw 7; }), int);
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
}

TEST_F(TargetAction, ThatIsEmptyThrowsOnTheIsolatedSystemAndTheSystemGoesBack)
{
    EXPECT_THROW(_VESKSystemdIsolateTargetAction("foo.target", std::function<bool()>()),
                 std::bad_function_call);
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
}

TEST_F(TargetAction, ThatIsEmptyIsNotEvenTriedWhenTheIsolationFails)
{
    systemctl.On({"isolate", "foo.target"}).Exit(1);
    EXPECT_FALSE(_VESKSystemdIsolateTargetAction("foo.target", std::function<bool()>()));
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
}

TEST_F(TargetAction, HasACFormWhoseActionSucceedsWithAnythingButZero)
{
    for (const int value : {1, -3, 0}) {
        answer = value;
        cRuns = 0;
        systemctl.ForgetCalls();
        EXPECT_EQ(VESKCSystemdIsolateTargetAction("foo.target", CAction), value != 0) << value;
        EXPECT_EQ(cRuns, 1);
        EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
    }
}

TEST_F(TargetAction, HasACFormThatTurnsAnExceptionIntoAFailureAfterTheWayBack)
{
    EXPECT_FALSE(VESKCSystemdIsolateTargetAction("foo.target", ThrowingCAction));
    EXPECT_THAT(Isolations(), ElementsAre(kThere, kBack));
}

TEST_F(TargetAction, HasACFormThatRefusesNullArguments)
{
    for (const bool withTarget : {false, true}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(VESKCSystemdIsolateTargetAction(withTarget ? "foo.target" : nullptr, nullptr));
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
        EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(
                                    kActionFile, withTarget ? "nullptr != action" : "nullptr != szTarget")));
    }
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

TEST_F(TargetAction, LeavesNothingLockedWhenItsProcessIsKilledMeanwhile)
{
    OtherProcess caller([] {
        const auto wait = [] {
            WriteText("/tmp/in-action", "");
            return Eventually([] { return false; });
        };
        return _VESKSystemdIsolateTargetAction("foo.target", wait) ? 0 : 1;
    });
    ASSERT_TRUE(Eventually([] { return Exists("/tmp/in-action"); }));
    EXPECT_FALSE(IsLockFree(kOperationLock));
    caller.Kill();
    EXPECT_TRUE(Eventually([] { return IsLockFree(kOperationLock); }));
}

TEST_F(IsolateTest, IsolatesToTheDefaultTarget)
{
    EXPECT_TRUE(VESKSystemdIsolateToDefaultTarget());
    EXPECT_EQ(VESKCSystemdIsolateToDefaultTarget(), 1);
    EXPECT_EQ(spy.Locks().front(), (LockRequest{kOperationLock, true, 120}));
    EXPECT_EQ(systemctl.Arguments()[1], kBack);
    systemctl.OnLeading({"isolate"}).Exit(1);
    EXPECT_FALSE(VESKSystemdIsolateToDefaultTarget());
    EXPECT_EQ(VESKCSystemdIsolateToDefaultTarget(), 0);
}

} // namespace
} // namespace VeskTest
