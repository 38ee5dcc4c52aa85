#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <unistd.h>

#include "children.hpp"
#include "error.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "paths.hpp"
#include "scripted_program.hpp"
#include "service_process.hpp"
#include "shell.hpp"
#include "unit_files.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{

constexpr const char* kVolume = "/volume1";
constexpr const char* kNote = "/run/vesksystemd/veskctl-unmount";
constexpr const char* kStartBegin = "start --job-mode=replace-irreversibly unmount-volume-begin.target";
constexpr const char* kStartEnd = "start unmount-volume-end.target";

const std::vector<std::string> kListActive{
    "list-units", "--no-legend", "--plain", "--full", "--state=active", "--type=service,socket,timer,path"};

bool IsMounted()
{
    return ReadText("/proc/self/mountinfo").find(std::string(" ") + kVolume + " ") != std::string::npos;
}

// A volume at /volume1 and a systemctl by which all goes well, with one unit, active now and later.
class VeskctlVolume : public ::testing::Test
{
protected:
    VeskctlVolume()
    {
        MakeFolder(kVolume);
        VeskGround::Require(mount("volume", kVolume, "tmpfs", 0, nullptr), "mount", kVolume);
        WriteText(kVolume + std::string("/file"), "text");
        for (const std::string& name : ListFolder(kUsrUnits)) {
            RemoveAll(std::string(kUsrUnits) + "/" + name);
        }
        ScriptedProgram(kMonitorScript).OnAny();
        WriteUnitFile(UnitFolder::Usr, "foo.service", "[X-Veskline]\nName=Foo\n");
        systemctl.OnAny();
        systemctl.OnLeading({"list-unit-files"}).Stdout("foo.service enabled\ndep.service enabled\n");
        systemctl.On(kListActive).Stdout("foo.service loaded active running Foo\n");
        Active("foo.service");
        Active("dep.service");
    }
    ~VeskctlVolume() override { umount2(kVolume, MNT_DETACH); }

    void Active(const std::string& unit, const std::string& state = "active")
    {
        systemctl.On(StateQuestion(unit)).Stdout(StateAnswer(state, "running"));
        systemctl.On({"show", "--property", "ActiveState", unit}).Stdout("ActiveState=" + state + "\n");
    }

    // What systemctl was told to start, in this order.
    std::vector<std::string> Starts() const
    {
        std::vector<std::string> starts = systemctl.Arguments();
        starts.erase(std::remove_if(starts.begin(), starts.end(),
                                    [](const std::string& words) { return words.rfind("start ", 0) != 0; }),
                     starts.end());
        return starts;
    }

    ScriptedSystemctl systemctl;
};

Json::Value Of(const Json::Value& holders, const std::string& how)
{
    for (const Json::Value& holder : holders) {
        if (holder["how"] == how) {
            return holder;
        }
    }
    return {};
}

TEST_F(VeskctlVolume, UsersShowsHowAServiceHoldsIt)
{
    const ServiceProcess holder("foo.service", [] {
        VeskGround::Require(chdir(kVolume), "change to", kVolume);
        VeskGround::Require(open("/volume1/file", O_RDONLY), "open", "/volume1/file");
    });

    const Json::Value holders = VeskctlJson("volume users /volume1");

    ASSERT_EQ(holders.size(), 2U) << holders.toStyledString();
    EXPECT_THAT(holders[0].getMemberNames(), ElementsAre("deleted", "how", "path", "pid", "process",
                                                         "stoppedByUnmount", "unit", "volume"));
    EXPECT_EQ(Of(holders, "open")["path"], "/volume1/file");
    EXPECT_EQ(Of(holders, "open")["unit"], "foo.service");
    EXPECT_EQ(Of(holders, "open")["pid"], holder.Pid());
    EXPECT_EQ(Of(holders, "open")["stoppedByUnmount"], true);
    EXPECT_EQ(Of(holders, "open")["deleted"], false);
    EXPECT_EQ(Of(holders, "working folder")["path"], kVolume);
    EXPECT_THAT(Veskctl("volume users /volume1/.//").out, HasSubstr("foo.service  "));
}

TEST_F(VeskctlVolume, UsersMarksWhatIsNoServiceAndWhatIsDeleted)
{
    const ServiceProcess scope("session-1.scope",
                               [] { VeskGround::Require(chdir(kVolume), "change to", kVolume); });
    const ServiceProcess deleted("foo.service", [] {
        VeskGround::Require(open("/volume1/gone", O_RDWR | O_CREAT, 0600), "open", "/volume1/gone");
        VeskGround::Require(unlink("/volume1/gone"), "delete", "/volume1/gone");
    });

    const Json::Value holders = VeskctlJson("volume users /volume1");

    EXPECT_EQ(Of(holders, "working folder")["unit"], "session-1.scope");
    EXPECT_EQ(Of(holders, "working folder")["stoppedByUnmount"], false);
    EXPECT_EQ(Of(holders, "open")["unit"], "foo.service");
    EXPECT_EQ(Of(holders, "open")["path"], "/volume1/gone");
    EXPECT_EQ(Of(holders, "open")["deleted"], true);
    EXPECT_EQ(Of(holders, "open")["stoppedByUnmount"], false);
    EXPECT_THAT(Veskctl("volume users /volume1").out, HasSubstr("open, deleted"));
}

TEST_F(VeskctlVolume, UsersShowsTheMountsBelow)
{
    MakeFolder("/volume1/below");
    ASSERT_EQ(mount("below", "/volume1/below", "tmpfs", 0, nullptr), 0);

    const Json::Value holders = VeskctlJson("volume users /volume1");

    EXPECT_EQ(Of(holders, "mount")["path"], "/volume1/below");
    EXPECT_EQ(Of(holders, "mount")["pid"], Json::Value());
    EXPECT_EQ(Of(holders, "mount")["stoppedByUnmount"], false);
    umount2("/volume1/below", MNT_DETACH);
}

TEST_F(VeskctlVolume, IsRefusedWhenItIsNoneUnlessForced)
{
    MakeFolder("/folder");

    for (const std::string verb : {"volume users", "volume unmount"}) {
        EXPECT_EQ(Veskctl(verb + " /nowhere"),
                  (Use{3, "", "veskctl: /nowhere: No such file or directory\n"}));
        EXPECT_EQ(Veskctl(verb + " /usr/.."),
                  (Use{2, "", "veskctl: /usr/..: the root of the system is no volume\n"}));
        EXPECT_THAT(Veskctl(verb + " /folder").err, StartsWith("veskctl: /folder: no mount point"));
        EXPECT_EQ(Veskctl(verb + " /folder").exitCode, 3);
    }
    EXPECT_EQ(Veskctl("volume users --force /folder").exitCode, 0);
}

TEST_F(VeskctlVolume, IsCompleted)
{
    EXPECT_EQ(Veskctl("--complete volume unmount /vol").out, "/volume1\n");
}

TEST_F(VeskctlVolume, DependentsShowsWhoDeclaresADependency)
{
    WriteUnitFile(UnitFolder::Usr, "dep.service", "[X-Veskline]\nVolumeDependency=all\nMaster=foo.service\n");

    const Json::Value list = VeskctlJson("volume dependents /volume1");

    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0]["unit"], "dep.service");
    EXPECT_EQ(list[0]["dependsOn"], "all volumes");
    EXPECT_EQ(list[0]["active"], "active");
    EXPECT_EQ(list[0]["stoppedAs"], "foo.service");
    EXPECT_EQ(Veskctl("volume dependents /volume1").out, "UNIT         DEPENDS ON   ACTIVE  STOPPED AS\n"
                                                         "dep.service  all volumes  active  foo.service\n");
}

TEST_F(VeskctlVolume, IsRegisteredAndUnregistered)
{
    MakeFolder("/var/packages/pack");

    EXPECT_EQ(Veskctl("volume register /volume1/ /volume2 --unit foo"),
              (Use{0, "/volume1: registered for foo\n/volume2: registered for foo\n", ""}));
    EXPECT_EQ(Veskctl("volume register /volume1 --package pack").exitCode, 0);
    EXPECT_EQ(Veskctl("volume registered /volume1").out, "VOLUME    REGISTERED BY  KIND\n"
                                                         "/volume1  foo.service    unit\n"
                                                         "/volume1  pack           package\n");
    const Json::Value list = VeskctlJson("volume registered");
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[2]["volume"], "/volume1");
    EXPECT_EQ(list[2]["registeredBy"], "pack");
    EXPECT_EQ(list[2]["kind"], "package");
    EXPECT_EQ(Veskctl("volume unregister /volume1 --unit foo").exitCode, 0);
    EXPECT_EQ(VeskctlJson("volume registered /volume1").size(), 1U);
    EXPECT_EQ(Veskctl("volume register /volume1").exitCode, 2);
    EXPECT_EQ(Veskctl("volume register volume1 --unit foo").exitCode, 2);
    EXPECT_EQ(Veskctl("volume register /volume1 --package none").exitCode, 1);
}

TEST_F(VeskctlVolume, UnmountShowsItsPlanInADryRunAndDoesNothing)
{
    const ServiceProcess holder(
        "foo.service", [] { VeskGround::Require(open("/volume1/file", O_RDONLY), "open", "/volume1/file"); });
    WriteUnitFile(UnitFolder::Usr, "dep.service", "[X-Veskline]\nVolumeDependency=all\n");
    Active("need.service");
    systemctl
        .On({"show", "--property=RequiredBy", "--property=RequisiteOf", "--property=BoundBy",
             "--property=ConsistsOf", "foo.service"})
        .Stdout("RequiredBy=need.service\nConsistsOf=\n");

    const std::string arguments = "volume unmount /volume1 --dry-run";
    const Json::Value plan = VeskctlJson(arguments);

    EXPECT_THAT(plan.getMemberNames(), ElementsAre("left", "stops", "volumes"));
    EXPECT_EQ(plan["volumes"][0], kVolume);
    ASSERT_EQ(plan["stops"].size(), 2U) << plan.toStyledString();
    EXPECT_EQ(plan["stops"][0]["unit"], "dep.service");
    EXPECT_EQ(plan["stops"][0]["why"][0], "depends on all volumes");
    EXPECT_EQ(plan["stops"][1]["unit"], "foo.service");
    EXPECT_THAT(plan["stops"][1]["why"][0].asString(), HasSubstr("open /volume1/file"));
    EXPECT_EQ(plan["stops"][1]["neededBy"][0], "need.service");
    EXPECT_EQ(plan["left"].size(), 0U);
    EXPECT_THAT(Veskctl(arguments).out, HasSubstr("need.service\n"));
    EXPECT_THAT(systemctl.Arguments(), Not(Contains(StartsWith("start"))));
    EXPECT_TRUE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountStopsTheUsersUnmountsAndStartsThemAgain)
{
    WriteUnitFile(UnitFolder::Usr, "dep.service", "[X-Veskline]\nVolumeDependency=all\n");

    const Use use = Veskctl("volume unmount /volume1");

    EXPECT_EQ(use.exitCode, 0) << use;
    EXPECT_THAT(use.out, HasSubstr("\n/volume1: unmounted\n"));
    EXPECT_EQ(use.err, "");
    EXPECT_FALSE(IsMounted());
    EXPECT_FALSE(Exists(kNote));
    EXPECT_THAT(systemctl.Arguments(), AllOf(Contains(kStartBegin), Contains(kStartEnd)));
}

TEST_F(VeskctlVolume, UnmountTakesTheVolumesBelowOthersFirst)
{
    MakeFolder("/volume1/below");
    ASSERT_EQ(mount("below", "/volume1/below", "tmpfs", 0, nullptr), 0);

    const Use use = Veskctl("volume unmount /volume1 /volume1/below");

    EXPECT_EQ(use.exitCode, 0) << use;
    EXPECT_THAT(use.out, HasSubstr("\n/volume1/below: unmounted\n/volume1: unmounted\n"));
    EXPECT_FALSE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountStartsTheUnitsAgainThoughNobodyReadsWhatItPrints)
{
    WriteUnitFile(UnitFolder::Usr, "dep.service", "[X-Veskline]\nVolumeDependency=all\n");
    systemctl.On({"start", "--job-mode=replace-irreversibly", "unmount-volume-begin.target"})
        .CreateFile("/tmp/stop-begun")
        .WaitForFile("/tmp/reader-gone");

    const ShellResult reader =
        RunShell(std::string(VESKCTL) + " volume unmount /volume1 2>/tmp/veskctl-errors | sh -c '"
                                        "while ! test -e /tmp/stop-begun; do sleep 0.02; done; "
                                        "exec <&-; : >/tmp/reader-gone'");

    EXPECT_EQ(reader.ending, Exited(0));
    EXPECT_TRUE(Eventually([] { return !Exists(kNote); })) << ReadText("/tmp/veskctl-errors");
    EXPECT_THAT(Starts(), ElementsAre(kStartBegin, kStartEnd));
    EXPECT_FALSE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountRunsACommandInsteadAndTellsItsFailure)
{
    const Use done = Veskctl("volume unmount /volume1 -- sh -c 'cat /volume1/file'");
    const Use failed = Veskctl("volume unmount /volume1 -- sh -c 'exit 5'");

    EXPECT_EQ(done.exitCode, 0) << done;
    EXPECT_THAT(done.out, HasSubstr("text"));
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.err, HasSubstr("veskctl: sh ended with 5\n"));
    EXPECT_TRUE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountTellsWhoHoldsABusyVolume)
{
    const ServiceProcess scope("session-1.scope",
                               [] { VeskGround::Require(chdir(kVolume), "change to", kVolume); });

    const Use use = Veskctl("volume unmount /volume1");

    EXPECT_EQ(use.exitCode, 1);
    EXPECT_THAT(use.err, HasSubstr("veskctl: /volume1: not unmounted; these hold it:\n"));
    EXPECT_THAT(use.out, HasSubstr("session-1.scope"));
    EXPECT_TRUE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountNamesWhatIsNotActiveAgain)
{
    systemctl.On(kListActive)
        .Stdout("foo.service loaded active running Foo\nbar.service loaded active running Bar\n")
        .Then()
        .Stdout("foo.service loaded active running Foo\n");
    systemctl.On(StateQuestion("bar.service")).Stdout(StateAnswer("failed", "failed", "exit-code", 7));

    const Use use = Veskctl("volume unmount /volume1");

    EXPECT_EQ(use.exitCode, 1);
    EXPECT_EQ(use.err,
              "veskctl: bar.service: was active before and is now failed (exit-code, status 7); see: "
              "journalctl -u bar.service\n");
    EXPECT_FALSE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountTellsSystemctlsReasonForWhatItCouldNotStart)
{
    systemctl.On(kListActive).Stdout("need.service loaded active running Need\n").Then().Stdout("");
    systemctl.On(StateQuestion("need.service")).Stdout(StateAnswer("inactive", "dead"));
    systemctl.On({"start", "need.service"})
        .Stderr("A dependency job for need.service failed. See 'journalctl -xe' for details.\n")
        .Exit(1);

    const Use use = Veskctl("volume unmount /volume1");

    EXPECT_EQ(use.exitCode, 1);
    EXPECT_EQ(
        use.err,
        "veskctl: need.service: was active before and is now inactive: A dependency job for need.service "
        "failed. See 'journalctl -xe' for details.; see: journalctl -u need.service\n");
}

TEST_F(VeskctlVolume, UnmountTellsWhyItWasNotBegun)
{
    WriteUnitFile(UnitFolder::Usr, "dep.service", "[X-Veskline]\nVolumeDependency=all\n");
    systemctl.On({"start", "--job-mode=replace-irreversibly", "unmount-volume-begin.target"})
        .Stderr("Job for unmount-volume-begin.target canceled.\n")
        .Exit(1);

    EXPECT_EQ(Veskctl("volume unmount /volume1").err,
              "veskctl: nothing was done with /volume1: Job for unmount-volume-begin.target canceled.\n");
    EXPECT_TRUE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountTellsWhenTheUnitsCouldNotBeStartedAgain)
{
    WriteUnitFile(UnitFolder::Usr, "dep.service", "[X-Veskline]\nVolumeDependency=all\n");
    systemctl.On({"start", "unmount-volume-end.target"})
        .Stderr("Job for unmount-volume-end.target canceled.\n")
        .Exit(1);

    EXPECT_EQ(Veskctl("volume unmount /volume1").err,
              "veskctl: not all units could be started again: Job for unmount-volume-end.target canceled.\n");
    EXPECT_FALSE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountStartsWhatWasStoppedOnlyForNeedingAUser)
{
    systemctl.On(kListActive).Stdout("need.service loaded active running Need\n").Then().Stdout("");
    systemctl.On(StateQuestion("need.service"))
        .Stdout(StateAnswer("inactive", "dead"))
        .Then()
        .Stdout(StateAnswer("active", "running"));

    EXPECT_EQ(Veskctl("volume unmount /volume1").exitCode, 0);
    EXPECT_THAT(systemctl.Arguments(), Contains("start need.service"));
}

TEST_F(VeskctlVolume, UnmountIsRefusedForAVolumeThatVeskctlItselfUses)
{
    ASSERT_EQ(chdir(kVolume), 0);

    const Use use = Veskctl("volume unmount /volume1");

    EXPECT_EQ(use.exitCode, 1);
    EXPECT_THAT(use.err, HasSubstr("veskctl: this process itself uses /volume1 (working folder /volume1)"));
    EXPECT_THAT(systemctl.Arguments(), Not(Contains(StartsWith("start"))));
    ASSERT_EQ(chdir("/"), 0);
}

TEST_F(VeskctlVolume, UnmountIsNotBegunWhenWhatIsLeftOverDoesNotStart)
{
    WriteText(kNote, "bar.service\n");
    systemctl.On(StateQuestion("bar.service")).Stdout(StateAnswer("failed", "failed", "exit-code", 7));
    systemctl.On({"start", "bar.service"}).Stderr("Job for bar.service failed.\n").Exit(1);

    const Use use = Veskctl("volume unmount /volume1");

    EXPECT_EQ(use.exitCode, 1);
    EXPECT_THAT(use.err,
                HasSubstr("veskctl: bar.service: start failed: failed (exit-code, status 7): Job for "
                          "bar.service failed.\nveskctl: nothing was begun"));
    EXPECT_TRUE(IsMounted());
}

TEST_F(VeskctlVolume, UnmountStartsWhatIsLeftOverBeforeItBegins)
{
    const ServiceProcess holder("foo.service",
                                [] { VeskGround::Require(chdir(kVolume), "change to", kVolume); });
    WriteText(kNote, "bar.service\n");
    systemctl.On(StateQuestion("bar.service")).Stdout(StateAnswer("inactive", "dead"));

    const Use use = Veskctl("volume unmount /volume1 -- true");

    EXPECT_EQ(use.exitCode, 0) << use.err;
    EXPECT_THAT(use.out, HasSubstr("bar.service: started again after an unmount action that was killed\n"));
    EXPECT_THAT(Starts(), ElementsAre("start bar.service", kStartBegin, kStartEnd));
    EXPECT_FALSE(Exists(kNote));
}

TEST_F(VeskctlVolume, RecoverStartsWhatAKilledActionHasLeftStopped)
{
    WriteText(kNote, "bar.service\nfoo.service\n");
    Active("unmount-volume-begin.target");
    systemctl.On({"show", "--property=Wants", "unmount-volume-end.target"})
        .Stdout("Wants=baz.service foo.service\n");
    systemctl.On(StateQuestion("bar.service")).Stdout(StateAnswer("inactive", "dead"));
    systemctl.On(StateQuestion("baz.service")).Stdout(StateAnswer("inactive", "dead"));

    const Use use = Veskctl("volume recover");

    EXPECT_EQ(use, (Use{0,
                        "bar.service: started again after an unmount action that was killed\n"
                        "baz.service: started again after an unmount action that was killed\n",
                        ""}));
    EXPECT_THAT(systemctl.Arguments(), Contains("start bar.service baz.service"));
    EXPECT_FALSE(Exists(kNote));
}

TEST_F(VeskctlVolume, RecoverStartsNothingWhenNothingIsLeftOver)
{
    systemctl.On({"show", "--property=Wants", "unmount-volume-end.target"}).Stdout("Wants=baz.service\n");

    EXPECT_EQ(Veskctl("volume recover"), (Use{0, "", ""}));
    EXPECT_THAT(systemctl.Arguments(), Not(Contains(StartsWith("start"))));
}

TEST_F(VeskctlVolume, RecoverForgetsNothingWhenSystemctlDoesNotAnswer)
{
    WriteText(kNote, "bar.service\n");
    systemctl.On(StateQuestion("bar.service")).Stderr("Failed to connect to bus\n").Exit(1);

    EXPECT_EQ(Veskctl("volume recover"),
              (Use{1, "",
                   "veskctl: systemctl did not answer about bar.service, so it is not known what an earlier "
                   "action has left stopped\n"}));
    EXPECT_EQ(Veskctl("volume unmount /volume1").exitCode, 1);

    EXPECT_EQ(ReadText(kNote), "bar.service\n");
    EXPECT_THAT(Starts(), ElementsAre());
    EXPECT_TRUE(IsMounted());
}

TEST_F(VeskctlVolume, RecoverForgetsNothingOfANoteThatCannotBeRead)
{
    MakeFolder(kNote);

    EXPECT_EQ(
        Veskctl("volume recover"),
        (Use{1, "",
             "veskctl: /run/vesksystemd/veskctl-unmount cannot be read, so it is not known what an earlier "
             "action has left stopped\n"}));
    RemoveAll(kNote);
}

TEST_F(VeskctlVolume, RecoverLeavesARunningActionAlone)
{
    MakeFolder(kLockFolder);
    const ForeignLock action(kActionLock);

    EXPECT_EQ(Veskctl("volume recover"),
              (Use{1, "", "veskctl: an unmount action is running; it starts again what it has stopped\n"}));
}

// Sends a signal to veskctl itself once the stop has begun, as a terminal does to all of its group.
TEST_F(VeskctlVolume, AnInterruptionLeavesNothingStopped)
{
    WriteUnitFile(UnitFolder::Usr, "dep.service", "[X-Veskline]\nVolumeDependency=all\n");
    systemctl.On({"start", "--job-mode=replace-irreversibly", "unmount-volume-begin.target"})
        .CreateFile("/tmp/stopping")
        .WaitForFile("/tmp/interrupted");

    OtherProcess veskctl([] { return Veskctl("volume unmount /volume1").exitCode; });
    ASSERT_TRUE(Eventually([] { return Exists("/tmp/stopping"); }));
    ASSERT_EQ(system("kill -INT $(pgrep -o -x veskctl)"), 0);
    usleep(100000);
    WriteText("/tmp/interrupted", "");

    EXPECT_EQ(veskctl.Wait(), Exited(1));
    EXPECT_THAT(ReadText("/tmp/veskctl-errors"), HasSubstr("veskctl: interrupted\n"));
    EXPECT_THAT(systemctl.Arguments(), Contains(kStartEnd));
    EXPECT_TRUE(IsMounted());
}

} // namespace
