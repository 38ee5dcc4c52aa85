// Unmounts that lack the memory for one thing.

#include <algorithm>
#include <new>
#include <optional>

#include "boot_step.hpp"
#include "memory_fault.hpp"
#include "unmount_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Matches;

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

    // How often the services were to be started again.
    long EndStarts() const
    {
        const Words steps = Steps();
        return std::count(steps.begin(), steps.end(), kStartEnd);
    }

    // Unmounts with an allocation that fails after the action, counted from there.
    bool EndsWithout(long allocation)
    {
        std::optional<AllocationFault> fault;
        try {
            returned = _VESKSystemdVolumeUnmountAction({kVolume}, [&] {
                fault.emplace(allocation);
                return true;
            });
        } catch (const std::bad_alloc&) {
            returned = false;
        }
        return AllocationFault::Struck();
    }

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

TEST_F(UnmountMemory, ThatIsLackingForTheStartOfTheServicesIsWaitedFor)
{
    const auto notRun = Error("systemd_start.cpp", "vesksystemd: [unmount-volume-end.target] start failed.");
    spy.StopTheClock();
    int waits = 0;
    bool struck = true;
    for (long allocation = 0; struck; ++allocation) {
        Forget();
        struck = EndsWithout(allocation);
        EXPECT_GE(EndStarts(), 1) << "without allocation " << allocation;
        const std::vector<SyslogLine> lines = log.Take();
        if (Matches(Contains(notRun))(lines) && EndStarts() == 1 && returned) {
            waits += 1;
        }
    }
    EXPECT_GT(waits, 5);
}

TEST_F(UnmountMemory, ThatIsLackingForTheQueueDoesNotRepeatAStartThatFailed)
{
    spy.StopTheClock();
    SetBootStep(0);
    systemctl.On({"list-jobs", "--no-legend", "unmount-volume-end.target"})
        .Stdout("7 unmount-volume-end.target stop waiting\n")
        .Exit(1);
    systemctl.On({"start", "unmount-volume-end.target"}).Exit(1);
    const auto noJobs = Error("systemd_job_list.cpp", "vesksystemd: list-jobs failed.");
    int failures = 0;
    bool struck = true;
    for (long allocation = 0; struck; ++allocation) {
        Forget();
        struck = EndsWithout(allocation);
        const std::vector<SyslogLine> lines = log.Take();
        if (Matches(Contains(noJobs))(lines)) {
            EXPECT_EQ(EndStarts(), 1) << "without allocation " << allocation;
            ++failures;
        }
    }
    ClearBootStep();
    EXPECT_GT(failures, 5);
}

} // namespace
} // namespace VeskTest
