// Where processes are, and where they move to, on a real systemd.

#include <algorithm>
#include <gmock/gmock.h>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "cgroup_trees.hpp"
#include "checks.hpp"
#include "files.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::Process;
using VESK::Systemd::Slice;

std::string Monitored(const std::string& cgroup)
{
    return MonitoredTree().Folder(cgroup);
}

std::string PathIn(const std::string& hierarchy, pid_t pid = getpid())
{
    std::string path = "none";
    VESKSystemdCgroupPathnameGet(pid, hierarchy, path);
    return path;
}

std::string UnitOf(pid_t pid)
{
    std::string unit = "untouched";
    EXPECT_TRUE(VESKSystemdGetByPid(pid, unit));
    return unit;
}

pid_t MainPid(const std::string& service)
{
    return static_cast<pid_t>(std::stol(Property(service, "MainPID")));
}

UnitText ServiceIn(const std::string& slice, const std::string& command = "/bin/sleep infinity")
{
    return UnitText().Service("ExecStart=" + command).Service("Slice=" + slice);
}

void Monitor(pid_t pid, const std::string& cgroup)
{
    MakeFolder(Monitored(cgroup));
    MoveByHand(pid, MonitoredTree().Members(cgroup));
}

std::vector<int> PidsOf(const std::set<Process>& processes)
{
    std::vector<int> pids;
    for (const Process& process : processes) {
        pids.push_back(process.PidGet());
    }
    return pids;
}

std::vector<std::string> Slices()
{
    std::vector<std::string> slices;
    EXPECT_TRUE(VESKSystemdSliceList(slices));
    return slices;
}

std::vector<int> PidsIn(const std::string& slice)
{
    std::set<Process> processes;
    EXPECT_TRUE(Slice::ProcessList(slice, processes));
    return PidsOf(processes);
}

void ExpectToBeIn(const std::string& expected)
{
    std::string slice;
    EXPECT_TRUE(VESKSystemdCgroupMonitorSliceGet(slice));
    EXPECT_EQ(slice, expected);
    std::vector<char> buffer(expected.size() + 1);
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceGet(buffer.data(), static_cast<int>(buffer.size())), 1);
    EXPECT_EQ(buffer.data(), expected);
}

// "foo.slice" is monitored, and systemd has a service in it.
class PlacementLive : public ::testing::Test
{
protected:
    PlacementLive()
    {
        MakeFolder(Monitored("foo.slice"));
        WriteUnitFile(UnitFolder::Usr, "foo.slice", "[X-Veskline]\nName=Foo\nAppId=foo\n");
        AddUnit("in-foo.service", ServiceIn("foo.slice"));
        MustSystemctl({"start", "in-foo.service"});
    }
};

// The hierarchies of systemd and of the monitored slices are two there, and one elsewhere.
class PlacementOnPlatform : public PlacementLive
{
};
class PlacementOnCurrent : public PlacementLive
{
};

TEST_F(PlacementOnPlatform, AProcessMovesIntoAMonitoredSliceAndStaysWhereSystemdHasIt)
{
    ExpectInChild([] {
        const std::string before = PathIn("name=systemd");
        EXPECT_TRUE(VESKSystemdCgroupMonitorSliceMove("foo.slice"));
        EXPECT_EQ(PathIn("name=veskmonitor"), "/foo.slice");
        EXPECT_EQ(PathIn("name=systemd"), before);
        ExpectToBeIn("foo.slice");
        EXPECT_THAT(PidsIn("foo.slice"), ElementsAre(getpid()));
    });
    std::string slice;
    EXPECT_FALSE(VESKSystemdCgroupMonitorSliceGet(slice)) << "the parent has not moved";
}

TEST_F(PlacementOnCurrent, AProcessMovesIntoAMonitoredSliceWhichIsSystemdsOwn)
{
    const pid_t service = MainPid("in-foo.service");
    ExpectInChild([&] {
        EXPECT_TRUE(VESKSystemdCgroupMonitorSliceMove("foo.slice"));
        EXPECT_EQ(PathIn("name=veskmonitor"), "/foo.slice");
        EXPECT_EQ(PathIn("name=systemd"), "/foo.slice");
        ExpectToBeIn("foo.slice");
        EXPECT_THAT(PidsIn("foo.slice"), ::testing::UnorderedElementsAre(getpid(), service));
    });
    std::string slice;
    EXPECT_FALSE(VESKSystemdCgroupMonitorSliceGet(slice)) << "the parent has not moved";
}

TEST_F(PlacementLive, AProcessMovesIntoASliceOfBothHierarchies)
{
    ExpectInChild([] {
        EXPECT_EQ(VESKCSystemdCgroupSystemdSliceMove("foo.slice"), 1);
        EXPECT_EQ(PathIn("name=veskmonitor"), "/foo.slice");
        EXPECT_EQ(PathIn("name=systemd"), "/foo.slice");
        EXPECT_EQ(UnitOf(getpid()), "foo.slice");
    });
}

TEST_F(PlacementOnPlatform, AProcessMovesIntoSystemdsSliceAloneWhenTheOtherIsNotThere)
{
    ASSERT_EQ(rmdir(Monitored("foo.slice").c_str()), 0);
    ExpectInChild([] {
        EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("foo.slice"));
        EXPECT_EQ(PathIn("name=systemd"), "/foo.slice");
        EXPECT_EQ(PathIn("name=veskmonitor"), "/");
        EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("no-such.slice"));
        EXPECT_EQ(PathIn("name=systemd"), "/foo.slice");
    });
}

TEST_F(PlacementOnCurrent, AProcessStaysWhereItIsWhenTheSliceIsNotThere)
{
    ExpectInChild([] {
        EXPECT_TRUE(VESKSystemdCgroupSystemdSliceMove("foo.slice"));
        EXPECT_FALSE(VESKSystemdCgroupSystemdSliceMove("no-such.slice"));
        EXPECT_FALSE(VESKSystemdCgroupMonitorSliceMove("no-such.slice"));
        EXPECT_EQ(PathIn("name=systemd"), "/foo.slice");
    });
}

TEST_F(PlacementOnPlatform, AProcessThatMovesOutOfItsUnitIsMonitoredAsBefore)
{
    ExpectInChild([] {
        ASSERT_TRUE(VESKSystemdCgroupSystemdSliceMove("foo.slice"));
        EXPECT_TRUE(VESKSystemdRunAsSystemProcess());
        EXPECT_EQ(PathIn("name=veskmonitor"), "/foo.slice");
    });
}

TEST_F(PlacementLive, AProcessMovesOutOfItsUnit)
{
    ExpectInChild([] {
        ASSERT_TRUE(VESKSystemdCgroupSystemdSliceMove("foo.slice"));
        EXPECT_TRUE(VESKSystemdRunAsSystemProcess());
        EXPECT_EQ(PathIn("name=systemd"), "/");
        EXPECT_EQ(UnitOf(getpid()), "untouched");
    });
}

TEST_F(PlacementLive, OfAProcessWithThreadsTheFirstOneMovesAndAllDoInCgroup2)
{
    const std::string others = MonitoredTree().hierarchy.empty() ? "/foo.slice" : "/";
    ExpectInChild([&] {
        pid_t thread = 0;
        std::string pathOfThread;
        std::thread([&] {
            thread = gettid();
            EXPECT_TRUE(VESKSystemdCgroupMonitorSliceMove("foo.slice"));
            pathOfThread = PathIn("name=veskmonitor", thread);
        }).join();
        EXPECT_NE(thread, getpid());
        EXPECT_EQ(pathOfThread, others);
        EXPECT_EQ(PathIn("name=veskmonitor"), "/foo.slice");
    });
}

TEST_F(PlacementLive, ThePathAndTheUnitOfAServicesProcess)
{
    AddUnit("foo-bar.slice", UnitText().Unit("Description=nested"));
    AddUnit("a\\x2db.service", ServiceIn("foo-bar.slice"));
    MustSystemctl({"start", "a\\x2db.service"});
    EXPECT_EQ(PathIn("name=systemd", MainPid("in-foo.service")), "/foo.slice/in-foo.service");
    EXPECT_EQ(UnitOf(MainPid("in-foo.service")), "in-foo.service");
    EXPECT_EQ(UnitOf(MainPid("a\\x2db.service")), "a\\x2db.service");
    EXPECT_EQ(UnitOf(1), "init.scope");
}

TEST_F(PlacementLive, TheUnitOfAProcessOutsideAnyIsLeftAlone)
{
    EXPECT_EQ(PathIn("name=systemd"), "/");
    EXPECT_EQ(UnitOf(getpid()), "untouched");
}

TEST_F(PlacementLive, TheUnitOfAUsersProcessIsTheUsersUnit)
{
    StartUserManager(kAlice);
    const pid_t manager = MainPid("user@1001.service");
    EXPECT_EQ(UnitOf(manager), "init.scope");
    EXPECT_EQ(PathIn("name=systemd", manager), "/user.slice/user-1001.slice/user@1001.service/init.scope");
}

TEST_F(PlacementOnPlatform, TheListHasTheMonitoredSlices)
{
    MakeFolder(Monitored("foo-bar.slice"));
    MakeFolder(Monitored("a\\x2db.slice"));
    MakeFolder(Monitored("no.service"));
    EXPECT_THAT(Slices(), ::testing::UnorderedElementsAre("foo.slice", "foo-bar.slice", "a\\x2db.slice"));
}

TEST_F(PlacementOnCurrent, TheListHasSystemdsSlices)
{
    AddUnit("foo-bar.slice", UnitText().Unit("Description=nested"));
    AddUnit("a\\x2db.slice", UnitText().Unit("Description=escaped"));
    MustSystemctl({"start", "foo-bar.slice", "a\\x2db.slice"});
    std::vector<std::string> active;
    for (const std::string& slice : Slices()) {
        EXPECT_EQ(ActiveState(slice), "active") << slice;
        active.push_back(slice);
    }
    EXPECT_THAT(active,
                ::testing::IsSupersetOf({"foo.slice", "foo-bar.slice", "a\\x2db.slice", "system.slice"}));
}

TEST_F(PlacementLive, TheListInCHasTheServices)
{
    VLIBCSzList* list = VLIBCSzListAlloc(16);
    EXPECT_EQ(VESKCSystemdSliceList(&list), 1);
    std::vector<std::string> names;
    for (int index = 0; index < VLIBCSzListCount(list); ++index) {
        names.emplace_back(VLIBCSzListGet(list, index));
    }
    VLIBCSzListFree(list);
    EXPECT_THAT(names, Contains("in-foo"));
    EXPECT_THAT(names, ::testing::Not(Contains("foo")));
}

TEST_F(PlacementLive, ASliceHoldsSamplesOfWhatRunsInIt)
{
    AddUnit("busy.service", ServiceIn("foo.slice", "/bin/sh -c 'while :; do :; done'"));
    MustSystemctl({"start", "busy.service"});
    const pid_t busy = MainPid("busy.service");
    const pid_t idle = MainPid("in-foo.service");
    Monitor(busy, "foo.slice/busy.service");
    Monitor(idle, "foo.slice");

    const Slice before("foo.slice");
    EXPECT_EQ(before.NameGet(), "Foo");
    EXPECT_EQ(before.IconGet().strAppId, "foo");
    const std::set<Process> samples = before.ProcessesGet();
    ASSERT_THAT(PidsOf(samples), ::testing::UnorderedElementsAre(busy, idle));
    const auto busyBefore = std::find_if(samples.begin(), samples.end(),
                                         [&](const Process& process) { return process.PidGet() == busy; });
    const auto idleBefore = std::find_if(samples.begin(), samples.end(),
                                         [&](const Process& process) { return process.PidGet() == idle; });
    EXPECT_EQ(busyBefore->NameGet(), "dash");
    EXPECT_EQ(idleBefore->NameGet(), "sleep");
    EXPECT_GT(busyBefore->MemoryPssGet(), 0U);
    EXPECT_GT(idleBefore->MemoryPssGet(), 0U);

    EXPECT_TRUE(Eventually([&] { return Process(busy).CPUTimeGet() > busyBefore->CPUTimeGet(); }));
    EXPECT_LT(Process(idle).CPUTimeGet(), 1.0);
    EXPECT_TRUE(Eventually([&] { return busyBefore->CPUUtilizationGet() > 0.0; }));
    EXPECT_LE(busyBefore->CPUUtilizationGet(), 1.0);
}

TEST_F(PlacementLive, ASliceWithoutProcessesIsEmpty)
{
    MakeFolder(Monitored("empty.slice"));
    WriteUnitFile(UnitFolder::Usr, "empty.slice", "[X-Veskline]\nName=Empty\nAppId=empty\n");
    EXPECT_THAT(Slice("empty.slice").ProcessesGet(), IsEmpty());
}

TEST_F(PlacementLive, ASliceIsListedWhileItsProcessesEnd)
{
    std::vector<std::unique_ptr<OtherProcess>> children;
    for (int number = 0; number < 20; ++number) {
        children.push_back(std::make_unique<OtherProcess>([number] {
            const bool moved = VESKSystemdCgroupMonitorSliceMove("foo.slice");
            const std::vector<char> memory(size_t{8} << 20U, 'x');
            usleep(static_cast<useconds_t>(number) * 2000);
            return moved && memory.back() == 'x' ? 0 : 1;
        }));
    }
    bool allEnded = false;
    while (!allEnded) {
        allEnded = ListChildren().running.empty();
        std::set<Process> processes;
        ASSERT_TRUE(Slice::ProcessList("foo.slice", processes));
    }
    for (const auto& child : children) {
        EXPECT_EQ(child->Wait(), Exited(0));
    }
}

} // namespace
} // namespace VeskTest
