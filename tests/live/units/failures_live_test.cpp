// The unit actions on a real systemd, where they fail: who is told as failed.

#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "c_list.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Units = std::vector<std::string>;

TEST(FailuresLive, AFailingServiceIsToldByTheCallersName)
{
    AddUnit("good.service", RunningService());
    AddUnit("bad.service", FailingService());
    Units failed;

    EXPECT_FALSE(VESKSystemdStart({"good", "bad"}, failed));

    EXPECT_THAT(failed, ElementsAre("bad"));
    EXPECT_EQ(ActiveState("good.service"), "active");
}

TEST(FailuresLive, AServiceKilledByASignalIsTold)
{
    AddUnit("bad.service", OneshotService("/bin/sh -c 'kill -SEGV $$$$'"));
    Units failed;
    EXPECT_FALSE(VESKSystemdRestart({"bad.service"}, failed));
    EXPECT_THAT(failed, ElementsAre("bad.service"));
}

TEST(FailuresLive, AServiceThatTimesOutIsTold)
{
    AddUnit("late.service", HangingService().Service("TimeoutStartSec=1"));
    Units failed;
    EXPECT_FALSE(VESKSystemdStart({"late"}, failed));
    EXPECT_THAT(failed, ElementsAre("late"));
}

TEST(FailuresLive, AnUnknownUnitIsToldByEveryAction)
{
    Units failed;
    EXPECT_FALSE(VESKSystemdStart({"ghost"}, failed));
    EXPECT_FALSE(VESKSystemdStop({"ghost"}, failed));
    EXPECT_FALSE(VESKSystemdRestart({"ghost"}, failed));
    EXPECT_FALSE(VESKSystemdReload({"ghost"}, failed));
    EXPECT_FALSE(VESKSystemdReloadOrRestart({"ghost"}, failed));
    EXPECT_THAT(failed, ElementsAre("ghost", "ghost", "ghost", "ghost", "ghost"));
}

TEST(FailuresLive, AUnitWhoseDependencyFailsIsToldAndTheDependencyIsNot)
{
    AddUnit("base.service", FailingService());
    AddUnit("top.service", RunningService().Unit("Requires=base.service").Unit("After=base.service"));
    Units failed;
    EXPECT_FALSE(VESKSystemdStart({"top"}, failed));
    EXPECT_THAT(failed, ElementsAre("top"));
}

TEST(FailuresLive, ACanceledJobIsAFailureOfItsUnit)
{
    AddUnit("slow.service", HangingService());
    OtherProcess start([] {
        Units failed;
        const bool result = VESKSystemdStart({"slow"}, failed);
        return !result && failed == Units{"slow"} ? 0 : 1;
    });
    ASSERT_TRUE(AwaitActiveState("slow.service", "activating"));

    MustSystemctl({"stop", "slow.service"});

    EXPECT_EQ(start.Wait(), Exited(0));
}

TEST(FailuresLive, AMaskedUnitIsTold)
{
    AddMask("masked.service");
    Units failed;
    EXPECT_FALSE(VESKSystemdStart({"masked"}, failed));
    EXPECT_THAT(failed, ElementsAre("masked"));
}

TEST(FailuresLive, ReloadOfAStoppedServiceIsOnlyQueuedAndSoNoFailure)
{
    AddUnit("foo.service", RunningService().Service("ExecReload=/bin/true"));
    Units failed;
    EXPECT_TRUE(VESKSystemdReload({"foo"}, failed));
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_EQ(ActiveState("foo.service"), "inactive");
}

TEST(FailuresLive, SeveralFailuresOfOneCallAreAllTold)
{
    AddUnit("bad.service", FailingService());
    AddUnit("good.service", RunningService());
    AddUnit("worse.service", FailingService(3));
    CList units({"bad", "good", "worse"});
    CList failed;

    EXPECT_EQ(VESKCSystemdStartGroup(units.Get(), failed.Address()), 0);

    EXPECT_THAT(failed.Items(), UnorderedElementsAre("bad", "worse"));
}

} // namespace
} // namespace VeskTest
