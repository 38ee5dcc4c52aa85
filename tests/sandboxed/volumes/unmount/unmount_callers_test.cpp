// Unmounts of callers that are not tidy, or that are many threads.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "disturbance.hpp"
#include "paths.hpp"
#include "unmount_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Key;

using UnmountDisturbed = DisturbedTest<UnmountTest>;

TEST_P(UnmountDisturbed, StopsTheServicesRunsTheActionAndStartsThemAgain)
{
    AddDependent("a.service");
    AddUnit("user.service", "");
    const VolumeUser user(kVolume, "user.service");
    for (const bool actionResult : {true, false}) {
        systemctl.ForgetCalls();
        bool returned = !actionResult;

        ExpectNothingLeft(GetParam(), [&] { returned = Run(actionResult); });

        EXPECT_EQ(returned, actionResult);
        EXPECT_THAT(atAction, ElementsAre(kReload, kStartBegin));
        EXPECT_THAT(Steps(), ElementsAre(kReload, kStartBegin, kStartEnd));
        EXPECT_THAT(systemctl.Calls(), Each(Field(&Call::descriptors, ElementsAre(Key(0), Key(1), Key(2)))));
        EXPECT_EQ(ReadText(kBeginFile), BeginText("a.service user.service"));
        EXPECT_EQ(ReadText(kEndFile), EndText("a.service user.service"));
        EXPECT_THAT(OwnLog(), ElementsAre(StopLine("a.service, user.service")));
    }
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(script.Calls().size(), 2U);
}

TEST_P(UnmountDisturbed, FailsWhenTheManagerDoesNotReload)
{
    systemctl.On({"daemon-reload"}).Delay(20).Exit(1);
    AddDependent("a.service");
    bool returned = true;

    ExpectNothingLeft(GetParam(), [&] { returned = Run(); });

    EXPECT_FALSE(returned);
    EXPECT_EQ(runs, 0);
    EXPECT_THAT(Steps(), ElementsAre(kReload));
    EXPECT_THAT(OwnLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(By, UnmountDisturbed,
                         ::testing::Values(Disturbance::SignalStorm, Disturbance::IgnoredSigchld,
                                           Disturbance::NoStandardStreams),
                         ::testing::PrintToStringParamName());

using UnmountThreads = ThreadsTest<UnmountTest>;

TEST_F(UnmountThreads, UnmountOneAfterTheOther)
{
    constexpr int kThreads = 4;
    AddDependent("a.service");
    std::atomic<int> inside{0};
    std::atomic<int> alone{0};
    std::atomic<int> succeeded{0};

    ExpectNothingLeftByThreads(kThreads, [&](int number) {
        const bool returned = _VESKSystemdVolumeUnmountAction({kVolume}, [&] {
            ++inside;
            // Long enough for the others to come in if they could.
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            alone += inside-- == 1 ? 1 : 0;
            return number % 2 == 0;
        });
        succeeded += returned ? 1 : 0;
    });

    EXPECT_EQ(alone, kThreads);
    EXPECT_EQ(succeeded, kThreads / 2);
    Words steps;
    for (int number = 0; number < kThreads; ++number) {
        steps.insert(steps.end(), {kReload, kStartBegin, kStartEnd});
    }
    EXPECT_EQ(Steps(), steps);
    EXPECT_THAT(systemctl.Calls(), Each(Field(&Call::descriptors, ElementsAre(Key(0), Key(1), Key(2)))));
    EXPECT_THAT(OwnLog(), ElementsAre(StopLine("a.service"), StopLine("a.service"), StopLine("a.service"),
                                      StopLine("a.service")));
}

TEST_F(UnmountThreads, UnmountAndIsolateOneAfterTheOther)
{
    constexpr int kThreads = 4;
    AddDependent("a.service");
    systemctl.On({"list-jobs", "--no-legend"}).Exit(1);
    std::atomic<int> succeeded{0};

    ExpectNothingLeftByThreads(kThreads, [&](int number) {
        const bool returned = number % 2 == 0
                                  ? _VESKSystemdVolumeUnmountAction({kVolume}, [] { return true; })
                                  : VESKSystemdIsolateTarget("foo.target", nullptr);
        succeeded += returned ? 1 : 0;
    });

    EXPECT_EQ(succeeded, kThreads);
    EXPECT_FALSE(Exists(kFlag));
    const Words calls = systemctl.Arguments();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "isolate foo.target"), 2);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), kStartEnd), 2);
}

} // namespace
} // namespace VeskTest
