// The queue of a real systemd, with several real jobs in it.

#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "boot_step.hpp"
#include "journal_capture.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::UnorderedElementsAre;
using VESK::Systemd::JobInfo;

// Three jobs: a start that runs, one that waits for it, and a stop that runs. The queue knows units by their
// full names only.
class JobsLive : public ::testing::Test
{
protected:
    void SetUp() override
    {
        AddUnit("starting.service", HangingService());
        AddUnit("waiting.service", RunningService().Unit("After=starting.service"));
        AddUnit("stopping.service", SlowToStopService(600));
        MustSystemctl({"start", "stopping.service"});
        ASSERT_TRUE(QueueJob("start", "starting.service"));
        ASSERT_TRUE(QueueJob("start", "waiting.service"));
        ASSERT_TRUE(QueueJob("stop", "stopping.service"));
        ASSERT_TRUE(AwaitActiveState("starting.service", "activating"));
        ASSERT_TRUE(AwaitActiveState("stopping.service", "deactivating"));
    }
};

std::string Text(const JobInfo& job)
{
    std::string type;
    std::string state;
    EXPECT_TRUE(VESK::Systemd::JobStringMap::TypeToString(job.type, type));
    EXPECT_TRUE(VESK::Systemd::JobStringMap::StateToString(job.state, state));
    return job.unit + " " + type + " " + state;
}

TEST_F(JobsLive, TheListHoldsEveryJobUnderItsId)
{
    std::map<unsigned int, JobInfo> jobs;
    ASSERT_TRUE(VESKSystemdIntJobList(jobs));

    std::vector<std::string> texts;
    for (const auto& [id, job] : jobs) {
        EXPECT_EQ(job.id, id);
        EXPECT_NE(id, 0U);
        texts.push_back(Text(job));
    }
    EXPECT_THAT(texts, UnorderedElementsAre("starting.service start running", "waiting.service start waiting",
                                            "stopping.service stop running"));
}

TEST_F(JobsLive, AUnitsJobIsFoundAndAUnitWithoutOneHasNone)
{
    JobInfo info;
    ASSERT_TRUE(VESKSystemdIntJobGet("stopping.service", info));
    EXPECT_EQ(Text(info), "stopping.service stop running");
    EXPECT_FALSE(VESKSystemdIntJobGet("dbus.service", info));

    EXPECT_TRUE(VESKSystemdIsJobEnqueued("waiting"));
    EXPECT_EQ(VESKCSystemdIsJobEnqueued("starting"), 1);
    EXPECT_EQ(VESKCSystemdIsJobEnqueued("dbus"), 0);
}

class JobsOnCurrent : public JobsLive
{
};

TEST_F(JobsOnCurrent, AUnitsJobIsFoundByItsShortName)
{
    JobInfo info;
    ASSERT_TRUE(VESKSystemdIntJobGet("stopping", info));
    EXPECT_EQ(Text(info), "stopping.service stop running");
}

TEST_F(JobsLive, WhileTheSystemBootsASecondStartIsRefused)
{
    SetBootStep(0);
    JournalCapture journal;
    std::vector<std::string> failed;

    EXPECT_FALSE(VESKSystemdStart({"starting.service"}, failed));

    EXPECT_THAT(failed, ::testing::ElementsAre("starting.service"));
    EXPECT_THAT(journal.Take(),
                Contains(Info("systemd_systemctl.cpp", "vesksystemd: Skip execute by service control policy: "
                                                       "[/usr/bin/systemctl start starting.service]")));
}

TEST_F(JobsLive, AReloadPassesOverAUnitThatIsGoingToStop)
{
    std::vector<std::string> failed;
    EXPECT_TRUE(VESKSystemdReload({"stopping.service"}, failed));
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_EQ(ActiveState("stopping.service"), "deactivating");
}

TEST(UnitListsLive, HoldTheUnitFilesOfTheirType)
{
    AddUnit("mine.service", RunningService());
    std::vector<std::string> services;
    std::vector<std::string> targets;
    std::vector<std::string> names;

    EXPECT_TRUE(VESKSystemdListUnits(services, "service"));
    EXPECT_TRUE(VESKSystemdListUnits(targets, "target"));
    EXPECT_TRUE(VESKSystemdServiceList(names));

    EXPECT_THAT(services, IsSupersetOf({"mine.service", "dbus.service"}));
    EXPECT_THAT(services, Not(Contains("multi-user.target")));
    EXPECT_THAT(targets, Contains("multi-user.target"));
    EXPECT_THAT(names, IsSupersetOf({"mine", "dbus"}));
}

} // namespace
} // namespace VeskTest
