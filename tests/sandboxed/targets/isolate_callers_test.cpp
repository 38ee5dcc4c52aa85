// Isolations and target actions of callers that are not tidy, or that are many threads.

#include <atomic>
#include <chrono>
#include <thread>

#include "disturbance.hpp"
#include "isolate_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Field;
using ::testing::Key;

using Words = std::vector<std::string>;

constexpr const char* kListJobs = "list-jobs --no-legend";
constexpr const char* kThere = "isolate foo.target";
constexpr const char* kBack = "isolate default.target";

using IsolateDisturbed = DisturbedTest<IsolateTest>;

TEST_P(IsolateDisturbed, WaitsForItsStopJobs)
{
    Queue("").Then().Stdout("2 a.service stop running\n").Exit(1).Then().Exit(1);
    spy.OnSecond([] {});
    bool returned = false;

    ExpectNothingLeft(GetParam(), [&] { returned = Isolate(); });

    EXPECT_TRUE(returned);
    EXPECT_EQ(result, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
    EXPECT_EQ(spy.Seconds(), 1);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre(kListJobs, kThere, kListJobs, kListJobs));
    EXPECT_THAT(systemctl.Calls(), Each(Field(&Call::descriptors, ElementsAre(Key(0), Key(1), Key(2)))));
    EXPECT_EQ(script.Calls().size(), 1U);
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin(), Done(), {WaitLine("a.service")}})));
}

TEST_P(IsolateDisturbed, TellsWhySystemctlFailed)
{
    systemctl.OnLeading({"isolate"}).Stdout("one\n").Delay(20).Stderr("two\n").Exit(4);
    bool returned = true;

    ExpectNothingLeft(GetParam(), [&] { returned = Isolate(); });

    EXPECT_FALSE(returned);
    EXPECT_EQ(result, kUntouched);
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                {Begin(),
                                 {Error(kIsolateFile, "vesksystemd: isolate to [foo.target] failed: ret=[4], "
                                                      "reason=[one\n, two\n]")}})));
}

TEST_P(IsolateDisturbed, GivesTheIsolateLockToOthersWhileSystemctlIsolates)
{
    HoldIsolation();
    OtherProcess isolation([this] {
        const Disturbed disturbed(GetParam());
        return Isolate() ? 0 : 1;
    });
    ASSERT_TRUE(AwaitIsolation());

    EXPECT_TRUE(Eventually([] { return IsLockFree(kIsolateLock); }));
    EXPECT_FALSE(IsLockFreeToShare(kOperationLock));
    EXPECT_FALSE(IsLockFree(kExitLock));

    LetIsolationGo();
    EXPECT_EQ(isolation.Wait(), Exited(0));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin(), Done()})));
}

TEST_P(IsolateDisturbed, RunsAnActionAndComesBack)
{
    for (const bool actionResult : {true, false}) {
        systemctl.ForgetCalls();
        Words atAction;
        bool returned = !actionResult;

        ExpectNothingLeft(GetParam(), [&] {
            returned = _VESKSystemdIsolateTargetAction("foo.target", [&] {
                atAction = systemctl.Arguments();
                return actionResult;
            });
        });

        EXPECT_EQ(returned, actionResult);
        EXPECT_THAT(atAction, ElementsAre(kListJobs, kThere, kListJobs));
        EXPECT_THAT(systemctl.Arguments(),
                    ElementsAre(kListJobs, kThere, kListJobs, kListJobs, kBack, kListJobs));
        EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                    {Begin(), Done(), Begin("default.target"), Done("default.target")})));
    }
}

INSTANTIATE_TEST_SUITE_P(By, IsolateDisturbed,
                         ::testing::Values(Disturbance::SignalStorm, Disturbance::IgnoredSigchld,
                                           Disturbance::NoStandardStreams),
                         ::testing::PrintToStringParamName());

constexpr int kThreads = 4;

// Long enough for the others to come in if they could.
constexpr int kWhile = 100;

using IsolateThreads = ThreadsTest<IsolateTest>;

TEST_F(IsolateThreads, IsolateOneAfterTheOther)
{
    systemctl.OnLeading({"isolate"}).Delay(kWhile);
    spy.StopTheClock();
    std::vector<int> outcomes(kThreads, -1);

    ExpectNothingLeftByThreads(kThreads, [&](int number) {
        VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT outcome = kUntouched;
        const bool returned = VESKSystemdIsolateTarget("foo.target", &outcome);
        outcomes.at(static_cast<std::size_t>(number)) = returned ? outcome : -2;
    });

    EXPECT_EQ(outcomes, std::vector<int>(kThreads, VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE));
    Words calls;
    std::vector<LogMatchers> lines;
    for (int number = 0; number < kThreads; ++number) {
        calls.insert(calls.end(), {kListJobs, kThere, kListJobs});
        lines.insert(lines.end(), {Begin(), Done()});
    }
    EXPECT_EQ(systemctl.Arguments(), calls);
    EXPECT_THAT(systemctl.Calls(), Each(Field(&Call::descriptors, ElementsAre(Key(0), Key(1), Key(2)))));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(lines)));
}

TEST_F(IsolateThreads, RunTheirActionsOneAfterTheOther)
{
    std::atomic<int> inside{0};
    std::atomic<int> alone{0};
    std::atomic<int> succeeded{0};

    ExpectNothingLeftByThreads(kThreads, [&](int number) {
        const bool returned = _VESKSystemdIsolateTargetAction("foo.target", [&] {
            ++inside;
            std::this_thread::sleep_for(std::chrono::milliseconds(kWhile));
            alone += inside-- == 1 ? 1 : 0;
            return number % 2 == 0;
        });
        succeeded += returned ? 1 : 0;
    });

    EXPECT_EQ(alone, kThreads);
    EXPECT_EQ(succeeded, kThreads / 2);
    Words calls;
    for (int number = 0; number < kThreads; ++number) {
        calls.insert(calls.end(), {kListJobs, kThere, kListJobs, kListJobs, kBack, kListJobs});
    }
    EXPECT_EQ(systemctl.Arguments(), calls);
}

TEST_F(IsolateThreads, IsolateAndFailEachForItself)
{
    systemctl.On({"isolate", "bad.target"}).Exit(1);
    std::atomic<int> right{0};

    ExpectNothingLeftByThreads(kThreads, [&](int number) {
        const bool good = number % 2 == 0;
        VLIBCErrSetEx(0, "", 0);
        right += VESKSystemdIsolateTarget(good ? "foo.target" : "bad.target", nullptr) == good ? 1 : 0;
        right += VLIBCErrGet() == 0 ? 1 : 0;
        right += VESKSystemdIntIsolateTarget("", nullptr) ? 0 : 1;
        right += VLIBCErrGet() == 0x0D00 ? 1 : 0;
    });

    EXPECT_EQ(right, 4 * kThreads);
}

} // namespace
} // namespace VeskTest
