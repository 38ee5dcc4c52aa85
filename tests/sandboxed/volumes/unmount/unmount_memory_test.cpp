// Unmounts that lack the memory for one thing.

#include <algorithm>
#include <new>

#include "memory_fault.hpp"
#include "unmount_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UnmountMemory : public UnmountTest
{
protected:
    UnmountMemory()
    {
        AddDependent("a.service");
        AddDependent("b.service");
    }

    // Unmounts with one allocation that fails, a later one each time, until one makes the library log that line.
    // What has been logged then.
    std::vector<SyslogLine> RunUntil(const ::testing::Matcher<const SyslogLine&>& line)
    {
        for (long allocation = 0, struck = 1; struck != 0; ++allocation) {
            Forget();
            struck = RunWithout(allocation) ? 1 : 0;
            std::vector<SyslogLine> lines = log.Take();
            if (std::any_of(lines.begin(), lines.end(), [&](const auto& one) { return line.Matches(one); })) {
                return lines;
            }
        }
        return {};
    }

    bool returned = false;

private:
    void Forget()
    {
        runs = 0;
        systemctl.ForgetCalls();
        VLIBCErrSetEx(0, "", 0);
    }

    bool RunWithout(long allocation)
    {
        const AllocationFault fault(allocation);
        try {
            returned = Run();
        } catch (const std::bad_alloc&) {
            returned = false;
        }
        return AllocationFault::Struck();
    }
};

TEST_F(UnmountMemory, ThatTheStatusMonitorLacksEndsTheUnmountBeforeAnythingIsStopped)
{
    const auto noLock = Error("status_monitor.cpp", "Failed to alloc lock: [std::bad_alloc]");
    EXPECT_THAT(RunUntil(noLock),
                ElementsAre(noLock, Error(kUnmountFile,
                                          "Failed to monitor systemd status in volume unmount action")));
    EXPECT_FALSE(returned);
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

TEST_F(UnmountMemory, ThatIsLackingForTheDependencyOfAUnitLeavesThatUnitOut)
{
    const auto noDependency =
        Error(kUnmountFile, "vesksystemd: Fail to get VolumeDependency in [a.service].");
    const std::vector<SyslogLine> lines = RunUntil(noDependency);
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.front(), noDependency);
    EXPECT_TRUE(returned);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(ReadText(kBeginFile), BeginText("b.service"));
    EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd));
}

} // namespace
} // namespace VeskTest
