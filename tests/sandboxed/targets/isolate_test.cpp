// One isolation: what is run, logged and told, and what becomes of failures.

#include <sys/mount.h>
#include <unistd.h>

#include "error.hpp"
#include "isolate_ground.hpp"
#include "paths.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kListJobs = "list-jobs --no-legend";
const std::string kRefusesJobs = "Failed to list-jobs, ret=[2], reason=[no bus\n]";

LogMatchers QueueFailure()
{
    return {Error("systemd_job_list.cpp", "vesksystemd: " + kRefusesJobs)};
}

TEST_F(IsolateTest, RunsSystemctlBetweenTwoReadingsOfTheQueueAndSaysThatNoStopJobIsLeft)
{
    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListJobs, "isolate foo.target", kListJobs));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin(), Done()})));
    EXPECT_EQ(spy.Seconds(), 0);
    EXPECT_TRUE(Eventually([this] { return script.Arguments() == std::vector<std::string>{""}; }));
}

TEST_F(IsolateTest, TakesTheNameOfTheTargetAsItIs)
{
    const std::string name = "a b%s%n\n$(x)'\"";
    EXPECT_TRUE(Isolate(name));
    const auto calls = systemctl.Calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_THAT(calls[1].argv, ElementsAre("/usr/bin/systemctl", "isolate", name));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin(name), Done(name)})));
}

TEST_F(IsolateTest, OnlyQueuesTheIsolationWithNoBlockAndSaysSo)
{
    VESK::Systemd::IsolateOptions options;
    options.noBlock = true;
    EXPECT_TRUE(VESKSystemdIsolateTarget("foo.target", options, &result));

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListJobs, "isolate --no-block foo.target", kListJobs));
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder({Begin(), Done("foo.target", " with option [--no-block]")})));
}

TEST_F(IsolateTest, DoesTheSameForACallerThatDoesNotWantTheOutcome)
{
    const VESK::Systemd::IsolateOptions options;
    EXPECT_TRUE(VESKSystemdIsolateTarget("foo.target", nullptr));
    EXPECT_TRUE(VESKSystemdIsolateTarget("foo.target", options, nullptr));
    EXPECT_TRUE(VESKSystemdIntIsolateTarget("foo.target", nullptr));
    EXPECT_TRUE(VESKSystemdIntIsolateTarget("foo.target", options, nullptr));
    systemctl.On({"list-jobs", "--no-legend"}).Exit(2).Then().Exit(2).Then().Exit(1);
    EXPECT_TRUE(VESKSystemdIsolateTarget("foo.target", nullptr));
    systemctl.OnLeading({"isolate"}).Exit(1);
    EXPECT_FALSE(VESKSystemdIsolateTarget("foo.target", nullptr));
}

TEST_F(IsolateTest, TellsWhySystemctlFailedAndDoesNotWait)
{
    systemctl.OnLeading({"isolate"}).Stdout("one\n").Stderr("two %s\n").Exit(4);

    EXPECT_FALSE(Isolate());

    EXPECT_EQ(result, kUntouched);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListJobs, "isolate foo.target"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                {Begin(),
                                 {Error(kIsolateFile, "vesksystemd: isolate to [foo.target] failed: ret=[4], "
                                                      "reason=[one\n, two %s\n]")}})));
}

TEST_F(IsolateTest, IsolatesWithoutWaitingWhenTheQueueCannotBeReadBefore)
{
    systemctl.On({"list-jobs", "--no-legend"}).Stderr("no bus\n").Exit(2);

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListJobs, "isolate foo.target"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin(), QueueFailure(), {QueueLost()}, Done()})));
}

TEST_F(IsolateTest, FailsWithTheQueueLostWhenTheIsolationFailsToo)
{
    systemctl.On({"list-jobs", "--no-legend"}).Stderr("no bus\n").Exit(2);
    systemctl.OnLeading({"isolate"}).Exit(1);

    EXPECT_FALSE(Isolate());

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED);
    EXPECT_THAT(log.Take(),
                ElementsAreArray(
                    InOrder({Begin(),
                             QueueFailure(),
                             {QueueLost(), Error(kIsolateFile, "vesksystemd: isolate to [foo.target] failed: "
                                                               "ret=[1], reason=[]")}})));
}

TEST_F(IsolateTest, TurnsAMissingSystemctlIntoAFailure)
{
    systemctl.Remove();
    EXPECT_FALSE(Isolate());
    systemctl.Restore();

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED);
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder(
                    {Begin(),
                     {NotStarted(kListJobs), Error("systemd_job_list.cpp", "vesksystemd: list-jobs failed."),
                      QueueLost(), NotStarted("isolate foo.target"),
                      Error(kIsolateFile, "vesksystemd: isolate to [foo.target] failed.")}})));
}

TEST_F(IsolateTest, RefusesAnEmptyTargetOnlyAfterItsFlagAndItsChild)
{
    std::vector<bool> flags;
    spy.OnFork([&](int) { flags.push_back(Exists(kFlag)); });
    VLIBCErrSetEx(0, "", 0);

    EXPECT_FALSE(Isolate(""));

    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), kIsolateFile);
    EXPECT_EQ(result, kUntouched);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(flags, ElementsAre(false, true));
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kIsolateFile, "!strTarget.empty()")));
    EXPECT_FALSE(Exists(kFlag));
}

TEST_F(IsolateTest, FailsWhenItsChildCannotBeForked)
{
    spy.FailFork(2);

    EXPECT_FALSE(Isolate());

    EXPECT_EQ(result, kUntouched);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("common.cpp", "vesksystemd: Failed to fork[0x1234 fork.c:7]"),
                            Error(kIsolateFile, "vesksystemd: Failed to fork for isolate monitor")));
}

TEST_F(IsolateTest, FailsWhenItsFlagCannotBeMade)
{
    MakeFolder(kRunFolder);
    ASSERT_EQ(symlink("/nowhere/flag", kFlag), 0);

    EXPECT_FALSE(Isolate());

    EXPECT_EQ(result, kUntouched);
    EXPECT_EQ(spy.Forks(), 1);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAre(Error(kIsolateFile, "vesksystemd: Failed to touch isolate flag")));
    RemoveAll(kFlag);
}

TEST_F(IsolateTest, FailsWhereNothingCanBeWritten)
{
    constexpr const char* kFolder = kRunFolder;
    MakeFolder(kFolder);
    VeskGround::Require(mount("flag", kFolder, "tmpfs", 0, nullptr), "mount", kFolder);
    MakeFolder(std::string(kFolder) + "/locks");
    VeskGround::Require(mount("locks", kLockFolder, "tmpfs", 0, nullptr), "mount", "locks");
    VeskGround::Require(mount(nullptr, kFolder, nullptr, MS_REMOUNT | MS_RDONLY, nullptr), "remount",
                        kFolder);

    EXPECT_FALSE(Isolate());

    EXPECT_EQ(result, kUntouched);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                {LockFailure(kExitLock, "status monitor"),
                                 {Error(kIsolateFile, "Failed to monitor systemd status in isolation"),
                                  Error(kIsolateFile, "vesksystemd: Failed to touch isolate flag")}})));
    EXPECT_TRUE(IsLockFree(kIsolateLock));
    umount(kLockFolder);
    umount(kFolder);
}

TEST_F(IsolateTest, TakesAFlagThatWasLeftBehindForItsOwn)
{
    WriteText(kFlag, "");
    EXPECT_TRUE(Isolate());
    EXPECT_FALSE(Exists(kFlag));
}

TEST_F(IsolateTest, DoesNotMindAFlagThatSomebodyElseHasRemoved)
{
    systemctl.OnLeading({"isolate"}).RemoveFile(kFlag);
    EXPECT_TRUE(Isolate());
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin(), Done()})));
}

TEST_F(IsolateTest, TriesAFlagThatCannotBeRemovedOnceMoreAtTheEnd)
{
    MakeFolder(kFlag);
    Queue("").Then().Stdout("5 slow.service stop running\n").Exit(1).Then().Exit(1);
    spy.OnSecond([] {});

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
    const auto stays =
        Error(kIsolateFile, std::string("vesksystemd: Failed to delete ") + kFlag + ": [Is a directory]");
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder({Begin(), Done(), {stays, WaitLine("slow.service"), stays}})));
    RemoveAll(kFlag);
}

TEST_F(IsolateTest, RemovesInTheEndAFlagThatCouldNotBeRemovedAtFirst)
{
    MakeFolder(kFlag);
    Queue("").Then().Stdout("5 slow.service stop running\n").Exit(1).Then().Exit(1);
    spy.OnSecond([] {
        RemoveAll(kFlag);
        WriteText(kFlag, "");
    });
    EXPECT_TRUE(Isolate());
    EXPECT_FALSE(Exists(kFlag));
}

TEST_F(IsolateTest, GoesOnWhenTheStatusMonitorCannotBeForked)
{
    spy.FailFork(1);

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
    EXPECT_THAT(script.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                {{Error("common.cpp", "vesksystemd: Failed to fork[0x1234 fork.c:7]"),
                                  Error("status_monitor.cpp", "Failed to fork and run monitor"),
                                  Error(kIsolateFile, "Failed to monitor systemd status in isolation")},
                                 Begin(),
                                 Done()})));
}

TEST_F(IsolateTest, GoesOnWhenTheLockOfTheStatusMonitorIsTaken)
{
    spy.DoNotWaitForLocks();
    const ForeignLock other(kExitLock);
    EXPECT_TRUE(Isolate());
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                {LockFailure(kExitLock, "status monitor"),
                                 {Error(kIsolateFile, "Failed to monitor systemd status in isolation")},
                                 Begin(),
                                 Done()})));
}

} // namespace
} // namespace VeskTest
