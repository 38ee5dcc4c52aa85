#include "paths.hpp"
#include "reasons_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

TEST_F(Reasons, StartByReasonClearsTheLastReasonForgetsFailuresStartsAndReloadsAtTheEnd)
{
    Record("foo.service", "a");

    EXPECT_TRUE(Start("a", {"foo"}));

    EXPECT_THAT(failed, IsEmpty());
    EXPECT_TRUE(Exists(ReasonFolder("foo.service")));
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), IsEmpty());
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo", "start foo", "daemon-reload"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                {StartBegin("foo", "a"), ResetFailed("foo"), Started("foo"), ReloadLog()})));
}

TEST_F(Reasons, StartByOneOfTwoReasonsStartsTheServiceWithoutAReload)
{
    Record("foo.service", "a");
    Record("foo.service", "b");
    EXPECT_TRUE(Start("a", {"foo"}));
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), ElementsAre("b"));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo", "start foo"));
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder({StartBegin("foo", "a"), ResetFailed("foo"), Started("foo")})));
}

TEST_F(Reasons, StartByAReasonThatWasNeverRecordedStartsTheService)
{
    EXPECT_TRUE(Start("a", {"foo"}));
    EXPECT_FALSE(Exists(kRunFolder));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo", "start foo"));
}

TEST_F(Reasons, StartByReasonReloadsOnceForManyServices)
{
    Record("foo.service", "a");
    Record("bar.service", "a");
    EXPECT_TRUE(Start("a", {"foo", "baz", "bar", "foo"}));
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("reset-failed foo baz bar foo", "start foo baz bar foo", "daemon-reload"));
}

TEST_F(Reasons, StartByReasonRefusesUnitsThatAreNoServicesAndStartsTheOthers)
{
    WriteText(ReasonsOf("b.timer/a"), "");
    EXPECT_FALSE(Start("a", {"b.timer", "foo"}));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_internal_lib.cpp");
    EXPECT_THAT(failed, ElementsAre("b.timer"));
    EXPECT_TRUE(Exists(ReasonsOf("b.timer/a")));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo", "start foo"));
}

TEST_F(Reasons, StartByReasonDoesNothingElseWhenNoReasonCouldBeCleared)
{
    MakeFolder(ReasonFile("foo.service", "a"));
    EXPECT_FALSE(Start("a", {"foo", "x.timer"}));
    EXPECT_THAT(failed, ElementsAre("foo", "x.timer"));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({StartBegin("foo, x.timer", "a"),
                                                      NotUnlinked("foo.service", "a", "Is a directory")})));
}

TEST_F(Reasons, StartByReasonFailsForAReasonThatCannotBeRemovedAndStartsTheOthers)
{
    MakeFolder(ReasonFile("foo.service", "a"));
    Record("bar.service", "a");
    EXPECT_FALSE(Start("a", {"foo", "bar"}));
    EXPECT_EQ(VLIBCErrGet(), 0x3900);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_internal_lib.cpp");
    EXPECT_THAT(failed, ElementsAre("foo"));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed bar", "start bar", "daemon-reload"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({StartBegin("foo, bar", "a"),
                                                      NotUnlinked("foo.service", "a", "Is a directory"),
                                                      ResetFailed("bar"), Started("bar"), ReloadLog()})));
}

TEST_F(Reasons, StartByReasonTakesNoNoticeOfResetFailedAndReload)
{
    Record("foo.service", "a");
    systemctl.OnLeading({"reset-failed"}).Stderr("Failed to reset foo.service: no\n").Exit(1);
    systemctl.On({"daemon-reload"}).Exit(1);
    EXPECT_TRUE(Start("a", {"foo"}));
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo", "start foo", "daemon-reload"));
}

TEST_F(Reasons, StartByReasonNamesTheServicesThatSystemctlCouldNotStartAndStillReloads)
{
    Record("foo.service", "a");
    systemctl.OnLeading({"start"}).Stderr("Job for foo.service failed.\n").Exit(1);
    EXPECT_FALSE(Start("a", {"x.timer", "foo", "bar"}));
    EXPECT_THAT(failed, ElementsAre("x.timer", "foo"));
    EXPECT_FALSE(Exists(ReasonFile("foo.service", "a")));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo bar", "start foo bar", "daemon-reload"));
}

TEST_F(Reasons, ReasonRemoveClearsTheLastReasonForgetsFailuresReloadsAndStartsNothing)
{
    Record("foo.service", "a");
    EXPECT_TRUE(Remove("a", {"foo"}));
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), IsEmpty());
    EXPECT_TRUE(Exists(ReasonFolder("foo.service")));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo", "daemon-reload"));
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder({RemoveBegin("foo", "a"), ResetFailed("foo"), ReloadLog()})));
}

TEST_F(Reasons, ReasonRemoveOfOneOfTwoReasonsDoesNotReload)
{
    Record("foo.service", "a");
    Record("foo.service", "b");
    EXPECT_TRUE(Remove("a", {"foo"}));
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), ElementsAre("b"));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed foo"));
}

TEST_F(Reasons, ReasonRemoveTakesNoNoticeOfResetFailedAndReload)
{
    Record("foo.service", "a");
    systemctl.OnAny().Exit(1);
    EXPECT_TRUE(Remove("a", {"foo"}));
    EXPECT_THAT(failed, IsEmpty());
}

TEST_F(Reasons, ReasonRemoveFailsForAReasonThatCannotBeRemovedAndClearsTheOthers)
{
    MakeFolder(ReasonFile("foo.service", "a"));
    Record("bar.service", "a");
    EXPECT_FALSE(Remove("a", {"foo", "x.timer", "bar"}));
    EXPECT_THAT(failed, ElementsAre("foo", "x.timer"));
    EXPECT_FALSE(Exists(ReasonFile("bar.service", "a")));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("reset-failed bar", "daemon-reload"));
}

TEST_F(Reasons, ReasonRemoveDoesNothingElseWhenNoReasonCouldBeCleared)
{
    EXPECT_FALSE(Remove("a", {"x.timer"}));
    EXPECT_THAT(failed, ElementsAre("x.timer"));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(RemoveBegin("x.timer", "a")));
}

} // namespace
} // namespace VeskTest
