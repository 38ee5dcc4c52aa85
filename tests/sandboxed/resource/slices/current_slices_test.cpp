// Slices and processes in the control groups of today's systemd, with the library that is built for it.

#include <cerrno>
#include <unistd.h>

#include "call_faults.hpp"
#include "children.hpp"
#include "event_log.hpp"
#include "platform_spy.hpp"
#include "shown_file.hpp"
#include "shown_mounts.hpp"
#include "slices_ground.hpp"
#include "systemctl_script.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using VESK::Systemd::MoveToCgroupSlice;
using VESK::Systemd::Process;
using VESK::Systemd::Slice;

constexpr const char* kMoveFile = "systemd_cgroup_slice_move.cpp";
constexpr const char* kRootFile = "systemd_run_as_system_process.cpp";
constexpr const char* kKillFile = "systemd_kill_slice.cpp";
constexpr const char* kFullDevice = "/dev/full";

const std::string kPid = std::to_string(getpid());
const std::string kRoot = "/sys/fs/cgroup";
const std::string kMonitor = "/sys/fs/cgroup/veskmonitor";

// What is mounted, and where systemd's own tree is then.
struct Layout {
    std::string name;
    std::map<std::string, CgroupVersion> mounts;
    std::string folder;
    std::string line; // of /proc/PID/cgroup, before the path
    std::string members;
};

const Layout kLayouts[] = {
    {"Unified", {{kRoot, CgroupVersion::V2}}, kRoot, "0::", "cgroup.procs"},
    {"UnifiedWithAGroupOfThatName",
     {{kRoot, CgroupVersion::V2}, {kRoot + "/systemd", CgroupVersion::V2}, {kMonitor, CgroupVersion::V2}},
     kRoot,
     "0::",
     "cgroup.procs"},
    {"Hybrid",
     {{kRoot + "/systemd", CgroupVersion::V1}, {kRoot + "/unified", CgroupVersion::V2}},
     kRoot + "/systemd",
     "1:name=systemd:",
     "tasks"},
    {"EarlyHybrid", {{kRoot + "/systemd", CgroupVersion::V2}}, kRoot + "/systemd", "0::", "cgroup.procs"},
    {"UnifiedBesideOthers",
     {{kRoot + "/unified", CgroupVersion::V2}},
     kRoot + "/unified",
     "0::",
     "cgroup.procs"},
};

int SleepOn()
{
    return Eventually([] { return false; }, std::chrono::minutes(10)) ? 0 : 1;
}

std::vector<int> ProcessesOf(const std::string& slice)
{
    std::set<Process> processes;
    if (!Slice::ProcessList(slice, processes)) {
        return {-1};
    }
    std::vector<int> pids;
    for (const Process& process : processes) {
        pids.push_back(process.PidGet());
    }
    return pids;
}

Words SliceNames()
{
    Words slices;
    return VESKSystemdSliceList(slices) ? slices : Words{"failed"};
}

// A machine in one of the layouts, without any group.
class CurrentSlices : public SlicesTest, public ::testing::WithParamInterface<Layout>
{
protected:
    CurrentSlices() { Clear(); }
    ~CurrentSlices() override { Clear(); }

    static void Clear()
    {
        for (const std::string& entry : ListFolder(kRoot)) {
            RemoveAll(kRoot + "/" + entry);
        }
        for (const char* folder : {"/systemd", "/veskmonitor", "/unified"}) {
            MakeFolder(kRoot + folder);
        }
    }
    // A file of a group in systemd's tree.
    static std::string Members(const std::string& group) { return InTree(group + "/" + GetParam().members); }
    static std::string Processes(const std::string& group) { return InTree(group + "/cgroup.procs"); }
    static std::string InTree(const std::string& path) { return GetParam().folder + "/" + path; }

    // Shows this process in that group of systemd's tree, and elsewhere in every other tree.
    static ShownFile InGroup(const std::string& path)
    {
        std::string text;
        for (const std::string line : {"7:name=veskmonitor:", "1:name=systemd:", "0::"}) {
            text += line + (line == GetParam().line ? path : "/other.slice/other.service") + "\n";
        }
        return {"/proc/" + kPid + "/cgroup", text};
    }
    static std::string UnitIn(const std::string& path)
    {
        const ShownFile shown = InGroup(path);
        std::string unit = "before";
        return VESKSystemdGetByPid(getpid(), unit) ? unit : "none";
    }
    static std::string SliceIn(const std::string& path)
    {
        const ShownFile shown = InGroup(path);
        std::string slice;
        return VESKSystemdCgroupMonitorSliceGet(slice) ? slice : "none";
    }

    void ExpectMoveFailure(const std::string& message)
    {
        EXPECT_THAT(log.Take(), ElementsAre(Error(kMoveFile, "vesksystemd: " + message)));
    }

private:
    ShownMounts m_mounts{GetParam().mounts};
};

INSTANTIATE_TEST_SUITE_P(Layout, CurrentSlices, ::testing::ValuesIn(kLayouts),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(CurrentSlices, TellThePathOfAProcessByTheNamesThatTheHierarchiesHaveOnThePlatform)
{
    const ShownFile shown = InGroup("/system.slice/foo.service");
    for (const char* hierarchy : {"name=systemd", "name=veskmonitor"}) {
        std::string path;
        EXPECT_TRUE(VESKSystemdCgroupPathnameGet(getpid(), hierarchy, path));
        EXPECT_EQ(path, "/system.slice/foo.service") << hierarchy;
    }
    std::string path = "before";
    for (const char* hierarchy : {"systemd", "veskmonitor", "cpu"}) {
        EXPECT_FALSE(VESKSystemdCgroupPathnameGet(getpid(), hierarchy, path)) << hierarchy;
    }
    EXPECT_EQ(path, "before");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(CurrentSlices, TellTheUnitOfAProcess)
{
    EXPECT_EQ(UnitIn("/system.slice/foo.service"), "foo.service");
    EXPECT_EQ(UnitIn("/system.slice/foo.service/payload"), "foo.service");
    EXPECT_EQ(UnitIn("/system.slice/dbus-:1.2-foo@0.service"), "dbus-:1.2-foo@0.service");
    EXPECT_EQ(UnitIn("/user.slice/user-1.slice/user@1.service/app.slice/a.service"), "a.service");
    EXPECT_EQ(UnitIn("/a.slice/a-b.slice"), "a-b.slice");
    EXPECT_EQ(UnitIn("/"), "before");
    EXPECT_EQ(UnitIn("/docker/a.scope"), "before");
}

TEST_P(CurrentSlices, TellTheInnermostSliceOfTheCaller)
{
    EXPECT_EQ(SliceIn("/system.slice/foo.service"), "system.slice");
    EXPECT_EQ(SliceIn("/a.slice/a-b.slice/foo.service"), "a-b.slice");
    EXPECT_EQ(SliceIn("/user.slice/user-1.slice/user@1.service/app.slice/a.service"), "user-1.slice");
    EXPECT_EQ(SliceIn("/init.scope"), "none");
    EXPECT_EQ(SliceIn("/"), "none");
    const ShownFile shown = InGroup("/a.slice/a-b.slice");
    char buffer[10] = "";
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceGet(buffer, sizeof buffer), 1);
    EXPECT_STREQ(buffer, "a-b.slice");
}

TEST_P(CurrentSlices, TakeTheCallerWhereverTheyAre)
{
    const std::string group = Members("a.slice/a-b.slice");
    for (const auto& move : std::vector<std::function<bool()>>{
             [] { return MoveToCgroupSlice("a-b.slice", "systemd"); },
             [] { return MoveToCgroupSlice("a-b.slice", "veskmonitor"); },
             [] { return VESKSystemdCgroupMonitorSliceMove("a-b.slice"); },
             [] { return VESKSystemdCgroupSystemdSliceMove("a-b.slice"); },
             [] { return VESKCSystemdCgroupSystemdSliceMove("a-b.slice") == 1; }}) {
        WriteText(group, "");
        EXPECT_TRUE(move());
        EXPECT_EQ(ReadText(group), kPid);
    }
    EXPECT_FALSE(Exists(Members("a-b.slice")));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(CurrentSlices, TakeNobodyWhenTheyAreNotThere)
{
    MakeFolder(InTree("a-b.slice"));
    for (const char* hierarchy : {"systemd", "veskmonitor"}) {
        EXPECT_FALSE(MoveToCgroupSlice("a-b.slice", hierarchy));
        ExpectMoveFailure(Members("a.slice/a-b.slice") + " not found");
    }
    EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("b.slice"));
    ExpectMoveFailure(Members("b.slice") + " not found");
    EXPECT_FALSE(MoveToCgroupSlice("a-b.slice", "cpu"));
    ExpectMoveFailure("/sys/fs/cgroup/cpu/a-b.slice/tasks not found");
    EXPECT_FALSE(MoveToCgroupSlice("a.service", "systemd"));
    EXPECT_THAT(log.Take(),
                ElementsAre(RefusedArgument(kMoveFile, "!strSlice.empty() && IsSliceName(strSlice)")));
}

// As it does for a group whose own groups have controllers.
TEST_P(CurrentSlices, TakeNobodyWhenTheKernelRefuses)
{
    MakeFolder(InTree("a.slice"));
    ASSERT_EQ(symlink(kFullDevice, Members("a.slice").c_str()), 0);
    EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("a.slice"));
    ExpectMoveFailure("fclose failed");
}

TEST_P(CurrentSlices, AreLeftForTheRootOfSystemdsTree)
{
    const std::string members = GetParam().folder + "/" + GetParam().members;
    WriteText(members, "");
    EXPECT_TRUE(VESKSystemdRunAsSystemProcess());
    EXPECT_EQ(ReadText(members), kPid);
    EXPECT_THAT(log.Take(), ElementsAre(Info(kRootFile, "vesksystemd: Start moving process pid[" + kPid +
                                                            "] out of cgroup")));
}

TEST_P(CurrentSlices, AreListedWithThoseInThem)
{
    for (const char* folder :
         {"system.slice/system-getty.slice/getty@tty1.service", "a.slice/a-b.slice/a-b-c.slice",
          "user.slice/user-1.slice/user@1.service/app.slice", "init.scope", "b.slice.d"}) {
        MakeFolder(InTree(folder));
    }
    WriteText(Members("system.slice"), "");
    EXPECT_THAT(SliceNames(), UnorderedElementsAre("system.slice", "system-getty.slice", "a.slice",
                                                   "a-b.slice", "a-b-c.slice", "user.slice", "user-1.slice"));
}

TEST_P(CurrentSlices, AreAFailureToListWhenThereIsNone)
{
    MakeFolder(InTree("init.scope/a.slice"));
    EXPECT_THAT(SliceNames(), ElementsAre("failed"));
}

TEST_P(CurrentSlices, HoldTheProcessesOfAllGroupsBelow)
{
    const OtherProcess service(SleepOn);
    const OtherProcess deep(SleepOn);
    const OtherProcess other(SleepOn);
    WriteText(Processes("a.slice"), kPid + "\n");
    WriteText(Processes("a.slice/x.service"), std::to_string(service.Pid()) + "\n");
    WriteText(Processes("a.slice/a-b.slice"), "");
    WriteText(Processes("a.slice/a-b.slice/y.service/payload"), std::to_string(deep.Pid()) + "\n0\n");
    WriteText(Processes("b.slice"), std::to_string(other.Pid()) + "\n");
    EXPECT_THAT(ProcessesOf("a.slice"), UnorderedElementsAre(getpid(), service.Pid(), deep.Pid()));
    EXPECT_THAT(ProcessesOf("a-b.slice"), ElementsAre(deep.Pid()));
    EXPECT_THAT(ProcessesOf("c.slice"), ElementsAre(-1));
    WriteText(InTree("a.slice/tasks"), std::to_string(other.Pid()) + "\n");
    EXPECT_THAT(ProcessesOf("a.slice"), UnorderedElementsAre(getpid(), service.Pid(), deep.Pid()));
    WriteText(Processes("a.slice/a-b.slice/y.service"), "no number\n");
    EXPECT_THAT(ProcessesOf("a.slice"), ElementsAre(-1));
}

TEST_P(CurrentSlices, HoldTheProcessesOfThreadsInGroupsOfTheirOwn)
{
    WriteText(Processes("a.slice/x.service"), kPid + "\n");
    WriteText(Processes("a.slice/x.service/threads"), "");
    const OpenFault fault("/threads/cgroup.procs", EOPNOTSUPP);
    EXPECT_THAT(ProcessesOf("a.slice"), ElementsAre(getpid()));
}

// Slices that are killed at once, on a clock that stands.
class KillingCurrentSlices : public CurrentSlices
{
protected:
    KillingCurrentSlices()
    {
        for (const char* slice : {"a.slice", "a-b.slice"}) {
            WriteUnitFile(UnitFolder::Usr, slice, "[X-Veskline]\nSliceKillTimeoutSec=0\n");
        }
        systemctl.OnLeading({"stop"});
        systemctl.OnLeading({"kill"});
        spy.StopTheClock();
    }
    ~KillingCurrentSlices() override
    {
        for (const char* slice : {"a.slice", "a-b.slice"}) {
            RemoveAll(UnitFilePath(UnitFolder::Usr, slice));
        }
    }

    static void AddProcess(const std::string& group) { WriteText(InTree(group + "/cgroup.procs"), "7\n"); }

    // What systemctl is called with.
    void ExpectKill(const std::string& slice, const Words& calls)
    {
        systemctl.ForgetCalls();
        EXPECT_TRUE(VESKSystemdKillSlice(slice));
        EXPECT_THAT(systemctl.Arguments(), ElementsAreArray(calls)) << slice;
    }

    PlatformSpy spy;
    ScriptedSystemctl systemctl;
    EventLog events;
};

INSTANTIATE_TEST_SUITE_P(Layout, KillingCurrentSlices, ::testing::ValuesIn(kLayouts),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(KillingCurrentSlices, StopsTheUnitsThatSystemdKnowsOfThem)
{
    AddProcess("a.slice/x.service");
    AddProcess("a.slice/x.service/payload/z.service");
    AddProcess("a.slice/user@1.service/init.scope");
    ExpectKill("a.slice", {"stop user@1.service x.service", "kill a.slice", "kill --signal=SIGKILL a.slice"});
}

TEST_P(KillingCurrentSlices, FindsASliceInAnother)
{
    AddProcess("a.slice/a-b.slice/y.service");
    AddProcess("a.slice/x.service");
    ExpectKill("a-b.slice", {"stop y.service", "kill a-b.slice", "kill --signal=SIGKILL a-b.slice"});
    ExpectKill("b.slice", {});
    ExpectKill("-.slice", {});
}

TEST_P(KillingCurrentSlices, StopsNoUnitForProcessesOutsideOfAny)
{
    AddProcess("a.slice/by-hand");
    ExpectKill("a.slice", {"kill a.slice", "kill --signal=SIGKILL a.slice"});
    RemoveAll(InTree("a.slice"));
    AddProcess("a.slice");
    ExpectKill("a.slice", {"kill a.slice", "kill --signal=SIGKILL a.slice"});
}

TEST_P(KillingCurrentSlices, SkipsThoseWhoseGroupsOfThreadsCannotBeAsked)
{
    AddProcess("a.slice/x.service/threads");
    const OpenFault fault("/threads/cgroup.procs", EOPNOTSUPP);
    ExpectKill("a.slice", {});
    EXPECT_THAT(log.Take(),
                ElementsAre(Info(kKillFile, "vesksystemd: There is no alive process in [a.slice], "
                                            "skip kill slice")));
}

// Where the platform's own hierarchy is mounted the slices in it are measured.
class MonitoredSlices : public SlicesTest, public ::testing::WithParamInterface<Layout>
{
private:
    static std::map<std::string, CgroupVersion> Mounts()
    {
        auto mounts = GetParam().mounts;
        mounts[kMonitor] = CgroupVersion::V1;
        return mounts;
    }
    ShownMounts m_mounts{Mounts()};
};

INSTANTIATE_TEST_SUITE_P(Layout, MonitoredSlices, ::testing::ValuesIn(kLayouts),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(MonitoredSlices, AreThoseOfTheirHierarchyWhereItIsMounted)
{
    const OtherProcess deep(SleepOn);
    WriteText(InMonitor("a-b.slice/tasks"), "");
    WriteText(InMonitor("a-b.slice/x.service/y/tasks"), std::to_string(deep.Pid()) + "\n");
    EXPECT_TRUE(VESKSystemdCgroupMonitorSliceMove("a-b.slice"));
    EXPECT_EQ(ReadText(InMonitor("a-b.slice/tasks")), kPid);
    EXPECT_THAT(SliceNames(), ElementsAre("a-b.slice"));
    EXPECT_THAT(ProcessesOf("a-b.slice"), ElementsAre(getpid()));
    const ShownFile shown("/proc/" + kPid + "/cgroup",
                          "2:name=veskmonitor:/m.slice/n.slice\n1:name=systemd:/s.slice\n0::/s.slice\n");
    std::string slice;
    EXPECT_TRUE(VESKSystemdCgroupMonitorSliceGet(slice));
    EXPECT_EQ(slice, "m.slice");
}

} // namespace
} // namespace VeskTest
