// The wait for the stop jobs of an isolation.

#include <chrono>

#include "isolate_ground.hpp"
#include "signal_storm.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Outcome = VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT;

constexpr int kPasses = 300;

// A wait whose seconds take no time, and what the caller's place held at each of them.
class IsolateWait : public IsolateTest
{
protected:
    IsolateWait()
    {
        spy.OnSecond([this] { outcomes.push_back(result); });
    }

    // The readings of the queue, the first of which comes before the isolation; the last one repeats.
    void Readings(const std::vector<std::string>& readings)
    {
        Answering answer = Queue(readings.front());
        for (std::size_t index = 1; index < readings.size(); ++index) {
            answer.Then();
            Jobs(answer, readings[index]);
        }
    }

    std::vector<Outcome> outcomes;
};

constexpr Outcome kDone = VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE;
constexpr Outcome kTimeout = VESK_SYSTEMD_ISOLATE_WAIT_STOP_TIMEOUT;
constexpr Outcome kListFailed = VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED;

TEST_F(IsolateWait, LastsUntilTheNewStopJobsAreGone)
{
    Readings({"", "2 a.service stop running", "2 a.service stop running", "2 a.service stop waiting", ""});

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, kDone);
    EXPECT_THAT(outcomes, ElementsAre(kTimeout, kTimeout, kTimeout));
    EXPECT_EQ(spy.Seconds(), 3);
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder({Begin(), Done(), {WaitLine("a.service"), WaitLine("a.service")}})));
}

TEST_F(IsolateWait, PassesOverTheJobsThatWereThereBefore)
{
    Readings({"1 old.service stop running\n7 older.service start waiting",
              "1 old.service stop running\n7 older.service stop running"});
    EXPECT_TRUE(Isolate());
    EXPECT_EQ(result, kDone);
    EXPECT_EQ(spy.Seconds(), 0);
}

TEST_F(IsolateWait, PassesOverNewJobsThatStopNothing)
{
    Readings(
        {"", "2 a.service start running\n3 b.service restart waiting\n4 c.target verify-active waiting"});
    EXPECT_TRUE(Isolate());
    EXPECT_EQ(result, kDone);
    EXPECT_EQ(spy.Seconds(), 0);
}

TEST_F(IsolateWait, GoesOnForJobsThatAppearLaterOrTakeAnothersPlace)
{
    Readings({"1 a.service stop running", "1 a.service stop running\n2 b.service stop running",
              "3 a.service stop running", "3 a.service stop running\n4 d.service stop waiting", ""});

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, kDone);
    EXPECT_EQ(spy.Seconds(), 3);
    EXPECT_THAT(log.Take(),
                ElementsAreArray(
                    InOrder({Begin(), Done(), {WaitLine("b.service"), WaitLine("a.service, d.service")}})));
}

TEST_F(IsolateWait, NamesTheUnitsInTheOrderOfTheirJobs)
{
    Readings({"",
              "10 ten.service stop waiting\n9 nine.service stop running\n100 z.mount stop waiting\n"
              "11 no.service start waiting",
              ""});
    EXPECT_TRUE(Isolate());
    EXPECT_THAT(log.Take(), Contains(WaitLine("nine.service, ten.service, z.mount")));
}

TEST_F(IsolateWait, GoesOnWhenTheQueueCannotBeReadMeanwhile)
{
    Queue("")
        .Then()
        .Stdout("2 a.service stop running\n")
        .Exit(1)
        .Then()
        .Exit(2)
        .Then()
        .Exit(2)
        .Then()
        .Stdout("2 a.service stop running\n")
        .Exit(1)
        .Then()
        .Exit(1);

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, kDone);
    EXPECT_THAT(outcomes, ElementsAre(kTimeout, kListFailed, kListFailed, kTimeout));
    const auto refused =
        Error("systemd_job_list.cpp", "vesksystemd: Failed to list-jobs, ret=[2], reason=[]");
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder(
                    {Begin(), Done(), {WaitLine("a.service"), refused, QueueLost(), refused, QueueLost()}})));
}

TEST_F(IsolateWait, HasReleasedItsLockAndRemovedItsFlagBefore)
{
    Readings({"", "2 a.service stop running", ""});
    std::vector<bool> seen;
    spy.OnSecond([&] {
        seen = {Exists(kFlag), IsLockFree(kIsolateLock), IsLockFree(kOperationLock), IsLockFree(kExitLock)};
    });
    EXPECT_TRUE(Isolate());
    EXPECT_THAT(seen, ElementsAre(false, true, false, false));
}

TEST_F(IsolateWait, EndsAfterThreeHundredPassesAndReportsBothQueues)
{
    Readings({"1 old.service stop running\n3 older.service start waiting",
              "1 old.service stop running\n2 a.service stop running\n4 b.service stop waiting"});

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, kTimeout);
    EXPECT_EQ(spy.Seconds(), kPasses);
    EXPECT_EQ(systemctl.Calls().size(), 2U + kPasses);
    const auto job = [](unsigned id, const char* unit, bool stop, bool running) {
        VESK::Systemd::JobInfo info;
        info.id = id;
        info.unit = unit;
        info.type = stop ? VESK::Systemd::JobType::Stop : VESK::Systemd::JobType::Start;
        info.state = running ? VESK::Systemd::JobState::Running : VESK::Systemd::JobState::Waiting;
        return Info(kIsolateFile, "vesksystemd: " + info.ToString());
    };
    const LogMatchers report{
        Info(kIsolateFile, "vesksystemd: The following job are still in job lists:"),
        job(1, "old.service", true, true),
        job(2, "a.service", true, true),
        job(4, "b.service", true, false),
        Info(kIsolateFile, "vesksystemd: The following job are alreay in job lists before isolation:"),
        job(1, "old.service", true, true),
        job(3, "older.service", false, false),
        Info(kIsolateFile, "vesksystemd: Isolation didn't wait some running jobs.")};
    const LogMatchers waits(kPasses / 2, WaitLine("a.service, b.service"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({Begin(), Done(), waits, report})));
}

TEST_F(IsolateWait, TellsThatTheLastReadingFailed)
{
    Answering answer = Queue("");
    for (int pass = 1; pass < kPasses; ++pass) {
        answer.Then();
        Jobs(answer, "2 a.service stop running");
    }
    answer.Then().Exit(2);

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, kListFailed);
    const LogMatchers waits(kPasses / 2, WaitLine("a.service"));
    EXPECT_THAT(
        log.Take(),
        ElementsAreArray(InOrder(
            {Begin(),
             Done(),
             waits,
             {Error("systemd_job_list.cpp", "vesksystemd: Failed to list-jobs, ret=[2], reason=[]"),
              QueueLost(), Info(kIsolateFile, "vesksystemd: The following job are still in job lists:"),
              Info(kIsolateFile, "vesksystemd: The following job are alreay in job lists before isolation:"),
              Info(kIsolateFile, "vesksystemd: Isolation didn't wait some running jobs.")}})));
}

TEST_F(IsolateWait, IsDoneWhenTheLastPassFindsNoStopJob)
{
    Answering answer = Queue("");
    for (int pass = 1; pass < kPasses; ++pass) {
        answer.Then();
        Jobs(answer, "2 a.service stop running");
    }
    answer.Then().Exit(1);

    EXPECT_TRUE(Isolate());

    EXPECT_EQ(result, kDone);
    EXPECT_EQ(spy.Seconds(), kPasses - 1);
}

TEST_F(IsolateWait, LetsASecondPassBetweenReadingsThoughSignalsInterruptIt)
{
    Readings({"", "2 a.service stop running", "2 a.service stop running", ""});
    spy.OnSecond(nullptr);
    const auto begin = std::chrono::steady_clock::now();
    {
        const SignalStorm storm;
        EXPECT_TRUE(Isolate());
        EXPECT_GT(SignalStorm::Count(), 0);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    EXPECT_EQ(result, kDone);
    EXPECT_EQ(spy.Seconds(), 2);
    EXPECT_EQ(systemctl.Calls().size(), 5U) << "the isolation and four readings";
}

} // namespace
} // namespace VeskTest
