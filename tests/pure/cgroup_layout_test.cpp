// Where control groups are for either systemd, and what their paths tell.

#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <tuple>
#include <vesksystemd.hpp>

#include "resource/cgroup_layout.hpp"

namespace VeskTest
{
namespace
{

using namespace VESK::Systemd;
using ::testing::ElementsAre;

constexpr CgroupMount kMounts[] = {CgroupMount::None, CgroupMount::V1, CgroupMount::V2};

// Folder, name of the hierarchy, file of members, whether slices are nested.
using Tree = std::tuple<std::string, std::string, std::string, bool>;

Tree Told(const CgroupTree& tree)
{
    return {tree.strFolder, tree.strHierarchy, tree.strMembers, tree.blNested};
}

Tree Unified(const std::string& folder)
{
    return {folder, "", "cgroup.procs", true};
}

const Tree kPlatformsSystemd{"/sys/fs/cgroup/systemd", "name=systemd", "tasks", false};
const Tree kPlatformsMonitor{"/sys/fs/cgroup/veskmonitor", "name=veskmonitor", "tasks", false};
const Tree kNamedSystemd{"/sys/fs/cgroup/systemd", "name=systemd", "tasks", true};

void ForAllMounts(const std::function<void(const CgroupMounts&)>& act)
{
    for (const CgroupMount root : kMounts) {
        for (const CgroupMount systemd : kMounts) {
            for (const CgroupMount monitor : kMounts) {
                SCOPED_TRACE(std::to_string(static_cast<int>(root)) +
                             std::to_string(static_cast<int>(systemd)) +
                             std::to_string(static_cast<int>(monitor)));
                act({root, systemd, monitor});
            }
        }
    }
}

TEST(CgroupTrees, OfThePlatformAreTheSameWhateverIsMounted)
{
    ForAllMounts([](const CgroupMounts& mounts) {
        EXPECT_EQ(Told(SystemdTreeOf(SystemdKind::Platform, mounts)), kPlatformsSystemd);
        EXPECT_EQ(Told(MonitorTreeOf(SystemdKind::Platform, mounts)), kPlatformsMonitor);
    });
}

Tree ExpectedSystemd(const CgroupMounts& mounts)
{
    if (mounts.root == CgroupMount::V2) {
        return Unified("/sys/fs/cgroup");
    }
    switch (mounts.systemd) {
    case CgroupMount::V1:
        return kNamedSystemd;
    case CgroupMount::V2:
        return Unified("/sys/fs/cgroup/systemd");
    case CgroupMount::None:
        break;
    }
    return Unified("/sys/fs/cgroup/unified");
}

TEST(CgroupTrees, OfTodaysSystemdAreWhereTheyAreMounted)
{
    ForAllMounts([](const CgroupMounts& mounts) {
        EXPECT_EQ(Told(SystemdTreeOf(SystemdKind::Current, mounts)), ExpectedSystemd(mounts));
    });
}

TEST(CgroupTrees, OfMonitoredSlicesAreSystemdsWhereThereAreNoOthers)
{
    ForAllMounts([](const CgroupMounts& mounts) {
        EXPECT_EQ(Told(MonitorTreeOf(SystemdKind::Current, mounts)),
                  mounts.monitor == CgroupMount::V1 ? kPlatformsMonitor : ExpectedSystemd(mounts));
    });
}

class CgroupLine : public ::testing::TestWithParam<SystemdKind>
{
protected:
    static std::string Path(const std::string& line, const std::string& hierarchy,
                            SystemdKind kind = GetParam())
    {
        std::string path = "before";
        return CgroupLineParse(line, hierarchy, path, kind) ? path : path + ", none";
    }
};

INSTANTIATE_TEST_SUITE_P(Kind, CgroupLine, ::testing::Values(SystemdKind::Platform, SystemdKind::Current),
                         [](const auto& tested) {
                             return tested.param == SystemdKind::Platform ? "Platform" : "Current";
                         });

TEST_P(CgroupLine, TellsThePathInItsHierarchy)
{
    EXPECT_EQ(Path("0::/system.slice/foo.service", ""), "/system.slice/foo.service");
    EXPECT_EQ(Path("1:name=systemd:/a.slice", "name=systemd"), "/a.slice");
    EXPECT_EQ(Path("4:cpu,cpuacct:/", "cpu,cpuacct"), "/");
    EXPECT_EQ(Path(" 0::/a b \r", ""), "/a b");
    EXPECT_EQ(Path("0::", ""), "");
}

TEST_P(CgroupLine, TellsNothingOfAnotherHierarchy)
{
    EXPECT_EQ(Path("1:name=systemd:/a", ""), "before, none");
    EXPECT_EQ(Path("0::/a", "name=systemd"), "before, none");
    EXPECT_EQ(Path("1:name=systemd2:/a", "name=systemd"), "before, none");
}

TEST_P(CgroupLine, NeedsThreeFields)
{
    for (const char* line : {"", " ", ":", "0:", "0:/a", "name=systemd", "/a"}) {
        EXPECT_EQ(Path(line, ""), "before, none") << line;
    }
}

TEST(CgroupLineOfThePlatform, HasNoMoreThanThreeFields)
{
    std::string path = "before";
    EXPECT_FALSE(CgroupLineParse("0::/a:b", "", path, SystemdKind::Platform));
    EXPECT_FALSE(CgroupLineParse(":::", "", path, SystemdKind::Platform));
    EXPECT_EQ(path, "before");
    EXPECT_TRUE(CgroupLineParse("0::/a (deleted)", "", path, SystemdKind::Platform));
    EXPECT_EQ(path, "/a (deleted)");
}

TEST(CgroupLineOfTodaysSystemd, MayHaveColonsInItsPath)
{
    std::string path;
    EXPECT_TRUE(
        CgroupLineParse("0::/system.slice/dbus-:1.2-org.foo@0.service", "", path, SystemdKind::Current));
    EXPECT_EQ(path, "/system.slice/dbus-:1.2-org.foo@0.service");
    EXPECT_TRUE(CgroupLineParse("1:name=systemd:/a:b:", "name=systemd", path, SystemdKind::Current));
    EXPECT_EQ(path, "/a:b:");
}

TEST(CgroupLineOfTodaysSystemd, LosesTheMarkOfAGroupThatIsGone)
{
    std::string path;
    EXPECT_TRUE(CgroupLineParse("0::/a.slice/x.service (deleted)", "", path, SystemdKind::Current));
    EXPECT_EQ(path, "/a.slice/x.service");
    EXPECT_TRUE(CgroupLineParse("0::/a (deleted)/b", "", path, SystemdKind::Current));
    EXPECT_EQ(path, "/a (deleted)/b");
    EXPECT_TRUE(CgroupLineParse("0::(deleted)", "", path, SystemdKind::Current));
    EXPECT_EQ(path, "(deleted)");
}

Texts Parts(const std::string& path)
{
    Texts parts;
    Split(path, parts, "/");
    return parts;
}

std::string UnitOf(const std::string& path, SystemdKind kind)
{
    return CgroupUnitGet(Parts(path), kind);
}

TEST(CgroupUnitOfThePlatform, IsTheLastPartIfItHasADot)
{
    EXPECT_EQ(UnitOf("/a.slice/foo.service", SystemdKind::Platform), "foo.service");
    EXPECT_EQ(UnitOf("/a.slice/foo.service/b.c", SystemdKind::Platform), "b.c");
    EXPECT_EQ(UnitOf("/a.slice/foo.service/payload", SystemdKind::Platform), "");
    EXPECT_EQ(UnitOf("foo.service", SystemdKind::Platform), "foo.service");
    EXPECT_EQ(UnitOf("/a.slice/_cpu.service", SystemdKind::Platform), "_cpu.service");
    EXPECT_EQ(UnitOf("/", SystemdKind::Platform), "");
    EXPECT_EQ(UnitOf("", SystemdKind::Platform), "");
}

std::string CurrentUnit(const std::string& path)
{
    return UnitOf(path, SystemdKind::Current);
}

TEST(CgroupUnitOfTodaysSystemd, IsTheFirstThatIsNoSlice)
{
    EXPECT_EQ(CurrentUnit("/system.slice/foo.service"), "foo.service");
    EXPECT_EQ(CurrentUnit("/a.slice/a-b.slice/a\\x2db@c.d.service"), "a\\x2db@c.d.service");
    EXPECT_EQ(CurrentUnit("/init.scope"), "init.scope");
    EXPECT_EQ(CurrentUnit("/user.slice/user-1000.slice/session-1.scope"), "session-1.scope");
}

TEST(CgroupUnitOfTodaysSystemd, HoldsTheGroupsThatAServiceMakes)
{
    EXPECT_EQ(CurrentUnit("/system.slice/systemd-udevd.service/udev"), "systemd-udevd.service");
    EXPECT_EQ(CurrentUnit("/machine.slice/systemd-nspawn@m.service/payload/system.slice/foo.service"),
              "systemd-nspawn@m.service");
    EXPECT_EQ(CurrentUnit("/machine.slice/libpod-1.scope/container/init.scope"), "libpod-1.scope");
}

TEST(CgroupUnitOfTodaysSystemd, IsTheSliceOfAProcessInNoOther)
{
    EXPECT_EQ(CurrentUnit("/a.slice"), "a.slice");
    EXPECT_EQ(CurrentUnit("/a.slice/a-b.slice"), "a-b.slice");
    EXPECT_EQ(CurrentUnit("/a.slice/by.hand"), "a.slice");
}

TEST(CgroupUnitOfTodaysSystemd, IsAUsersOwn)
{
    const std::string manager = "/user.slice/user-1000.slice/user@1000.service";
    EXPECT_EQ(CurrentUnit(manager + "/app.slice/app-a.slice/a.service"), "a.service");
    EXPECT_EQ(CurrentUnit(manager + "/init.scope"), "init.scope");
    EXPECT_EQ(CurrentUnit(manager + "/app.slice"), "app.slice");
    EXPECT_EQ(CurrentUnit(manager + "/app.slice/a.service/payload"), "a.service");
    EXPECT_EQ(CurrentUnit(manager), "user@1000.service");
    EXPECT_EQ(CurrentUnit(manager + "/payload"), "user@1000.service");
}

TEST(CgroupUnitOfTodaysSystemd, IsNoneOutsideOfSystemdsGroups)
{
    for (const char* path : {"", "/", "//", "/docker/1.scope", "/lxc.payload/system.slice/foo.service",
                             "/../foo.service", "/machine"}) {
        EXPECT_EQ(CurrentUnit(path), "") << path;
    }
}

TEST(CgroupUnitOfTodaysSystemd, MayBeCalledAsAFileOfTheKernels)
{
    EXPECT_EQ(CurrentUnit("/system.slice/_cpu.service"), "cpu.service");
    EXPECT_EQ(CurrentUnit("/system.slice/__a.service/_b"), "_a.service");
}

Texts UnitsOf(const Texts& groups, SystemdKind kind)
{
    Texts units;
    for (const std::string& group : groups) {
        CgroupUnitAdd(group, units, kind);
    }
    return units;
}

const Texts kGroups = {"/x.service",
                       "/x.service/payload",
                       "/a-b.slice",
                       "/a-b.slice/y.service/init.scope",
                       "/a-b.slice/hand",
                       "/hand",
                       "/user@1.service/z.service"};

TEST(CgroupUnitsOfASlice, AreThePlatformsFolders)
{
    EXPECT_THAT(UnitsOf(kGroups, SystemdKind::Platform),
                ElementsAre("x.service", "payload", "a-b.slice", "init.scope", "hand", "hand", "z.service"));
}

TEST(CgroupUnitsOfASlice, AreThoseThatTodaysSystemdKnowsOnceEach)
{
    EXPECT_THAT(UnitsOf(kGroups, SystemdKind::Current),
                ElementsAre("x.service", "a-b.slice", "y.service", "user@1.service"));
}

const CgroupTree kFlat{"/flat", "name=flat", "tasks", false};
const CgroupTree kNested{"/nested", "", "cgroup.procs", true};

TEST(CgroupSlice, IsTheFirstPartWhereSlicesAreNotNested)
{
    EXPECT_EQ(CgroupSliceGet(kFlat, Parts("/a.slice/a-b.slice/x.service")), "a.slice");
    EXPECT_EQ(CgroupSliceGet(kFlat, Parts("/a.service/b.slice")), "");
    EXPECT_EQ(CgroupSliceGet(kFlat, Parts("a.slice")), "");
}

TEST(CgroupSlice, IsTheInnermostWhereTheyAre)
{
    EXPECT_EQ(CgroupSliceGet(kNested, Parts("/a.slice/a-b.slice/x.service")), "a-b.slice");
    EXPECT_EQ(CgroupSliceGet(kNested, Parts("/a.slice/a-b.slice")), "a-b.slice");
    EXPECT_EQ(CgroupSliceGet(kNested, Parts("/system.slice/x.service")), "system.slice");
    EXPECT_EQ(CgroupSliceGet(kNested, Parts("/user.slice/user-1.slice/user@1.service/app.slice/x.service")),
              "user-1.slice");
    for (const char* path : {"", "/", "/init.scope", "/x.service/b.slice", "/docker/a.slice", "a.slice"}) {
        EXPECT_EQ(CgroupSliceGet(kNested, Parts(path)), "") << path;
    }
}

TEST(CgroupSliceFolder, IsInTheFoldersOfTheSlicesThatItIsIn)
{
    EXPECT_EQ(CgroupSliceFolder(kNested, "a.slice"), "/nested/a.slice");
    EXPECT_EQ(CgroupSliceFolder(kNested, "a-b.slice"), "/nested/a.slice/a-b.slice");
    EXPECT_EQ(CgroupSliceFolder(kNested, "a-b-c.d.slice"), "/nested/a.slice/a-b.slice/a-b-c.d.slice");
    EXPECT_EQ(CgroupSliceFolder(kNested, "a\\x2db.slice"), "/nested/a\\x2db.slice");
    EXPECT_EQ(CgroupSliceFolder(kFlat, "a-b.slice"), "/flat/a-b.slice");
}

TEST(CgroupSliceFolder, IsAsItIsForWhatIsNoNameOfASlice)
{
    for (const std::string name : {"-.slice", "-a.slice", "a-.slice", "a--b.slice", "a-b.service", "a-b",
                                   "a.slice/a-b.slice", ".slice", ""}) {
        EXPECT_EQ(CgroupSliceFolder(kNested, name), "/nested/" + name);
    }
}

TEST(CgroupNames, ThatAreNoneOfTheTwoStayAsTheyAre)
{
    EXPECT_EQ(Told(CgroupTreeGet("cpu")), Tree("/sys/fs/cgroup/cpu", "", "tasks", false));
    EXPECT_EQ(Told(CgroupTreeGet("name=systemd")), Tree("/sys/fs/cgroup/name=systemd", "", "tasks", false));
    for (const char* hierarchy : {"", "cpu,cpuacct", "systemd", "veskmonitor", "name=systemd2"}) {
        EXPECT_EQ(CgroupHierarchyGet(hierarchy), hierarchy);
    }
}

} // namespace
} // namespace VeskTest
