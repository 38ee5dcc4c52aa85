// Isolations that lack the memory for one thing.

#include <algorithm>

#include "holdings.hpp"
#include "isolate_ground.hpp"
#include "memory_fault.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr const char* kMonitorFile = "status_monitor.cpp";

::testing::Matcher<const SyslogLine&> NoLock()
{
    return Error(kMonitorFile, "Failed to alloc lock: [std::bad_alloc]");
}

bool IsNoLock(const SyslogLine& line)
{
    return line.file == kMonitorFile && line.message.rfind("Failed to alloc lock", 0) == 0;
}

class IsolateMemory : public IsolateTest
{
protected:
    // Isolates with one allocation that fails after so many; whether there was one.
    bool IsolateWithout(long allocation)
    {
        result = kUntouched;
        const AllocationFault fault(allocation);
        returned = VESKSystemdIntIsolateTarget("foo.target", &result);
        return AllocationFault::Struck();
    }

    bool returned = false;
};

TEST_F(IsolateMemory, IsNeededToStartTheStatusMonitor)
{
    VESK::Systemd::StatusMonitor monitor;
    for (const long allocations : {0, 1, 2}) {
        bool started = true;
        {
            const MemoryFor memory(allocations);
            started = monitor.Start();
        }
        EXPECT_FALSE(started) << allocations << ": the lock, its path as an argument, its path";
        EXPECT_THAT(log.Take(), ElementsAre(NoLock()));
    }
    EXPECT_EQ(spy.Forks(), 0);
    EXPECT_TRUE(IsLockFree(kExitLock));
    EXPECT_TRUE(monitor.Start());
}

TEST_F(IsolateMemory, ThatTheStatusMonitorLacksDoesNotKeepTheSystemFromBeingIsolated)
{
    int withoutMonitor = 0;
    const Holdings before = Holdings::Now();
    for (long allocation = 0; IsolateWithout(allocation); ++allocation) {
        EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); })) << allocation;
        EXPECT_EQ(Holdings::Now(), before) << allocation;
        // A process that is exiting has no program any more, but may still have its descriptors.
        EXPECT_TRUE(Eventually([] { return IsLockFree(kIsolateLock) && IsLockFree(kExitLock); }))
            << allocation;
        EXPECT_FALSE(Exists(kFlag)) << allocation;
        const std::vector<SyslogLine> lines = log.Take();
        if (std::any_of(lines.begin(), lines.end(), IsNoLock)) {
            ++withoutMonitor;
            EXPECT_TRUE(returned);
            EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
            EXPECT_THAT(lines, ElementsAreArray(InOrder(
                                   {{NoLock(), Error(kIsolateFile, "Failed to monitor systemd status in "
                                                                   "isolation")},
                                    Begin(),
                                    Done()})));
        }
    }
    EXPECT_GT(withoutMonitor, 0);
    EXPECT_TRUE(returned) << "nothing is lacking any more";
}

} // namespace
} // namespace VeskTest
