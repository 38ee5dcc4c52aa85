// Moving the calling process into a slice, or out of all.

#include <sys/stat.h>
#include <unistd.h>

#include "call_faults.hpp"
#include "slices_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kMoveFile = "systemd_cgroup_slice_move.cpp";
constexpr const char* kRootFile = "systemd_run_as_system_process.cpp";

const std::string kPid = std::to_string(getpid());
const std::string kSystemdTasks = InSystemd("a.slice/tasks");
const std::string kMonitorTasks = InMonitor("a.slice/tasks");

class MovingTest : public SlicesTest
{
protected:
    MovingTest()
    {
        WriteText(kSystemdTasks, "before systemd\n");
        WriteText(kMonitorTasks, "before monitor\n");
    }
    static void Replace(const std::string& path, const std::string& target)
    {
        RemoveAll(path);
        ASSERT_EQ(symlink(target.c_str(), path.c_str()), 0);
    }
    static void ReplaceByFolder(const std::string& path)
    {
        RemoveAll(path);
        MakeFolder(path);
    }
    void ExpectLogged(const std::string& message)
    {
        EXPECT_THAT(log.Take(), ElementsAre(Error(kMoveFile, "vesksystemd: " + message)));
    }
    void ExpectNothingMoved()
    {
        EXPECT_EQ(ReadText(kSystemdTasks), "before systemd\n");
        EXPECT_EQ(ReadText(kMonitorTasks), "before monitor\n");
    }
};

using MovingIntoASlice = MovingTest;

TEST_F(MovingIntoASlice, WritesThePidToTheTasksOfTheHierarchy)
{
    EXPECT_TRUE(VESK::Systemd::MoveToCgroupSlice("a.slice", "veskmonitor"));
    EXPECT_EQ(ReadText(kMonitorTasks), kPid);
    EXPECT_EQ(ReadText(kSystemdTasks), "before systemd\n");
    EXPECT_TRUE(VESK::Systemd::MoveToCgroupSlice("a.slice", "systemd"));
    EXPECT_EQ(ReadText(kSystemdTasks), kPid);
    EXPECT_THAT(log.Take(), IsEmpty());
    ExpectNoError();
}

TEST_F(MovingIntoASlice, TakesEveryNameOfASliceAsItIs)
{
    for (const char* name : {"a\\x2db.slice", "[a]*?.slice", " .slice", ".slice", "a.b.slice", "-.slice",
                             "%s%n.slice", "a.service.slice"}) {
        const std::string tasks = InMonitor(std::string(name) + "/tasks");
        WriteText(tasks, "");
        EXPECT_TRUE(VESKSystemdCgroupMonitorSliceMove(name)) << name;
        EXPECT_EQ(ReadText(tasks), kPid) << name;
    }
}

TEST_F(MovingIntoASlice, IsRefusedForWhatIsNoNameOfASlice)
{
    WriteText(InMonitor("sub/a.slice/tasks"), "before\n");
    WriteText(InMonitor("a.service/tasks"), "before\n");
    const Words names = {"",
                         "sub/a.slice",
                         "/a.slice",
                         "../veskmonitor/a.slice",
                         "a.slice/",
                         "a",
                         "slice",
                         "a.slice.",
                         "a.service",
                         "a.Slice",
                         "a.slice ",
                         "a.slice/b",
                         "/",
                         ".",
                         std::string("\0a.slice", 8),
                         std::string("a\0.slice", 8)};
    for (const std::string& name : names) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(VESK::Systemd::MoveToCgroupSlice(name, "veskmonitor")) << name;
        ExpectError(kInvalidArgument, kMoveFile);
    }
    EXPECT_THAT(log.Take(),
                ElementsAreArray(LogMatchers(
                    names.size(), RefusedArgument(kMoveFile, "!strSlice.empty() && IsSliceName(strSlice)"))));
    ExpectNothingMoved();
    EXPECT_EQ(ReadText(InMonitor("sub/a.slice/tasks")), "before\n");
    EXPECT_EQ(ReadText(InMonitor("a.service/tasks")), "before\n");
}

TEST_F(MovingIntoASlice, TakesNamesUpToTheirFirstZeroByte)
{
    EXPECT_TRUE(VESK::Systemd::MoveToCgroupSlice(std::string("a.slice\0/..", 11), "veskmonitor"));
    EXPECT_EQ(ReadText(InMonitor("a.slice/tasks")), kPid);
}

TEST_F(MovingIntoASlice, FailsWhenTheSliceIsNotThere)
{
    EXPECT_FALSE(VESK::Systemd::MoveToCgroupSlice("b.slice", "veskmonitor"));
    ExpectLogged("/sys/fs/cgroup/veskmonitor/b.slice/tasks not found");
    EXPECT_FALSE(VESK::Systemd::MoveToCgroupSlice("a.slice", "nowhere"));
    ExpectLogged("/sys/fs/cgroup/nowhere/a.slice/tasks not found");
    EXPECT_FALSE(Exists(InMonitor("b.slice")));
    ExpectNoError();
}

TEST_F(MovingIntoASlice, FailsWhenTheTasksCannotBeOpened)
{
    ReplaceByFolder(kMonitorTasks);
    EXPECT_FALSE(VESKSystemdCgroupMonitorSliceMove("a.slice"));
    ExpectLogged("Failed to open " + kMonitorTasks);
}

TEST_F(MovingIntoASlice, FailsWhenTheKernelRefusesThePid)
{
    Replace(kMonitorTasks, "/dev/full");
    EXPECT_FALSE(VESKSystemdCgroupMonitorSliceMove("a.slice"));
    ExpectLogged("fclose failed");
}

TEST_F(MovingIntoASlice, FailsWhenThePidCannotBeWritten)
{
    for (const auto closing : {StreamFault::Closing::Works, StreamFault::Closing::Fails}) {
        const StreamFault fault(closing);
        EXPECT_FALSE(VESKSystemdCgroupMonitorSliceMove("a.slice"));
        ExpectLogged("Failed to write pid[" + kPid + "] to " + kMonitorTasks);
    }
}

TEST_F(MovingIntoASlice, ShowsNoOtherProgramTheOpenFile)
{
    const InheritanceWatch watch;
    EXPECT_TRUE(VESKSystemdCgroupMonitorSliceMove("a.slice"));
    EXPECT_EQ(InheritanceWatch::Files(), 1);
    EXPECT_EQ(InheritanceWatch::Inherited(), 0);
}

using MovingIntoTheMonitoredSlice = MovingTest;

TEST_F(MovingIntoTheMonitoredSlice, TouchesThatHierarchyAlone)
{
    EXPECT_TRUE(VESKSystemdCgroupMonitorSliceMove("a.slice"));
    EXPECT_EQ(ReadText(kMonitorTasks), kPid);
    EXPECT_EQ(ReadText(kSystemdTasks), "before systemd\n");
}

TEST_F(MovingIntoTheMonitoredSlice, WorksInC)
{
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceMove("a.slice"), 1);
    EXPECT_EQ(ReadText(kMonitorTasks), kPid);
    EXPECT_EQ(ReadText(kSystemdTasks), "before systemd\n");
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceMove("b.slice"), 0);
    ExpectLogged("/sys/fs/cgroup/veskmonitor/b.slice/tasks not found");
}

TEST_F(MovingIntoTheMonitoredSlice, IsRefusedInCWithoutAName)
{
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceMove(nullptr), 0);
    ExpectError(kInvalidArgument, kMoveFile);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kMoveFile, "nullptr != szSlice")));
}

using MovingIntoBothSlices = MovingTest;

TEST_F(MovingIntoBothSlices, WritesThePidToBothTasks)
{
    EXPECT_TRUE(VESKSystemdCgroupSystemdSliceMove("a.slice"));
    EXPECT_EQ(ReadText(kSystemdTasks), kPid);
    EXPECT_EQ(ReadText(kMonitorTasks), kPid);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(MovingIntoBothSlices, StopsWhenSystemdsHierarchyFails)
{
    RemoveAll(kSystemdTasks);
    EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("a.slice"));
    ExpectLogged(kSystemdTasks + " not found");
    Replace(kSystemdTasks, "/dev/full");
    EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("a.slice"));
    ExpectLogged("fclose failed");
    EXPECT_EQ(ReadText(kMonitorTasks), "before monitor\n");
}

TEST_F(MovingIntoBothSlices, FailsWhenTheMonitorsHierarchyDoesAndStaysInSystemds)
{
    RemoveAll(kMonitorTasks);
    EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("a.slice"));
    ExpectLogged(kMonitorTasks + " not found");
    EXPECT_EQ(ReadText(kSystemdTasks), kPid);
}

TEST_F(MovingIntoBothSlices, IsRefusedOnceForAWrongName)
{
    EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("a.service"));
    EXPECT_THAT(log.Take(),
                ElementsAre(RefusedArgument(kMoveFile, "!strSlice.empty() && IsSliceName(strSlice)")));
    ExpectNothingMoved();
}

TEST_F(MovingIntoBothSlices, WorksInC)
{
    EXPECT_EQ(VESKCSystemdCgroupSystemdSliceMove("a.slice"), 1);
    EXPECT_EQ(ReadText(kSystemdTasks), kPid);
    EXPECT_EQ(ReadText(kMonitorTasks), kPid);
    EXPECT_EQ(VESKCSystemdCgroupSystemdSliceMove("b.slice"), 0);
    ExpectLogged("/sys/fs/cgroup/systemd/b.slice/tasks not found");
}

TEST_F(MovingIntoBothSlices, IsRefusedInCWithoutAName)
{
    EXPECT_EQ(VESKCSystemdCgroupSystemdSliceMove(nullptr), 0);
    ExpectError(kInvalidArgument, kMoveFile);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kMoveFile, "nullptr != szSlice")));
}

class RunningAsSystemProcess : public MovingTest
{
protected:
    const std::string tasks = InSystemd("tasks");

    RunningAsSystemProcess() { WriteText(tasks, "before\n"); }

    void ExpectLogged(const Words& errors)
    {
        LogMatchers lines = {
            Info(kRootFile, "vesksystemd: Start moving process pid[" + kPid + "] out of cgroup")};
        for (const std::string& error : errors) {
            lines.push_back(Error(kRootFile, "vesksystemd: " + error));
        }
        EXPECT_THAT(log.Take(), ElementsAreArray(lines));
    }
};

TEST_F(RunningAsSystemProcess, WritesThePidToTheRootOfSystemdsHierarchy)
{
    EXPECT_TRUE(VESKSystemdRunAsSystemProcess());
    EXPECT_EQ(ReadText(tasks), kPid);
    ExpectLogged({});
    ExpectNothingMoved();
}

TEST_F(RunningAsSystemProcess, IsTheSameInC)
{
    EXPECT_EQ(VESKCSystemdRunAsSystemProcess(), 1);
    EXPECT_EQ(ReadText(tasks), kPid);
    ExpectLogged({});
    ReplaceByFolder(tasks);
    EXPECT_EQ(VESKCSystemdRunAsSystemProcess(), 0);
    ExpectLogged({"Failed to open szfDefaultTaskPath"});
}

TEST_F(RunningAsSystemProcess, FailsWhenTheTasksCannotBeOpened)
{
    ReplaceByFolder(tasks);
    EXPECT_FALSE(VESKSystemdRunAsSystemProcess());
    ExpectLogged({"Failed to open szfDefaultTaskPath"});
    RemoveAll(InSystemd(""));
    EXPECT_FALSE(VESKSystemdRunAsSystemProcess());
    ExpectLogged({"Failed to open szfDefaultTaskPath"});
}

TEST_F(RunningAsSystemProcess, FailsWhenTheKernelRefusesThePid)
{
    Replace(tasks, "/dev/full");
    EXPECT_FALSE(VESKSystemdRunAsSystemProcess());
    ExpectLogged({"fclose failed"});
}

TEST_F(RunningAsSystemProcess, FailsWhenThePidCannotBeWritten)
{
    const std::string failure = "Failed to write pid[" + kPid + "] to szfDefaultTaskPath";
    {
        const StreamFault fault(StreamFault::Closing::Works);
        EXPECT_FALSE(VESKSystemdRunAsSystemProcess());
        ExpectLogged({failure});
    }
    const StreamFault fault(StreamFault::Closing::Fails);
    EXPECT_FALSE(VESKSystemdRunAsSystemProcess());
    ExpectLogged({failure, "fclose failed"});
}

} // namespace
} // namespace VeskTest
