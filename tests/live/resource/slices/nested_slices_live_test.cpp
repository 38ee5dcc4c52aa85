// Slices in slices, and groups that units make in theirs, with the library for today's systemd on a real one.

#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "cgroup_trees.hpp"
#include "checks.hpp"
#include "children.hpp"
#include "files.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::UnorderedElementsAre;
using VESK::Systemd::Process;
using VESK::Systemd::Slice;

constexpr const char* kVolume = "/opt/volume";

std::string UnitOf(pid_t pid)
{
    std::string unit = "untouched";
    EXPECT_TRUE(VESKSystemdGetByPid(pid, unit));
    return unit;
}

pid_t Start(const std::string& service, const UnitText& text)
{
    AddUnit(service, text);
    MustSystemctl({"start", service});
    return static_cast<pid_t>(std::stol(Property(service, "MainPID")));
}

std::vector<int> PidsIn(const std::string& slice)
{
    std::set<Process> processes;
    EXPECT_TRUE(Slice::ProcessList(slice, processes));
    std::vector<int> pids;
    for (const Process& process : processes) {
        pids.push_back(process.PidGet());
    }
    return pids;
}

// "outer.service" is in foo.slice, "inner.service" in the slice in it.
class NestedSlicesOnCurrent : public ::testing::Test
{
protected:
    const pid_t outer = Start("outer.service", RunningService().Service("Slice=foo.slice"));
    const pid_t inner = Start("inner.service", RunningService().Service("Slice=foo-bar.slice"));
};

TEST_F(NestedSlicesOnCurrent, AreListedAndMeasured)
{
    std::vector<std::string> slices;
    EXPECT_TRUE(VESKSystemdSliceList(slices));
    EXPECT_THAT(slices, IsSupersetOf({"foo.slice", "foo-bar.slice", "system.slice"}));
    EXPECT_THAT(PidsIn("foo.slice"), UnorderedElementsAre(outer, inner));
    EXPECT_THAT(PidsIn("foo-bar.slice"), ElementsAre(inner));
}

TEST_F(NestedSlicesOnCurrent, TakeTheCallerByTheirNames)
{
    ExpectInChild([] {
        std::string slice;
        EXPECT_TRUE(VESKSystemdCgroupSystemdSliceMove("foo-bar.slice"));
        EXPECT_TRUE(VESKSystemdCgroupMonitorSliceGet(slice));
        EXPECT_EQ(slice, "foo-bar.slice");
        EXPECT_EQ(UnitOf(getpid()), "foo-bar.slice");
        EXPECT_THAT(PidsIn("foo-bar.slice"), Contains(getpid()));
        EXPECT_TRUE(VESKSystemdRunAsSystemProcess());
        EXPECT_FALSE(VESKSystemdCgroupMonitorSliceGet(slice));
    });
}

TEST_F(NestedSlicesOnCurrent, HoldProcessesAndNotTheirThreads)
{
    ExpectInChild([this] {
        EXPECT_TRUE(VESKSystemdCgroupSystemdSliceMove("foo-bar.slice"));
        std::vector<int> pids;
        std::thread([&] { pids = PidsIn("foo-bar.slice"); }).join();
        EXPECT_THAT(pids, UnorderedElementsAre(inner, getpid()));
    });
}

TEST_F(NestedSlicesOnCurrent, AreKilledAlone)
{
    EXPECT_TRUE(VESKSystemdKillSlice("foo-bar.slice"));
    EXPECT_EQ(ActiveState("inner.service"), "inactive");
    EXPECT_EQ(ActiveState("outer.service"), "active");
    EXPECT_TRUE(VESKSystemdKillSlice("foo.slice"));
    EXPECT_EQ(ActiveState("outer.service"), "inactive");
}

// A service whose process is in a group of its own making, and uses a volume.
class DelegatedGroupsOnCurrent : public ::testing::Test
{
protected:
    DelegatedGroupsOnCurrent() { MakeFolder(kVolume); }

    static UnitText Delegating(const std::string& group)
    {
        const std::string folder = SystemdTree().Folder("foo.slice/payer.service") + "/" + group;
        return UnitText()
            .Service("Slice=foo.slice")
            .Service("Delegate=yes")
            .Service("WorkingDirectory=" + std::string(kVolume))
            .Service("ExecStart=/bin/sh -c 'mkdir -p " + folder + " && echo $$$$ > " + folder + "/" +
                     SystemdTree().members + " && : >/run/payer-is-up && exec sleep infinity'");
    }
    static pid_t StartPayer(const std::string& group)
    {
        const pid_t pid = Start("payer.service", Delegating(group));
        EXPECT_TRUE(Eventually([] { return Exists("/run/payer-is-up"); }));
        return pid;
    }
};

TEST_F(DelegatedGroupsOnCurrent, AreOfTheUnitThatHasMadeThem)
{
    const pid_t pid = StartPayer("payload/system.slice/dbus.service");
    std::string path;
    EXPECT_TRUE(VESKSystemdCgroupPathnameGet(pid, "name=systemd", path));
    EXPECT_EQ(path, "/foo.slice/payer.service/payload/system.slice/dbus.service");
    EXPECT_EQ(UnitOf(pid), "payer.service");
    // What the shell has run may be seen on its way out.
    EXPECT_TRUE(Eventually([pid] { return PidsIn("foo.slice") == std::vector<int>{pid}; }));
    std::vector<std::string> services;
    EXPECT_TRUE(VESKSystemdServiceListByMntPath(kVolume, services));
    EXPECT_THAT(services, Contains("payer.service"));
}

TEST_F(DelegatedGroupsOnCurrent, HaveNoOtherUnitStoppedWithTheSlice)
{
    StartPayer("payload/system.slice/dbus.service");
    EXPECT_TRUE(VESKSystemdKillSlice("foo.slice"));
    EXPECT_EQ(ActiveState("payer.service"), "inactive");
    EXPECT_EQ(ActiveState("dbus.service"), "active");
}

} // namespace
} // namespace VeskTest
