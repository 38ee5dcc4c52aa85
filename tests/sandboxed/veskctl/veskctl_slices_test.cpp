#include <gmock/gmock.h>
#include <unistd.h>

#include "files.hpp"
#include "unit_files.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

// Two slices, of which one has a process: the test.
class VeskctlSlice : public ::testing::Test
{
protected:
    VeskctlSlice()
    {
        WriteText("/sys/fs/cgroup/veskmonitor/full.slice/tasks", std::to_string(getpid()) + "\n");
        WriteText("/sys/fs/cgroup/veskmonitor/empty.slice/tasks", "");
        WriteText("/sys/fs/cgroup/systemd/full.slice/tasks", "");
        MakeFolder("/sys/fs/cgroup/systemd/empty.slice");
        WriteUnitFile(UnitFolder::Usr, "full.slice", "[X-Veskline]\nName=Full\n");
    }
};

TEST_F(VeskctlSlice, ListShowsTheSlices)
{
    EXPECT_THAT(Veskctl("slice list").out, StartsWith("SLICE        NAME  PROCESSES  MEMORY\n"
                                                      "empty.slice  -     0          0\n"
                                                      "full.slice   Full  1          "));
    const Json::Value list = VeskctlJson("slice list");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_THAT(list[1].getMemberNames(), ElementsAre("memoryKiB", "name", "processes", "slice"));
    EXPECT_EQ(list[1]["slice"], "full.slice");
    EXPECT_EQ(list[1]["processes"], 1);
    EXPECT_GT(list[1]["memoryKiB"].asInt(), 0);
}

TEST_F(VeskctlSlice, ShowShowsTheProcesses)
{
    const Json::Value value = VeskctlJson("slice show full");

    EXPECT_EQ(value["slice"], "full.slice");
    ASSERT_EQ(value["processes"].size(), 1U);
    EXPECT_THAT(value["processes"][0].getMemberNames(),
                ElementsAre("cpuSeconds", "memoryKiB", "name", "pid", "unit"));
    EXPECT_EQ(value["processes"][0]["pid"], getpid());
    EXPECT_THAT(Veskctl("slice show full").out, StartsWith("PID"));
}

TEST_F(VeskctlSlice, TopMeasuresOnceWithoutATerminal)
{
    const Json::Value list = VeskctlJson("slice top --sort memory");

    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]["slice"], "full.slice");
    EXPECT_THAT(list[0].getMemberNames(),
                ElementsAre("cpuPercent", "ioBytesPerSecond", "memoryKiB", "name", "processes", "slice"));
    const std::string table = Veskctl("slice top --sort name").out;
    EXPECT_THAT(table, ContainsRegex("\nSLICE +CPU +MEMORY +I/O /s *\n"));
    EXPECT_THAT(table, ContainsRegex("\nempty.slice +0.0% -+ +0 -+ +0 -+ *\n"));
}

TEST_F(VeskctlSlice, IsCompleted)
{
    EXPECT_EQ(Veskctl("--complete slice show f").out, "full.slice\n");
}

TEST_F(VeskctlSlice, TopRefusesAKeyOrAnIntervalThatIsNone)
{
    EXPECT_EQ(Veskctl("slice top --sort colour").exitCode, 2);
    EXPECT_EQ(Veskctl("slice top --interval 0").exitCode, 2);
    EXPECT_EQ(Veskctl("slice top --interval x").exitCode, 2);
}

TEST_F(VeskctlSlice, IsNotFoundWhenItIsNotThere)
{
    for (const std::string verb : {"show", "kill", "enter"}) {
        EXPECT_EQ(
            Veskctl("slice " + verb + " none"),
            (Use{3, "",
                 "veskctl: none.slice: no such slice; 'veskctl slice list' shows those that there are\n"}));
    }
}

TEST_F(VeskctlSlice, KillTellsSoWhenNothingIsLeft)
{
    ScriptedSystemctl systemctl;

    EXPECT_EQ(Veskctl("slice kill empty"), (Use{0, "empty.slice: killed\n", ""}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre());
}

TEST_F(VeskctlSlice, EnterMovesToTheSliceAndRunsTheCommand)
{
    EXPECT_EQ(Veskctl("slice enter full -- echo here"), (Use{0, "here\n", ""}));
    EXPECT_NE(ReadText("/sys/fs/cgroup/systemd/full.slice/tasks"), "");
    EXPECT_EQ(Veskctl("slice enter empty -- echo here").exitCode, 1);
}

} // namespace
