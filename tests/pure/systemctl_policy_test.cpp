// The service control policy, on requests and answers alone.
#include <gmock/gmock.h>
#include <map>

#include "core/systemctl_policy.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::Decision;
using VESK::Systemd::JobInfo;
using VESK::Systemd::JobType;
using VESK::Systemd::PassesOverStoppingUnits;
using VESK::Systemd::Request;
using VESK::Systemd::Texts;
using VESK::Systemd::Verdict;

int Booting()
{
    return 0;
}

// A queue of jobs, and the units that were asked for.
class Policy : public ::testing::Test
{
protected:
    Decision Decide(const std::string& verb, const Texts& units, int (*bootStep)() = Booting)
    {
        return ServiceControlDecide(Request{verb, {}, units}, bootStep, [this](const std::string& unit) {
            asked.push_back(unit);
            const auto job = jobs.find(unit);
            return job == jobs.end() ? std::nullopt : std::make_optional(JobOf(unit, job->second));
        });
    }

    static JobInfo JobOf(const std::string& unit, JobType type)
    {
        JobInfo job;
        job.unit = unit;
        job.type = type;
        return job;
    }

    std::map<std::string, JobType> jobs;
    Texts asked;
};

TEST_F(Policy, DecidesByTheFirstJobThatStandsAgainstTheRequest)
{
    jobs = {{"b", JobType::Stop}, {"c", JobType::Start}, {"d", JobType::Start}};
    const Decision decision = Decide("start", {"a", "b", "c", "d"});
    EXPECT_EQ(decision.verdict, Verdict::Refuse);
    EXPECT_EQ(decision.job.unit, "c");
    EXPECT_THAT(asked, ElementsAre("a", "b", "c"));
}

TEST_F(Policy, LetsARequestRunThatNoJobStandsAgainst)
{
    jobs = {{"a", JobType::Stop}, {"b", JobType::Unknown}};
    EXPECT_EQ(Decide("start", {"a", "b", "c"}).verdict, Verdict::Run);
    EXPECT_THAT(asked, ElementsAre("a", "b", "c"));
}

TEST_F(Policy, DecidesByVerbAndType)
{
    const auto verdict = [this](const char* verb, JobType type) {
        jobs = {{"a", type}};
        return Decide(verb, {"a"}).verdict;
    };
    for (const JobType type : {JobType::Unknown, JobType::Start, JobType::Stop}) {
        EXPECT_EQ(verdict("start", type), type == JobType::Start ? Verdict::Refuse : Verdict::Run);
        EXPECT_EQ(verdict("stop", type), type == JobType::Stop ? Verdict::Refuse : Verdict::Run);
        EXPECT_EQ(verdict("restart", type), Verdict::Refuse);
        EXPECT_EQ(verdict("reload", type), Verdict::RunWithoutBlocking);
        EXPECT_EQ(verdict("try-restart", type), Verdict::Run);
    }
}

TEST_F(Policy, HoldsInTheBootStepsZeroToThreeAndFive)
{
    jobs = {{"a", JobType::Start}};
    const auto refuses = [this](int (*bootStep)()) {
        return Decide("start", {"a"}, bootStep).verdict == Verdict::Refuse;
    };
    EXPECT_TRUE(refuses([] { return 0; }));
    EXPECT_TRUE(refuses([] { return 3; }));
    EXPECT_TRUE(refuses([] { return 5; }));
    asked.clear();
    EXPECT_FALSE(refuses([] { return -1; }));
    EXPECT_FALSE(refuses([] { return 4; }));
    EXPECT_FALSE(refuses([] { return 6; }));
    EXPECT_THAT(asked, IsEmpty()) << "nothing is asked where it does not hold";
}

TEST_F(Policy, AsksNothingForAVerbWithoutARule)
{
    const auto unasked = []() -> int {
        ADD_FAILURE() << "no boot step is needed";
        return 0;
    };
    for (const char* verb : {"try-restart", "reload-or-restart", "list-jobs", "Start", "start ", ""}) {
        EXPECT_EQ(Decide(verb, {"a"}, unasked).verdict, Verdict::Run) << verb;
    }
    EXPECT_THAT(asked, IsEmpty());
}

TEST(StoppingUnits, ArePassedOverByTryRestartAndReload)
{
    EXPECT_TRUE(PassesOverStoppingUnits("try-restart"));
    EXPECT_TRUE(PassesOverStoppingUnits("reload"));
    for (const char* verb : {"restart", "reload-or-restart", "start", "stop", ""}) {
        EXPECT_FALSE(PassesOverStoppingUnits(verb)) << verb;
    }
}

} // namespace
} // namespace VeskTest
