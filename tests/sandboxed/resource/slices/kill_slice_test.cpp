// The three phases that end a slice.

#include <cerrno>
#include <csignal>
#include <unistd.h>

#include "boot_step.hpp"
#include "call_faults.hpp"
#include "checks.hpp"
#include "children.hpp"
#include "event_log.hpp"
#include "platform_spy.hpp"
#include "slices_ground.hpp"
#include "systemctl_script.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAreArray;

constexpr const char* kFile = "systemd_kill_slice.cpp";
constexpr const char* kStopFile = "systemd_stop.cpp";
constexpr const char* kTerm = "kill a.slice";
constexpr const char* kKill = "kill --signal=SIGKILL a.slice";
const std::string kOwnProcesses = InSystemd("a.slice/cgroup.procs");
const std::string kUnitProcesses = InSystemd("a.slice/x.service/cgroup.procs");

::testing::Matcher<const SyslogLine&> InfoLine(const std::string& message)
{
    return Info(kFile, "vesksystemd: " + message);
}

::testing::Matcher<const SyslogLine&> ErrorLine(const std::string& message)
{
    return Error(kFile, "vesksystemd: " + message);
}

// The lines of the phases, for the slice "a.slice".
const LogMatchers kSkip = {InfoLine("There is no alive process in [a.slice], skip kill slice")};
const LogMatchers kBegin = {InfoLine("[a.slice] killing...")};
const LogMatchers kNoUnits = {InfoLine("There is no units in [a.slice], skip stop units")};
const LogMatchers kStopFailed = {ErrorLine("[a.slice] killing failed in service stop phase.")};
const LogMatchers kTermFailed = {ErrorLine("[a.slice] SIGTERM killing failed in process kill phase.")};
const LogMatchers kTermSent = {InfoLine("has sent SIGTERM to [a.slice]")};
const LogMatchers kKillFailed = {ErrorLine("[a.slice] SIGKILL killing failed in process kill phase.")};
const LogMatchers kKillSent = {InfoLine("has sent SIGKILL to [a.slice]")};
const LogMatchers kDone = {InfoLine("[a.slice] killed.")};

LogMatchers Stopping(const std::string& units)
{
    return {InfoLine("The following units will be stopped: [" + units + "]"),
            Info(kStopFile, "vesksystemd: [" + units + "] stopping ...")};
}

LogMatchers Stopped(const std::string& units)
{
    return InOrder({Stopping(units), {Info(kStopFile, "vesksystemd: [" + units + "] stopped.")}});
}

LogMatchers TimeFailure(const std::string& why)
{
    return {ErrorLine("Failed to get SliceKillTimeoutSec: [" + why + "]")};
}

// A slice "a.slice" without processes and with a unit file, and a clock that stands.
class KillSlice : public SlicesTest
{
protected:
    KillSlice()
    {
        WriteText(kOwnProcesses, "");
        WriteText(kUnitProcesses, "");
        WriteKeys("");
        systemctl.OnLeading({"stop"});
        systemctl.OnLeading({"kill"});
        spy.StopTheClock();
    }
    ~KillSlice() override { RemoveAll(UnitFilePath(UnitFolder::Usr, "a.slice")); }

    static void WriteKeys(const std::string& keys)
    {
        WriteUnitFile(UnitFolder::Usr, "a.slice", "[X-Veskline]\n" + keys);
    }
    static void WriteGraceTime(const std::string& value) { WriteKeys("SliceKillTimeoutSec=" + value + "\n"); }
    static void AddProcess(const std::string& cgroup)
    {
        WriteText(InSystemd("a.slice/" + cgroup + "/cgroup.procs"), "7\n");
    }

    void ExpectCalls(const Words& calls) { EXPECT_THAT(systemctl.Arguments(), ElementsAreArray(calls)); }
    void ExpectLog(const std::vector<LogMatchers>& steps)
    {
        EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(steps)));
    }

    PlatformSpy spy;
    ScriptedSystemctl systemctl;
    EventLog events;
};

TEST_F(KillSlice, RefusesANameThatWouldHaveOtherUnitsStopped)
{
    WriteText(kUnitProcesses, "1\n");
    for (const char* name : {"", ".", "..", "/", "/a.slice", "../systemd", "a.slice/..", "a.slice/../.."}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(VESKSystemdKillSlice(name)) << name;
        EXPECT_EQ(VLIBCErrGet(), 0x0D00) << name;
        EXPECT_THAT(log.Take(), ::testing::ElementsAre(RefusedArgument(kFile, "IsBelow(strSlice)"))) << name;
    }
    EXPECT_THAT(systemctl.Calls(), ::testing::IsEmpty());
}

TEST_F(KillSlice, TakesNamesUpToTheirFirstZeroByte)
{
    WriteText(kUnitProcesses, "1\n");
    for (const std::string& name :
         {std::string("\0x.slice", 8), std::string("..\0.slice", 9), std::string(3, '\0')}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(VESKSystemdKillSlice(name));
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    }
    EXPECT_THAT(systemctl.Calls(), ::testing::IsEmpty());
    log.Take();
    WriteGraceTime("0");
    EXPECT_TRUE(VESKSystemdKillSlice(std::string("a.slice\0/..", 11)));
    ExpectCalls({"stop x.service", kTerm, kKill});
}

TEST_F(KillSlice, EndsASliceInAnother)
{
    WriteText(InSystemd("a.slice/a-b.slice/cgroup.procs"), "1\n");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice/a-b.slice"));
    ExpectCalls({"kill a.slice/a-b.slice", "kill --signal=SIGKILL a.slice/a-b.slice"});
}

TEST_F(KillSlice, SkipsASliceWithoutProcesses)
{
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kSkip});
    ExpectCalls({});
    EXPECT_EQ(spy.Seconds(), 0);
    ExpectNoError();
}

TEST_F(KillSlice, SkipsASliceThatDoesNotExist)
{
    RemoveAll(InSystemd("a.slice"));
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kSkip});
    RemoveAll(InSystemd(""));
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kSkip});
    ExpectCalls({});
}

TEST_F(KillSlice, SkipsASliceThatNoGroupCanBeCalled)
{
    for (const std::size_t length : {256UL, 10000UL}) {
        const std::string slice(length, 'x');
        EXPECT_TRUE(VESKSystemdKillSlice(slice));
        ExpectLog({{InfoLine("There is no alive process in [" + slice + "], skip kill slice")}});
    }
    ExpectCalls({});
    EXPECT_EQ(spy.Seconds(), 0);
}

TEST_F(KillSlice, SkipsASliceThatLivesInTheMonitorsHierarchyOnly)
{
    WriteText(InMonitor("a.slice/cgroup.procs"), "7\n");
    WriteText(InSystemd("b.slice/cgroup.procs"), "7\n");
    WriteText(InSystemd("a.slice/tasks"), "7\n");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kSkip});
}

TEST_F(KillSlice, StopsItsUnitsAndSendsSigtermToTheRest)
{
    AddProcess("x.service");
    systemctl.OnLeading({"stop"}).WriteFile(kUnitProcesses, "");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, Stopped("x.service"), kTermSent, kDone});
    ExpectCalls({"stop x.service", kTerm});
    EXPECT_EQ(spy.Seconds(), 0);
    ExpectNoError();
}

TEST_F(KillSlice, StopsTheUnitsOfAllLevelsThatHoldProcesses)
{
    AddProcess("a-b.slice");
    AddProcess("a-b.slice/y.service/init.scope");
    WriteText(InSystemd("a.slice/a-b.slice/empty.service/cgroup.procs"), "");
    MakeFolder(InSystemd("a.slice/a-b.slice/without.service"));
    WriteGraceTime("0");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectCalls({"stop a-b.slice init.scope", kTerm, kKill});
    ExpectLog({kBegin, Stopped("a-b.slice, init.scope"), kTermSent, kKillSent, kDone});
}

TEST_F(KillSlice, StopsAllUnitsAtOnce)
{
    for (int number = 0; number < 200; ++number) {
        AddProcess(std::to_string(number) + ".service");
    }
    WriteGraceTime("0");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    const std::vector<Call> calls = systemctl.Calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(std::set<std::string>(calls[0].arguments.begin(), calls[0].arguments.end()).size(), 201U);
}

TEST_F(KillSlice, FindsUnitsFarBelow)
{
    std::string folder = "b.slice";
    for (int level = 0; level < 400; ++level) {
        folder += "/f";
    }
    AddProcess(folder + "/deep.service");
    WriteGraceTime("0");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectCalls({"stop deep.service", kTerm, kKill});
}

TEST_F(KillSlice, FollowsNoLinks)
{
    WriteText(kOwnProcesses, "7\n");
    for (const char* link : {"one", "two", "three"}) {
        ASSERT_EQ(symlink(".", InSystemd(std::string("a.slice/") + link).c_str()), 0);
    }
    ASSERT_EQ(symlink("nowhere", InSystemd("a.slice/dangling.service").c_str()), 0);
    WriteGraceTime("0");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, kNoUnits, kTermSent, kKillSent, kDone});
}

TEST_F(KillSlice, KillsASliceWithProcessesOfItsOwnOnly)
{
    WriteText(kOwnProcesses, "7\n");
    systemctl.OnLeading({"kill"}).WriteFile(kOwnProcesses, "");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, kNoUnits, kTermSent, kDone});
    ExpectCalls({kTerm});
}

TEST_F(KillSlice, TakesAnyCharacterForAProcess)
{
    WriteText(kOwnProcesses, "\n");
    WriteGraceTime("0");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectCalls({kTerm, kKill});
}

TEST_F(KillSlice, TakesTheNamesLiterally)
{
    for (const std::string slice : {"a\\x2db.slice", "[ab].slice", "*.slice", "?.slice"}) {
        WriteText(InSystemd(slice + "/u\\x2dv*.service/cgroup.procs"), "7\n");
        WriteUnitFile(UnitFolder::Run, slice, "[X-Veskline]\nSliceKillTimeoutSec=0\n");
        systemctl.ForgetCalls();
        EXPECT_TRUE(VESKSystemdKillSlice(slice));
        ExpectCalls({"stop u\\x2dv*.service", "kill " + slice, "kill --signal=SIGKILL " + slice});
        RemoveAll(InSystemd(slice));
        AddProcess("x.service");
        systemctl.ForgetCalls();
        EXPECT_TRUE(VESKSystemdKillSlice(slice)) << "another slice's process is none of its own";
        ExpectCalls({});
    }
}

TEST_F(KillSlice, GoesOnWhenUnitsCannotBeStopped)
{
    AddProcess("x.service");
    systemctl.OnLeading({"stop"}).Stderr("Job for x.service failed.\n").Exit(1);
    systemctl.OnLeading({"kill"}).WriteFile(kUnitProcesses, "");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    const LogMatchers failure = {Error(
        kStopFile, "vesksystemd: [x.service] stopped failed: ret=[1], reason:\nJob for x.service failed.\n")};
    ExpectLog({kBegin, Stopping("x.service"), failure, kStopFailed, kTermSent, kDone});
}

TEST_F(KillSlice, GoesOnWhenAnotherStopOfTheUnitsIsUnderWay)
{
    AddProcess("x.service");
    SetBootStep(3);
    systemctl.On({"list-jobs", "--no-legend", "x.service"}).Stdout("7 x.service stop running\n").Exit(1);
    WriteGraceTime("0");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ClearBootStep();
    ExpectCalls({"list-jobs --no-legend x.service", kTerm, kKill});
}

TEST_F(KillSlice, SaysThatSigtermWasSentEvenWhenThatFailed)
{
    WriteText(kOwnProcesses, "7\n");
    systemctl.On({"kill", "a.slice"}).Stderr("no\n").Exit(1);
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, kNoUnits, kTermFailed, kTermSent, kKillSent, kDone});
    ExpectCalls({kTerm, kKill});
    EXPECT_EQ(spy.Seconds(), 10);
}

TEST_F(KillSlice, FailsWhenSigkillCannotBeSent)
{
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("2");
    systemctl.On({"kill", "--signal=SIGKILL", "a.slice"}).Exit(5);
    EXPECT_FALSE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, kNoUnits, kTermSent, kKillFailed});
    EXPECT_EQ(spy.Seconds(), 2);
}

TEST_F(KillSlice, FailsWithoutSystemctlAfterAllPhases)
{
    AddProcess("x.service");
    WriteGraceTime("1");
    systemctl.Remove();
    EXPECT_FALSE(VESKSystemdKillSlice("a.slice"));
    systemctl.Restore();
    const LogMatchers notStopped = {NotStarted("stop x.service"),
                                    Error(kStopFile, "vesksystemd: [x.service] stopped failed.")};
    ExpectLog({kBegin,
               Stopping("x.service"),
               notStopped,
               kStopFailed,
               {NotStarted(kTerm)},
               kTermFailed,
               kTermSent,
               {NotStarted(kKill)},
               kKillFailed});
}

TEST_F(KillSlice, TakesASystemctlThatIsKilledForOneThatSucceeds)
{
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("0");
    systemctl.OnLeading({"kill"}).Kill(SIGKILL);
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, kNoUnits, kTermSent, kKillSent, kDone});
}

TEST_F(KillSlice, TalksToTheSystemAlsoForAUser)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
    }
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("0");
    ExpectAsUser(4711, [] { EXPECT_TRUE(VESKSystemdKillSlice("a.slice")); });
    ExpectCalls({kTerm, kKill});
}

struct GraceTime {
    std::string name;
    std::string keys;
    int seconds;
    LogMatchers failure;
};

std::ostream& operator<<(std::ostream& stream, const GraceTime& time)
{
    return stream << time.name;
}

class KillSliceGrace : public KillSlice, public ::testing::WithParamInterface<GraceTime>
{
};

TEST_P(KillSliceGrace, IsWaitedSecondBySecond)
{
    WriteText(kOwnProcesses, "7\n");
    WriteKeys(GetParam().keys);
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    EXPECT_EQ(spy.Seconds(), GetParam().seconds);
    EXPECT_EQ(spy.HalfSeconds(), 0);
    ExpectLog({kBegin, kNoUnits, kTermSent, GetParam().failure, kKillSent, kDone});
    ExpectCalls({kTerm, kKill});
}

const std::string kKey = "SliceKillTimeoutSec=";

INSTANTIATE_TEST_SUITE_P(
    Key, KillSliceGrace,
    ::testing::Values(GraceTime{"Absent", "Name=A slice\n", 10, {}}, GraceTime{"Empty", kKey + "\n", 10, {}},
                      GraceTime{"InAnotherSection", "[Slice]\n" + kKey + "3\n", 10, {}},
                      GraceTime{"Zero", kKey + "0\n", 0, {}}, GraceTime{"One", kKey + "1\n", 1, {}},
                      GraceTime{"Three", kKey + "3\n", 3, {}}, GraceTime{"Long", kKey + "1000\n", 1000, {}},
                      GraceTime{"ADay", kKey + "86400\n", 86400, {}},
                      GraceTime{"LongerThanADay", kKey + "86401\n", 10, TimeFailure("stoul")},
                      GraceTime{"WithASign", kKey + "+4\n", 10, TimeFailure("stoul")},
                      GraceTime{"Negative", kKey + "-1\n", 10, TimeFailure("stoul")},
                      GraceTime{"WithAUnit", kKey + "5sec\n", 5, {}},
                      GraceTime{"WithLeadingZeros", kKey + "010\n", 10, {}},
                      GraceTime{"NoHexNumber", kKey + "0x10\n", 0, {}},
                      GraceTime{"Letters", kKey + "abc\n", 10, TimeFailure("stoul")},
                      GraceTime{"ASignAlone", kKey + "-\n", 10, TimeFailure("stoul")},
                      GraceTime{"TooLarge", kKey + "99999999999999999999\n", 10, TimeFailure("stoul")}),
    [](const auto& row) { return row.param.name; });

TEST_F(KillSlice, WaitsTenSecondsForASliceWithoutAUnitFile)
{
    RemoveAll(UnitFilePath(UnitFolder::Usr, "a.slice"));
    WriteText(kOwnProcesses, "7\n");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    EXPECT_EQ(spy.Seconds(), 10);
    ExpectLog({kBegin, kNoUnits, kTermSent, TimeFailure("Unit is not found [a.slice]"), kKillSent, kDone});
}

TEST_F(KillSlice, WaitsTenSecondsWhenReadingTheGraceTimeThrowsAnythingElse)
{
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("3");
    const KeyReading reading([](const std::string& key) {
        EXPECT_EQ(key, "SliceKillTimeoutSec");
        throw 1;
    });
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    EXPECT_EQ(spy.Seconds(), 10);
    ExpectLog(
        {kBegin, kNoUnits, kTermSent, {ErrorLine("Failed to get slice kill timeout")}, kKillSent, kDone});
}

TEST_F(KillSlice, ReadsTheGraceTimeAfterSigterm)
{
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("3");
    systemctl.On({"kill", "a.slice"})
        .WriteFile(UnitFilePath(UnitFolder::Usr, "a.slice"), "[X-Veskline]\nSliceKillTimeoutSec=1\n");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    EXPECT_EQ(spy.Seconds(), 1);
}

TEST_F(KillSlice, EndsAsSoonAsTheSliceDoes)
{
    AddProcess("x.service");
    spy.OnSecond([this] {
        if (spy.Seconds() == 4) {
            WriteText(kUnitProcesses, "");
        }
    });
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    EXPECT_EQ(spy.Seconds(), 4);
    ExpectLog({kBegin, Stopped("x.service"), kTermSent, kDone});
    ExpectCalls({"stop x.service", kTerm});
}

TEST_F(KillSlice, LooksForNewUnitsEachSecond)
{
    AddProcess("x.service");
    spy.OnSecond([this] {
        if (spy.Seconds() == 2) {
            AddProcess("new.scope");
            RemoveAll(InSystemd("a.slice/x.service"));
        }
        if (spy.Seconds() == 5) {
            WriteText(kOwnProcesses, "7\n");
            RemoveAll(InSystemd("a.slice/new.scope"));
        }
        if (spy.Seconds() == 7) {
            RemoveAll(InSystemd("a.slice"));
        }
    });
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    EXPECT_EQ(spy.Seconds(), 7);
    ExpectCalls({"stop x.service", kTerm});
}

TEST_F(KillSlice, SendsSigkillWithoutAnotherLookAfterTheLastSecond)
{
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("3");
    spy.OnSecond([this] {
        if (spy.Seconds() == 3) {
            WriteText(kOwnProcesses, "");
        }
    });
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectCalls({kTerm, kKill});
}

TEST_F(KillSlice, DoesNotSendSigkillToASliceThatEndedBeforeTheLastSecond)
{
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("3");
    spy.OnSecond([this] {
        if (spy.Seconds() == 2) {
            WriteText(kOwnProcesses, "");
        }
    });
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectCalls({kTerm});
}

LogMatchers CheckFailure(const std::string& what)
{
    return {ErrorLine("Failed to check cgruop procs: [" + what + "]")};
}

TEST_F(KillSlice, TakesASliceWhoseProcessesCannotBeReadForALivingOne)
{
    RemoveAll(kOwnProcesses);
    MakeFolder(kOwnProcesses);
    WriteGraceTime("2");
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    const LogMatchers failure = CheckFailure(kOwnProcesses + ": Is a directory");
    ExpectLog({failure, kBegin, kNoUnits, kTermSent, failure, failure, kKillSent, kDone});
}

TEST_F(KillSlice, TakesAUnitWhoseProcessesCannotBeOpenedForALivingOne)
{
    WriteGraceTime("0");
    const OpenFault fault("/x.service/cgroup.procs", EMFILE);
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({CheckFailure(kUnitProcesses + ": Too many open files"), kBegin, Stopped("x.service"),
               kTermSent, kKillSent, kDone});
}

TEST_F(KillSlice, TakesASliceForALivingOneAfterAnyException)
{
    WriteGraceTime("0");
    const OpenFault fault("a.slice/cgroup.procs", []() -> int { throw 1; });
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({{ErrorLine("Failed to check cgruop procs")}, kBegin, kNoUnits, kTermSent, kKillSent, kDone});
}

TEST_F(KillSlice, TakesAUnitThatVanishesForADeadOne)
{
    AddProcess("x.service");
    const ReadFault fault(ENODEV, 1);
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kSkip});
}

TEST_F(KillSlice, ReadsThroughInterruptions)
{
    WriteText(kOwnProcesses, "7\n");
    WriteGraceTime("0");
    const ReadFault fault(EINTR, 5);
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectCalls({kTerm, kKill});
}

TEST_F(KillSlice, ShowsNoOtherProgramTheOpenFiles)
{
    const InheritanceWatch watch;
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    EXPECT_EQ(InheritanceWatch::Files(), 2);
    EXPECT_EQ(InheritanceWatch::Inherited(), 0);
}

TEST_F(KillSlice, TakesASliceForALivingOneWhenItsFoldersCannotBeSearched)
{
    AddProcess("x.service");
    WriteGraceTime("0");
    spy.HideFolder(InSystemd("a.slice"));
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, kNoUnits, kTermSent, kKillSent, kDone});
}

TEST_F(KillSlice, TakesASliceForALivingOneWhenAFolderInItCannotBeSearched)
{
    WriteText(InSystemd("a.slice/x.service/cgroup.procs"), "");
    WriteGraceTime("0");
    spy.HideFolder(InSystemd("a.slice/x.service"));
    EXPECT_TRUE(VESKSystemdKillSlice("a.slice"));
    ExpectLog({kBegin, kNoUnits, kTermSent, kKillSent, kDone});
}

} // namespace
} // namespace VeskTest
