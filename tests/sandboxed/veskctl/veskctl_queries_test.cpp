#include <cstdlib>
#include <gmock/gmock.h>
#include <unistd.h>

#include "files.hpp"
#include "paths.hpp"
#include "queued_jobs.hpp"
#include "unit_files.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

namespace
{

std::string Line(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

TEST(VeskctlStatus, ShowsAUnitInATableAndAsJson)
{
    ScriptedSystemctl systemctl;
    systemctl.On(StateQuestion("foo.service")).Stdout(StateAnswer("failed", "failed", "exit-code", 3));
    systemctl.On({"is-enabled", "foo"}).Stdout("enabled\n");
    systemctl.On({"show", "--property", "Job", "foo.service"}).Stdout("Job=7\n");
    systemctl.OnLeading({"list-jobs"}).Stdout("7 foo.service start waiting\n").Exit(1);
    WriteUnitFile(UnitFolder::Usr, "foo.service", "[X-Veskline]\nName=The Foo\n");
    WriteText(ReasonsOf("foo.service") + "/backup", "");

    const Use table = Veskctl("status foo");
    const Json::Value list = VeskctlJson("status foo");

    EXPECT_EQ(
        table,
        (Use{0,
             "UNIT         NAME     LOAD    ACTIVE  SUB     ENABLED  HELD FOR  JOB            WHY\n"
             "foo.service  The Foo  loaded  failed  failed  enabled  backup    start waiting  exit-code, "
             "status 3\n",
             ""}));
    ASSERT_EQ(list.size(), 1U);
    EXPECT_THAT(list[0].getMemberNames(), UnorderedElementsAre("active", "enabled", "heldBy", "job", "load",
                                                               "name", "sub", "unit", "why"));
    EXPECT_EQ(list[0]["unit"], "foo.service");
    EXPECT_EQ(list[0]["name"], "The Foo");
    EXPECT_EQ(list[0]["load"], "loaded");
    EXPECT_EQ(list[0]["active"], "failed");
    EXPECT_EQ(list[0]["sub"], "failed");
    EXPECT_EQ(list[0]["enabled"], "enabled");
    EXPECT_EQ(list[0]["why"], "exit-code, status 3");
    EXPECT_EQ(list[0]["heldBy"][0], "backup");
    EXPECT_EQ(list[0]["job"]["id"], 7);
    EXPECT_EQ(list[0]["job"]["type"], "start");
    EXPECT_EQ(list[0]["job"]["state"], "waiting");
}

TEST(VeskctlStatus, IsColouredOnATerminalOnlyUnlessNoColorSaysOtherwise)
{
    const std::string green = "\033[32mactive\033[0m";
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    systemctl.On(StateQuestion("foo.service")).Stdout(StateAnswer("active", "running"));

    EXPECT_THAT(VeskctlAtTerminal("status foo", "").out, HasSubstr(green));
    EXPECT_THAT(Veskctl("status foo").out, Not(HasSubstr("\033")));
    setenv("NO_COLOR", "1", 1);
    EXPECT_THAT(VeskctlAtTerminal("status foo", "").out, AllOf(HasSubstr("active"), Not(HasSubstr("\033"))));
}

TEST(VeskctlStatus, ExitsWithThreeForAUnitThatIsNotThere)
{
    ScriptedSystemctl systemctl;
    systemctl.On(StateQuestion("foo.service")).Stdout(NotFoundAnswer("foo.service"));

    const Use use = Veskctl("status foo");

    EXPECT_EQ(use.exitCode, 3);
    EXPECT_EQ(use.err, "veskctl: foo: no such unit; 'veskctl list' shows those that there are\n");
}

TEST(VeskctlShow, PrintsThePropertiesAskedForAndNoOther)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"show", "--property=Id", "--property=LoadState", "foo.service"})
        .Stdout("Id=foo.service\nLoadState=loaded\n");

    EXPECT_EQ(Veskctl("show foo Id"), (Use{0, "Id=foo.service\n", ""}));
    const Json::Value value = VeskctlJson("show foo Id");
    EXPECT_EQ(value["unit"], "foo.service");
    EXPECT_THAT(value["properties"].getMemberNames(), ElementsAre("Id"));
    EXPECT_EQ(value["properties"]["Id"], "foo.service");
}

TEST(VeskctlShow, PrintsAllPropertiesWhenNoneIsNamed)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"show", "foo.service"}).Stdout("LoadState=loaded\nId=foo.service\nX=a=b\n");

    EXPECT_EQ(Veskctl("show foo"), (Use{0, "Id=foo.service\nLoadState=loaded\nX=a=b\n", ""}));
}

TEST(VeskctlShow, ExitsWithThreeForAUnitThatIsNotThere)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"show", "foo.service"}).Stdout(NotFoundAnswer("foo.service"));

    EXPECT_EQ(Veskctl("show foo").exitCode, 3);
}

TEST(VeskctlJobs, AreListedByTheirIds)
{
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-jobs"})
        .Stdout("12 b.service stop waiting\n7 a.service start running\n")
        .Exit(1);

    EXPECT_EQ(Veskctl("jobs"), (Use{0,
                                    "ID  UNIT       TYPE   STATE\n"
                                    "7   a.service  start  running\n"
                                    "12  b.service  stop   waiting\n",
                                    ""}));
    const Json::Value list = VeskctlJson("jobs");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1]["id"], 12);
    EXPECT_EQ(list[1]["unit"], "b.service");
    EXPECT_EQ(list[1]["type"], "stop");
    EXPECT_EQ(list[1]["state"], "waiting");
}

TEST(VeskctlList, ShowsTheUnitsOfAType)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"list-unit-files", "--no-legend", "--root=/.", "--type", "service"})
        .Stdout("foo.service enabled\nbar.service static\n");
    WriteUnitFile(UnitFolder::Usr, "foo.service", "[X-Veskline]\nName=F\xC3\xB6\xC3\xB6\n");

    EXPECT_EQ(Veskctl("list --type service"), (Use{0,
                                                   "UNIT         NAME  HELD FOR\n"
                                                   "bar.service  -     -\n"
                                                   "foo.service  F\xC3\xB6\xC3\xB6   -\n",
                                                   ""}));
    const Json::Value list = VeskctlJson("list --type service");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1]["unit"], "foo.service");
    EXPECT_EQ(list[1]["name"], "F\xC3\xB6\xC3\xB6");
    EXPECT_EQ(list[1]["heldBy"].size(), 0U);
}

TEST(VeskctlList, RefusesATypeThatIsNone)
{
    EXPECT_EQ(Veskctl("list --type frob").exitCode, 2);
}

TEST(VeskctlKeys, ShowsWhatTheUnitFileSays)
{
    WriteUnitFile(UnitFolder::Usr, "foo.service",
                  "[X-Veskline]\nName=The Foo\nDefaultEnable=yes\nFirewallSections=a b\n");

    EXPECT_THAT(Veskctl("keys foo").out, HasSubstr("Name                   The Foo\n"));
    EXPECT_THAT(Veskctl("keys foo").out, HasSubstr("DefaultEnable          yes\n"));
    const Json::Value value = VeskctlJson("keys foo");
    EXPECT_EQ(value["unit"], "foo.service");
    EXPECT_EQ(value["file"], "/usr/lib/systemd/system/foo.service");
    EXPECT_EQ(value["keys"]["Name"], "The Foo");
    EXPECT_EQ(value["keys"]["DefaultEnable"], true);
    EXPECT_EQ(value["keys"]["FirewallSections"][1], "b");
    EXPECT_EQ(value["keys"]["VolumeDependency"], "");
}

TEST(VeskctlKeys, ExitsWithThreeWithoutAUnitFile)
{
    EXPECT_EQ(Veskctl("keys foo"),
              (Use{3, "", "veskctl: foo: no unit file; 'veskctl list' shows the units that have one\n"}));
}

TEST(VeskctlPid, ShowsAProcess)
{
    const Json::Value value = VeskctlJson("pid " + std::to_string(getpid()));

    EXPECT_EQ(value["pid"], getpid());
    EXPECT_THAT(value.getMemberNames(),
                ElementsAre("cgroup", "cpuSeconds", "memoryKiB", "name", "pid", "slice", "unit"));
    EXPECT_THAT(Line(Veskctl("pid " + std::to_string(getpid())).out), HasSubstr("SLICE"));
}

TEST(VeskctlPid, RefusesWhatIsNoProcess)
{
    EXPECT_EQ(Veskctl("pid frob").exitCode, 2);
    EXPECT_EQ(Veskctl("pid 4000000").exitCode, 3);
}

} // namespace
