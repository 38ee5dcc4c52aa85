// Which cgroup, unit and slice holds a process.

#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>
#include <unistd.h>

#include "call_faults.hpp"
#include "children.hpp"
#include "grouped_locale.hpp"
#include "shown_file.hpp"
#include "slices_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kPathnameFile = "systemd_cgroup_pathname_get.cpp";
constexpr const char* kMonitorGetFile = "systemd_cgroup_monitor_slice_get.cpp";

const std::string kOwnFile = "/proc/" + std::to_string(getpid()) + "/cgroup";

std::string Repeated(const std::string& text, int times)
{
    std::string all;
    for (int time = 0; time < times; ++time) {
        all += text;
    }
    return all;
}

class Pathname : public SlicesTest
{
protected:
    bool Get(const std::string& text, const std::string& hierarchy = "name=systemd")
    {
        const ShownFile file(kOwnFile, text);
        return VESKSystemdCgroupPathnameGet(getpid(), hierarchy, path);
    }

    void ExpectPath(const std::string& text, const std::string& expected)
    {
        path = "before";
        EXPECT_TRUE(Get(text)) << text.substr(0, 80);
        EXPECT_EQ(path, expected);
    }

    void ExpectNone(const std::string& text)
    {
        path = "before";
        EXPECT_FALSE(Get(text)) << text.substr(0, 80);
        EXPECT_EQ(path, "before");
    }

    std::string path;
};

TEST_F(Pathname, IsTheThirdFieldOfTheHierarchysLine)
{
    const std::string text = "12:cpu,cpuacct:/cpu.slice\n"
                             "2:name=veskmonitor:/m.slice\n"
                             "1:name=systemd:/system.slice/foo.service\n"
                             "0::/unified\n";
    ExpectPath(text, "/system.slice/foo.service");
    EXPECT_TRUE(Get(text, "name=veskmonitor"));
    EXPECT_EQ(path, "/m.slice");
    EXPECT_TRUE(Get(text, "cpu,cpuacct"));
    EXPECT_EQ(path, "/cpu.slice");
    EXPECT_TRUE(Get(text, ""));
    EXPECT_EQ(path, "/unified");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Pathname, IsNotThereForAHierarchyThatIsNotNamedExactlySo)
{
    for (const char* hierarchy : {"systemd", "name=system", "name=systemd2", "NAME=SYSTEMD", "cpu", "1"}) {
        EXPECT_FALSE(Get("1:name=systemd:/a.slice\n2:cpu,cpuacct:/\n", hierarchy)) << hierarchy;
    }
    ExpectNoError();
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Pathname, IsThatOfTheFirstLineThatFits)
{
    ExpectPath("1:name=systemd:/first\n2:name=systemd:/second\n", "/first");
}

TEST_F(Pathname, NeedsExactlyThreeFields)
{
    ExpectNone("1:name=systemd\n");
    ExpectNone("1:name=systemd:/a:b\n");
    ExpectNone("name=systemd\n");
    ExpectNone("name=systemd:/a\n");
    ExpectNone("\n \n:::\n");
    ExpectNone("");
    ExpectPath("1:name=systemd\n1:name=systemd:/a:b\n\n1:name=systemd:/c\n", "/c");
    ExpectPath("1:name=systemd:", "");
}

TEST_F(Pathname, IsReadWithoutALineFeedAndWithoutBlanksAroundTheLine)
{
    ExpectPath("1:name=systemd:/a", "/a");
    ExpectPath(" \t1:name=systemd:/a b \r\n", "/a b");
}

TEST_F(Pathname, IsFoundInHugeFiles)
{
    ExpectPath(Repeated(":", 100000) + "\n1:name=systemd:/" + std::string(1000000, 'x') + "\n",
               "/" + std::string(1000000, 'x'));
    ExpectPath(Repeated("7:name=other:/a\n", 10000) + "1:name=systemd:/last", "/last");
    ExpectNone(std::string(100000, '\0'));
}

TEST_F(Pathname, OfAProcessThatDoesNotExistIsNotThere)
{
    path = "before";
    for (const int pid : {0, -1, INT_MIN, INT_MAX}) {
        EXPECT_FALSE(VESKSystemdCgroupPathnameGet(pid, "name=systemd", path)) << pid;
        EXPECT_FALSE(VESKSystemdCgroupPathnameGet(pid, "", path)) << pid;
    }
    EXPECT_EQ(path, "before");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(Pathname, IsThatOfTheKernelsOwnFile)
{
    EXPECT_TRUE(VESKSystemdCgroupPathnameGet(getpid(), "", path));
    EXPECT_EQ(path.substr(0, 1), "/");
}

TEST_F(Pathname, DoesNotDependOnHowTheProgramsLocaleWritesNumbers)
{
    pid_t pid = 0;
    while (pid < 10) {
        const OtherProcess probe([] { return 0; });
        pid = probe.Pid();
    }
    const OtherProcess child([] { return Eventually([] { return false; }) ? 0 : 1; });
    const ShownFile file("/proc/" + std::to_string(child.Pid()) + "/cgroup", "1:name=systemd:/a\n");
    const GroupedLocale locale;

    EXPECT_TRUE(VESKSystemdCgroupPathnameGet(child.Pid(), "name=systemd", path));
    EXPECT_EQ(path, "/a");
}

TEST_F(Pathname, IsNotThereAfterAnExceptionWhichIsLogged)
{
    const OpenFault fault("/cgroup", []() -> int { throw std::runtime_error("no luck: %s"); });
    EXPECT_FALSE(VESKSystemdCgroupPathnameGet(getpid(), "name=systemd", path));
    EXPECT_THAT(log.Take(), ElementsAre(Error(kPathnameFile, "Exception: no luck: %s")));
}

class UnitOfProcess : public SlicesTest
{
protected:
    void ExpectUnit(const std::string& path, const std::string& expected)
    {
        const ShownFile file(kOwnFile, "2:name=veskmonitor:/m.slice\n1:name=systemd:" + path + "\n0::/\n");
        std::string unit = "before";
        EXPECT_TRUE(VESKSystemdGetByPid(getpid(), unit)) << path;
        EXPECT_EQ(unit, expected) << path;
        EXPECT_THAT(log.Take(), IsEmpty());
        ExpectNoError();
    }
};

TEST_F(UnitOfProcess, IsTheLastPartOfItsPath)
{
    ExpectUnit("/system.slice/foo.service", "foo.service");
    ExpectUnit("/a.slice/a-b.slice/foo@x.y.scope", "foo@x.y.scope");
    ExpectUnit("/system.slice", "system.slice");
    ExpectUnit("/user.slice/user-1000.slice/user@1000.service/app.slice/a\\x2db.service", "a\\x2db.service");
    ExpectUnit("foo.service", "foo.service");
    ExpectUnit("/a.slice/.", ".");
}

TEST_F(UnitOfProcess, LeavesTheResultAloneWhenTheLastPartHasNoDot)
{
    ExpectUnit("/", "before");
    ExpectUnit("/machine", "before");
    ExpectUnit("/system.slice/payload", "before");
    ExpectUnit("/system.slice/foo.service/", "before");
    ExpectUnit("", "before");
    ExpectUnit("//", "before");
}

TEST_F(UnitOfProcess, IsNotThereForAProcessThatSystemdDoesNotTrack)
{
    const ShownFile file(kOwnFile, "2:name=veskmonitor:/m.slice/a.service\n0::/b.service\n");
    std::string unit = "before";
    EXPECT_FALSE(VESKSystemdGetByPid(getpid(), unit));
    EXPECT_FALSE(VESKSystemdGetByPid(INT_MAX, unit));
    EXPECT_EQ(unit, "before");
}

class MonitoredSlice : public SlicesTest
{
protected:
    static ShownFile Showing(const std::string& path)
    {
        return {kOwnFile, "3:name=systemd:/other.slice/a.service\n2:name=veskmonitor:" + path + "\n"};
    }
    static void ExpectSlice(const std::string& path, const std::string& expected)
    {
        const ShownFile file = Showing(path);
        std::string slice;
        EXPECT_TRUE(VESKSystemdCgroupMonitorSliceGet(slice)) << path;
        EXPECT_EQ(slice, expected);
    }
    void ExpectNone(const std::string& path)
    {
        const ShownFile file = Showing(path);
        std::string slice = "before";
        EXPECT_FALSE(VESKSystemdCgroupMonitorSliceGet(slice)) << path;
        EXPECT_EQ(slice, "before");
        ExpectNoError();
        EXPECT_THAT(log.Take(), IsEmpty());
    }
    static int GetInC(std::vector<char>& buffer)
    {
        return VESKCSystemdCgroupMonitorSliceGet(buffer.data(), static_cast<int>(buffer.size()));
    }
};

TEST_F(MonitoredSlice, IsTheFirstPartOfThePath)
{
    ExpectSlice("/a.slice", "a.slice");
    ExpectSlice("/a.slice/foo.service", "a.slice");
    ExpectSlice("/a-b.c.slice/x/y", "a-b.c.slice");
    ExpectSlice("anything/a.slice", "a.slice");
}

TEST_F(MonitoredSlice, IsNotThereForAnythingElse)
{
    for (const char* path : {"/", "", "/a.service", "/a.service/b.slice", "/slice", "/a.slice.d", "/a.Slice",
                             "a.slice", "//a.slice"}) {
        ExpectNone(path);
    }
    const ShownFile file(kOwnFile, "3:name=systemd:/other.slice\n");
    std::string slice;
    EXPECT_FALSE(VESKSystemdCgroupMonitorSliceGet(slice));
}

TEST_F(MonitoredSlice, IsCopiedToABufferThatItFitsInto)
{
    const ShownFile file = Showing("/a.slice/foo.service");
    std::vector<char> buffer(8, '#');
    EXPECT_EQ(GetInC(buffer), 1);
    EXPECT_THAT(buffer, ElementsAre('a', '.', 's', 'l', 'i', 'c', 'e', '\0'));
    std::vector<char> larger(10, '#');
    EXPECT_EQ(GetInC(larger), 1);
    EXPECT_THAT(larger, ElementsAre('a', '.', 's', 'l', 'i', 'c', 'e', '\0', '#', '#'));
    ExpectNoError();
}

TEST_F(MonitoredSlice, IsNotCopiedToABufferThatIsTooSmall)
{
    const ShownFile file = Showing("/a.slice/foo.service");
    for (const size_t size : {1U, 7U}) {
        VLIBCErrSetEx(0, "", 0);
        std::vector<char> buffer(size, '#');
        EXPECT_EQ(GetInC(buffer), 0);
        EXPECT_THAT(buffer, Each('#'));
        ExpectError(kBufferTooSmall, kMonitorGetFile);
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(MonitoredSlice, IsRefusedWithoutABuffer)
{
    char buffer = '#';
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceGet(nullptr, 0), 0);
    ExpectError(kInvalidArgument, kMonitorGetFile);
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceGet(&buffer, 0), 0);
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceGet(&buffer, -1), 0);
    EXPECT_EQ(VESKCSystemdCgroupMonitorSliceGet(&buffer, INT_MIN), 0);
    EXPECT_EQ(buffer, '#');
    const auto noSize = RefusedArgument(kMonitorGetFile, "0 < cbSlice");
    EXPECT_THAT(log.Take(),
                ElementsAre(RefusedArgument(kMonitorGetFile, "nullptr != szSlice"), noSize, noSize, noSize));
}

TEST_F(MonitoredSlice, IsNotThereInCOutsideOfAnyWithoutAnError)
{
    const ShownFile file = Showing("/");
    std::vector<char> buffer(8, '#');
    EXPECT_EQ(GetInC(buffer), 0);
    EXPECT_THAT(buffer, Each('#'));
    ExpectNoError();
}

TEST_F(MonitoredSlice, IsNotThereInCAfterAnyException)
{
    const OpenFault fault("/cgroup", []() -> int { throw 1; });
    std::vector<char> buffer(8, '#');
    EXPECT_EQ(GetInC(buffer), 0);
}

TEST_F(MonitoredSlice, IsReadThroughInterruptions)
{
    const ShownFile file = Showing("/a.slice");
    const ReadFault fault(EINTR, 3);
    std::string slice;
    EXPECT_TRUE(VESKSystemdCgroupMonitorSliceGet(slice));
    EXPECT_EQ(slice, "a.slice");
}

} // namespace
} // namespace VeskTest
