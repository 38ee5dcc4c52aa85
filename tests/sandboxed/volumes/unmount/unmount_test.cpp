// One unmount of a volume: what is run, written and logged around the action, and what becomes of failures.

#include <csignal>
#include <memory>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "c_list.hpp"
#include "unmount_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const LockRequest kFirstLock{kActionLock, true, 3600};
const LockRequest kSecondLock{kIsolateLock, false, 3600};
const LockRequest kThirdLock{kExitLock, false, 10};

constexpr const char* kSystemFolder = "/run/systemd/system";

TEST_F(UnmountTest, StopsTheServicesRunsTheActionAndStartsThemAgain)
{
    AddDependent("b.service");
    AddDependent("a.service");

    EXPECT_TRUE(Run());

    EXPECT_EQ(runs, 1);
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre(kListUnits, "show --property ActiveState b.service",
                            "show --property ActiveState a.service", kReload, kStartBegin, kStartEnd));
    EXPECT_THAT(atAction, ElementsAre(kReload, kStartBegin));
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("a.service, b.service")));
    EXPECT_THAT(spy.Locks(), ElementsAre(kFirstLock, kSecondLock, kThirdLock));
    EXPECT_TRUE(Eventually([this] { return script.Calls().size() == 1; }));
}

TEST_F(UnmountTest, WritesTwoTargetsAndLeavesThemThere)
{
    AddDependent("b.service");
    AddDependent("a.timer");

    EXPECT_TRUE(Run());

    EXPECT_EQ(ReadText(kBeginFile), "[Unit]\nAfter=a.timer b.service\nConflicts=a.timer b.service\n"
                                    "DefaultDependencies=no\n");
    EXPECT_EQ(ReadText(kEndFile), "[Unit]\nAfter=a.timer b.service\nDefaultDependencies=no\n"
                                  "Wants=a.timer b.service\n");
    EXPECT_THAT(ListFolder(kSystemFolder),
                ElementsAre("unmount-volume-begin.target", "unmount-volume-end.target"));
}

TEST_F(UnmountTest, ReplacesTheTargetsOfTheLastTime)
{
    WriteText(kBeginFile, "[Unit]\nConflicts=old.service\nOther=1\n[X]\nY=2\n");
    WriteText(kEndFile, "[Install]\nWantedBy=x\n");
    AddDependent("a.service");
    EXPECT_TRUE(Run());
    EXPECT_EQ(ReadText(kBeginFile), BeginText("a.service"));
    EXPECT_EQ(ReadText(kEndFile), EndText("a.service"));
}

// One of the targets of the last time, while the other is gone.
class TargetLeft : public UnmountTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(TargetLeft, IsReplacedThoughTheOtherDoesNotExist)
{
    WriteText(GetParam(), "[Unit]\nOther=1\n");
    AddDependent("a.service");

    EXPECT_TRUE(Run());

    EXPECT_EQ(runs, 1);
    EXPECT_EQ(ReadText(kBeginFile), BeginText("a.service"));
    EXPECT_EQ(ReadText(kEndFile), EndText("a.service"));
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("a.service")));
}

INSTANTIATE_TEST_SUITE_P(, TargetLeft, ::testing::Values(kBeginFile, kEndFile));

TEST_F(UnmountTest, DoesNotMindThatThereAreNoTargetsOfTheLastTime)
{
    AddDependent("a.service");
    for (const char* folder : {"/run/systemd/system", "/run/systemd"}) {
        SCOPED_TRACE(folder);
        RemoveAll(folder);
        EXPECT_TRUE(Run());
        EXPECT_EQ(ReadText(kBeginFile), BeginText("a.service"));
        EXPECT_EQ(ReadText(kEndFile), EndText("a.service"));
        EXPECT_THAT(OwnLog(), ElementsAre(StopLine("a.service")));
    }
}

TEST_F(UnmountTest, RunsNothingButTheActionWhenNobodyUsesTheVolumes)
{
    AddUnit("other.service", "VolumeDependency=none\n");

    EXPECT_TRUE(Run(true, {kVolume, "/volume2"}));
    EXPECT_FALSE(Run(false, {kVolume, "/volume2"}));

    EXPECT_EQ(runs, 2);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListUnits, kListUnits));
    EXPECT_THAT(ListFolder(kSystemFolder), IsEmpty());
    EXPECT_THAT(log.Take(),
                ElementsAre(NothingToStop("/volume1, /volume2"), NothingToStop("/volume1, /volume2")));
}

TEST_F(UnmountTest, RefusesAnEmptyListBeforeItTakesAnyLock)
{
    VLIBCErrSetEx(0, "", 0);
    EXPECT_FALSE(Run(true, {}));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), kUnmountFile);
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(spy.Locks(), IsEmpty());
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kUnmountFile, "!vecVolumes.empty()")));
}

TEST_F(UnmountTest, RefusesAnEmptyVolumeBeforeItTakesAnyLock)
{
    AddDependent("a.service");
    const auto expectRefusal = [&](bool result) {
        EXPECT_FALSE(result);
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
        EXPECT_STREQ(VLIBCErrorGetFile(), kUnmountFile);
        EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kUnmountFile, "!strVolume.empty()")));
        VLIBCErrSetEx(0, "", 0);
    };
    const auto action = [](void* called) { return *static_cast<bool*>(called) = true; };
    bool called = false;
    expectRefusal(Run(true, {""}));
    expectRefusal(Run(true, {kVolume, std::string("\0/volume2", 9)}));
    expectRefusal(VESKCSystemdVolumeUnmountAction("", action, &called) != 0);
    expectRefusal(VESKCSystemdVolumeGroupUnmountAction(CList({kVolume, ""}).Get(), action, &called) != 0);
    EXPECT_EQ(runs, 0);
    EXPECT_FALSE(called);
    EXPECT_THAT(spy.Locks(), IsEmpty());
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

TEST_F(UnmountTest, HoldsItsLocksWhileTheActionRuns)
{
    AddDependent("a.service");
    std::vector<bool> seen;
    EXPECT_TRUE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
        seen = {IsLockFreeToShare(kActionLock), IsLockFree(kIsolateLock), IsLockFreeToShare(kIsolateLock),
                IsLockFree(kExitLock)};
        return true;
    }));
    EXPECT_THAT(seen, ElementsAre(false, false, true, false));
}

TEST_F(UnmountTest, LeavesNoLockToAChildOfTheActionThatLivesOn)
{
    AddDependent("a.service");
    std::unique_ptr<OtherProcess> child;
    EXPECT_TRUE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
        child = std::make_unique<OtherProcess>(&pause);
        return true;
    }));
    EXPECT_TRUE(IsLockFree(kActionLock));
    EXPECT_TRUE(IsLockFree(kIsolateLock));
    EXPECT_TRUE(IsLockFree(kExitLock));
    child->Kill();
    EXPECT_EQ(child->Wait(), Signalled(SIGKILL));
}

TEST_F(UnmountTest, KeepsItsLocksWhenAChildOfTheActionReturnsIntoTheOperation)
{
    AddDependent("a.service");
    pid_t child = -1;
    std::vector<bool> seen;
    EXPECT_TRUE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
        child = fork();
        if (child > 0) {
            waitpid(child, nullptr, 0);
            seen = {IsLockFreeToShare(kActionLock), IsLockFree(kIsolateLock)};
        }
        return true;
    }));
    if (child == 0) {
        _exit(0);
    }
    ASSERT_GT(child, 0);
    EXPECT_THAT(seen, ElementsAre(false, false));
}

TEST_F(UnmountTest, StartsTheServicesAgainWhenThereIsNoAction)
{
    AddDependent("a.service");
    EXPECT_THROW(VESKSystemdVolumeUnmountAction({kVolume}, nullptr, nullptr), std::bad_function_call);
    EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd));
}

TEST_F(UnmountTest, FailsAtTheFirstLockThatItCannotTake)
{
    spy.DoNotWaitForLocks();
    AddDependent("a.service");
    for (const char* path : {kActionLock, kIsolateLock}) {
        const ForeignLock other(path);
        EXPECT_FALSE(Run());
        EXPECT_THAT(
            OwnLog(),
            ElementsAre(Error(kUnmountFile, std::string("vesksystemd: Failed to get lock [") + path + "]")));
    }
    EXPECT_THAT(spy.Locks(), ElementsAre(kFirstLock, kFirstLock, kSecondLock));
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(spy.Forks(), 0);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

TEST_F(UnmountTest, FailsWithoutAStatusMonitor)
{
    spy.FailFork(1);
    AddDependent("a.service");
    EXPECT_FALSE(Run());
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(OwnLog(), ElementsAre(Error(kUnmountFile, "Failed to monitor systemd status in volume "
                                                          "unmount action")));
}

TEST_F(UnmountTest, FailsWhenTheUnitsCannotBeListed)
{
    systemctl.On({"list-unit-files", "--no-legend", "--root=/."}).Exit(1);
    VLIBCErrSetEx(0x1234, "some.c", 9);
    EXPECT_FALSE(Run());
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListUnits));
    EXPECT_THAT(OwnLog(),
                ElementsAre(Error(kUnmountFile, "vesksystemd: Fail to list units.[0x1234 some.c:9]"),
                            Error(kUnmountFile, "vesksystemd: Fail to list volume dependency units.")));
}

// A file in the way of one of the targets.
class TargetInTheWay : public UnmountTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(TargetInTheWay, EndsTheUnmountBeforeAnythingIsStopped)
{
    MakeFolder(GetParam());
    AddDependent("a.service");
    EXPECT_FALSE(Run());
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(Steps(), IsEmpty());
    EXPECT_THAT(OwnLog(), ElementsAre(Error(kUnmountFile, std::string("vesksystemd: Fail to remove [") +
                                                              GetParam() + "].")));
}

INSTANTIATE_TEST_SUITE_P(, TargetInTheWay, ::testing::Values(kBeginFile, kEndFile));

class TargetNotWritten : public UnmountTest, public ::testing::WithParamInterface<int>
{
};

TEST_P(TargetNotWritten, EndsTheUnmountBeforeAnythingIsStopped)
{
    spy.FailSection(GetParam());
    AddDependent("a.service");
    EXPECT_FALSE(Run());
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(Steps(), IsEmpty());
    EXPECT_THAT(OwnLog(),
                ElementsAre(Error(kUnmountFile, std::string("vesksystemd: Fail to add unit section in [") +
                                                    (GetParam() == 1 ? kBeginFile : kEndFile) + "].")));
    EXPECT_EQ(Exists(kBeginFile), GetParam() == 2) << "the target that stops is written first";
}

INSTANTIATE_TEST_SUITE_P(, TargetNotWritten, ::testing::Values(1, 2));

class TargetWithoutKey : public UnmountTest, public ::testing::WithParamInterface<const char*>
{
};

// It would stop or start nothing, or not wait for that.
TEST_P(TargetWithoutKey, EndsTheUnmountBeforeAnythingIsStopped)
{
    spy.FailKey(GetParam());
    AddDependent("a.service");
    EXPECT_FALSE(Run());
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(Steps(), IsEmpty());
    const std::string target = GetParam() == std::string("Wants") ? kEndFile : kBeginFile;
    EXPECT_THAT(OwnLog(), ElementsAre(Error(kUnmountFile,
                                            "vesksystemd: Fail to add unit section in [" + target + "].")));
}

INSTANTIATE_TEST_SUITE_P(, TargetWithoutKey,
                         ::testing::Values("Conflicts", "Wants", "After", "DefaultDependencies"));

TEST_F(UnmountTest, FailsWhenTheManagerDoesNotReload)
{
    systemctl.On({"daemon-reload"}).Exit(1);
    AddDependent("a.service");
    EXPECT_FALSE(Run());
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(Steps(), ElementsAre(kReload));
    EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(UnmountTest, StartsTheServicesAgainWhenTheyCouldNotBeStopped)
{
    systemctl.OnLeading({"start", "--job-mode=replace-irreversibly"}).Exit(1);
    AddDependent("a.service");
    EXPECT_FALSE(Run());
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd));
}

TEST_F(UnmountTest, StartsTheServicesAgainAfterAnActionThatFails)
{
    AddDependent("a.service");
    EXPECT_FALSE(Run(false));
    EXPECT_EQ(runs, 1);
    EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd));
}

TEST_F(UnmountTest, FailsWhenTheServicesDoNotStartAgain)
{
    systemctl.On({"start", "unmount-volume-end.target"}).Exit(1);
    AddDependent("a.service");
    EXPECT_FALSE(Run(true));
    EXPECT_FALSE(Run(false));
    EXPECT_EQ(runs, 2);
}

TEST_F(UnmountTest, TriesOnceWhenTheServicesDoNotStartAgain)
{
    systemctl.On({"start", "unmount-volume-end.target"}).Exit(1);
    AddDependent("a.service");
    VLIBCErrSetEx(0x1234, "some.c", 9);
    EXPECT_FALSE(Run());
    EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd));
    EXPECT_EQ(VLIBCErrGet(), 0x1234);
    EXPECT_EQ(spy.Seconds(), 0);
}

TEST_F(UnmountTest, TriesAgainWhenTheStartOfTheServicesCannotBeRun)
{
    AddDependent("a.service");
    for (const bool throws : {false, true}) {
        SCOPED_TRACE(throws ? "an action that throws" : "an action that returns");
        int pauses = 0;
        spy.OnSecond([&] {
            if (++pauses == 2) {
                systemctl.Restore();
            }
        });
        systemctl.ForgetCalls();
        const auto run = [&] {
            return _VESKSystemdVolumeUnmountAction({kVolume}, [&] {
                systemctl.Remove();
                return throws ? throw std::runtime_error("mine") : true;
            });
        };
        if (throws) {
            EXPECT_THROW(run(), std::runtime_error);
        } else {
            EXPECT_TRUE(run());
        }
        EXPECT_EQ(pauses, 2);
        EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd));
    }
}

TEST_F(UnmountTest, FailsWhenTheStartOfTheServicesCanNeverBeRun)
{
    AddDependent("a.service");
    int pauses = 0;
    spy.OnSecond([&] { ++pauses; });
    EXPECT_FALSE(_VESKSystemdVolumeUnmountAction({kVolume}, [&] {
        systemctl.Remove();
        return true;
    }));
    systemctl.Restore();
    EXPECT_EQ(pauses, 4);
}

TEST_F(UnmountTest, StartsTheServicesAgainBeforeAnExceptionOfTheActionPassesOn)
{
    AddDependent("a.service");
    try {
        _VESKSystemdVolumeUnmountAction({kVolume}, []() -> bool { throw std::runtime_error("mine"); });
        FAIL() << "the exception did not pass on";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "mine");
    }
    EXPECT_THROW(_VESKSystemdVolumeUnmountAction({kVolume}, []() -> bool { throw 7; }), int);
    EXPECT_THROW(_VESKSystemdVolumeUnmountAction({kVolume}, std::function<bool()>()), std::bad_function_call);
    EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd, kReload, kStartBegin, kStartEnd,
                                     kReload, kStartBegin, kStartEnd));
}

TEST_F(UnmountTest, LetsAnExceptionPassOnWhenThereIsNothingToStart)
{
    EXPECT_THROW(_VESKSystemdVolumeUnmountAction({kVolume}, std::function<bool()>()), std::bad_function_call);
    EXPECT_THAT(Steps(), IsEmpty());
}

TEST_F(UnmountTest, FailsWithoutSystemctl)
{
    systemctl.Remove();
    EXPECT_FALSE(Run());
    systemctl.Restore();
    EXPECT_EQ(runs, 0);
}

TEST_F(UnmountTest, LeavesNoDescriptorToTheProgramsThatItStarts)
{
    AddDependent("a.service");
    EXPECT_TRUE(Run());
    for (const Call& call : systemctl.Calls()) {
        EXPECT_THAT(call.descriptors, ElementsAre(::testing::Key(0), ::testing::Key(1), ::testing::Key(2)));
    }
    ASSERT_TRUE(Eventually([this] { return script.Calls().size() == 1; }));
    EXPECT_EQ(script.Calls().front().descriptors.size(), 3U);
}

// The forms for a function and its argument.

struct ActionArgument {
    int runs = 0;
    bool result = true;
};

bool CountingAction(void* argument)
{
    auto& place = *static_cast<ActionArgument*>(argument);
    ++place.runs;
    return place.result;
}

bool ThrowingAction(void* /*argument*/)
{
    throw std::runtime_error("no");
}

TEST_F(UnmountTest, HandsItsArgumentToAFunction)
{
    const CList group({kVolume, "/volume2"});
    for (const bool result : {true, false}) {
        ActionArgument argument{0, result};
        EXPECT_EQ(VESKSystemdVolumeUnmountAction(Words{kVolume}, CountingAction, &argument), result);
        EXPECT_EQ(VESKSystemdVolumeUnmountAction({kVolume}, CountingAction, &argument), result);
        EXPECT_EQ(VESKCSystemdVolumeUnmountAction(kVolume, CountingAction, &argument), result ? 1 : 0);
        EXPECT_EQ(VESKCSystemdVolumeGroupUnmountAction(group.Get(), CountingAction, &argument),
                  result ? 1 : 0);
        EXPECT_EQ(argument.runs, 4);
        EXPECT_THAT(log.Take(), ElementsAre(NothingToStop(), NothingToStop(), NothingToStop(),
                                            NothingToStop("/volume1, /volume2")));
    }
}

TEST_F(UnmountTest, TurnsAnExceptionOfAFunctionIntoAFailureOfTheCForms)
{
    AddDependent("a.service");
    const CList group({kVolume});
    EXPECT_EQ(VESKCSystemdVolumeUnmountAction(kVolume, ThrowingAction, nullptr), 0);
    EXPECT_EQ(VESKCSystemdVolumeGroupUnmountAction(group.Get(), ThrowingAction, nullptr), 0);
    EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd, kReload, kStartBegin, kStartEnd));
}

TEST_F(UnmountTest, RefusesNullArgumentsOfTheCForms)
{
    const CList group({kVolume});
    EXPECT_EQ(VESKCSystemdVolumeUnmountAction(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(VESKCSystemdVolumeUnmountAction(kVolume, nullptr, nullptr), 0);
    EXPECT_EQ(VESKCSystemdVolumeGroupUnmountAction(nullptr, nullptr, nullptr), 0);
    VLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(VESKCSystemdVolumeGroupUnmountAction(group.Get(), nullptr, nullptr), 0);
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kUnmountFile, "nullptr != szVolume"),
                                        RefusedArgument(kUnmountFile, "nullptr != action"),
                                        RefusedArgument(kUnmountFile, "nullptr != pListVolumes"),
                                        RefusedArgument(kUnmountFile, "nullptr != action")));
    EXPECT_THAT(spy.Locks(), IsEmpty());
}

TEST_F(UnmountTest, RefusesAnEmptyGroup)
{
    const CList group;
    EXPECT_EQ(VESKCSystemdVolumeGroupUnmountAction(group.Get(), CountingAction, nullptr), 0);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kUnmountFile, "!vecVolumes.empty()")));
}

} // namespace
} // namespace VeskTest
