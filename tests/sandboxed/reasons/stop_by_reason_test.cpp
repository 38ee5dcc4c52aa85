#include "paths.hpp"
#include "reasons_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(Reasons, StopByReasonRecordsTheReasonUnderTheNormalizedNameAndStopsTheNameAsGiven)
{
    EXPECT_TRUE(Stop("a", {"foo"}));

    EXPECT_THAT(failed, IsEmpty());
    EXPECT_THAT(ListFolder(kReasons), ElementsAre("foo.service"));
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), ElementsAre("a"));
    EXPECT_EQ(ReadText(ReasonFile("foo.service", "a")), "");
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo", "daemon-reload"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({StopBegin("foo", "a"), Stopped("foo"), ReloadLog()})));
}

TEST_F(Reasons, StopByReasonHasTheFileBeforeTheStopAndReloadsAfterIt)
{
    systemctl.On({"stop", "foo"}).WaitForFile(ReasonFile("foo.service", "a")).Exit(0);
    EXPECT_TRUE(Stop("a", {"foo"}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo", "daemon-reload"));
}

TEST_F(Reasons, StopByReasonReloadsOnceForManyServices)
{
    EXPECT_TRUE(Stop("a", {"foo", "bar.service", "baz"}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo bar.service baz", "daemon-reload"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({StopBegin("foo, bar.service, baz", "a"),
                                                      Stopped("foo, bar.service, baz"), ReloadLog()})));
}

TEST_F(Reasons, StopByASecondReasonStopsAgainWithoutAReload)
{
    Record("foo.service", "a");
    EXPECT_TRUE(Stop("b", {"foo"}));
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), ElementsAre("a", "b"));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({StopBegin("foo", "b"), Stopped("foo")})));
}

TEST_F(Reasons, StopByTheSameReasonAgainKeepsTheFileAndStopsAgain)
{
    WriteText(ReasonFile("foo.service", "a"), "text");
    EXPECT_TRUE(Stop("a", {"foo"}));
    EXPECT_EQ(ReadText(ReasonFile("foo.service", "a")), "text");
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo"));
}

TEST_F(Reasons, StopByReasonReloadsWhenOneOfManyHadNoReason)
{
    Record("foo.service", "a");
    EXPECT_TRUE(Stop("b", {"foo", "bar"}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo bar", "daemon-reload"));
}

TEST_F(Reasons, StopByReasonRefusesUnitsThatAreNoServicesAndStopsTheOthers)
{
    EXPECT_FALSE(Stop("a", {"a.service", "b.timer", "c"}));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_service_stop_by_reason.cpp");
    EXPECT_THAT(failed, ElementsAre("b.timer"));
    EXPECT_THAT(ListFolder(kReasons), ElementsAre("a.service", "c.service"));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop a.service c", "daemon-reload"));
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder({StopBegin("a.service, b.timer, c", "a"),
                                                      Stopped("a.service, c"), ReloadLog()})));
}

TEST_F(Reasons, StopByReasonDoesNothingElseWhenNoServiceCouldBeMarked)
{
    failed = {"before"};
    EXPECT_FALSE(Stop("a", {"x.timer", "x.timer", "y.mount"}));
    EXPECT_THAT(failed, ElementsAre("before", "x.timer", "x.timer", "y.mount"));
    EXPECT_FALSE(Exists(kRunFolder));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAreArray(StopBegin("x.timer, x.timer, y.mount", "a")));
}

TEST_F(Reasons, StopByReasonPassesOnAServiceThatIsNamedTwiceTwice)
{
    EXPECT_TRUE(Stop("a", {"foo", "foo", "foo.service"}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo foo foo.service", "daemon-reload"));
}

TEST_F(Reasons, StopByReasonFailsForAServiceWhoseFolderCannotBeMade)
{
    WriteText(ReasonFolder("foo.service"), "a file");
    EXPECT_FALSE(Stop("a", {"foo", "bar"}));
    EXPECT_THAT(failed, ElementsAre("foo"));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop bar", "daemon-reload"));
    const LogMatchers noFolder = {
        Error("systemd_service_stop_by_reason.cpp",
              "vesksystemd: failed to mkdir reason directory [/run/vesksystemd/reasons/foo.service]")};
    EXPECT_THAT(log.Take(), ElementsAreArray(InOrder(
                                {StopBegin("foo, bar", "a"), noFolder, Stopped("bar"), ReloadLog()})));
}

TEST_F(Reasons, StopByReasonFailsForAServiceWhoseFileCannotBeMade)
{
    const std::string reason(300, 'r');
    EXPECT_FALSE(Stop(reason, {"foo"}));
    EXPECT_THAT(failed, ElementsAre("foo"));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    const std::vector<SyslogLine> lines = log.Take();
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[1].level, 3);
    EXPECT_EQ(lines[1].file, "systemd_service_stop_by_reason.cpp");
    char error[64] = "";
    snprintf(error, sizeof error, " [0x%04X %s:%d]", static_cast<unsigned>(VLIBCErrGet()),
             VLIBCErrorGetFile(), VLIBCErrorGetLine());
    EXPECT_NE(VLIBCErrGet(), 0);
    EXPECT_EQ(lines[1].message,
              "vesksystemd: failed to touch reason file [" + ReasonFile("foo.service", reason) + "]" + error);
}

TEST_F(Reasons, StopByReasonNamesTheServicesThatSystemctlCouldNotStopAndKeepsTheirReasons)
{
    systemctl.OnLeading({"stop"}).Stderr("Job for foo.service canceled.\n").Exit(1);
    EXPECT_FALSE(Stop("a", {"x.timer", "foo", "bar"}));
    EXPECT_THAT(failed, ElementsAre("x.timer", "foo"));
    EXPECT_TRUE(Exists(ReasonFile("foo.service", "a")));
    EXPECT_TRUE(Exists(ReasonFile("bar.service", "a")));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("stop foo bar", "daemon-reload"));
}

TEST_F(Reasons, StopByReasonFailsWhenTheReloadFails)
{
    systemctl.On({"daemon-reload"}).Stderr("busy\n").Exit(1);
    EXPECT_FALSE(Stop("a", {"foo"}));
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_THAT(log.Take(),
                ElementsAreArray(InOrder({StopBegin("foo", "a"), Stopped("foo"), ReloadLog(1, "busy\n")})));
}

TEST_F(Reasons, StopByReasonFailsForAllMarkedServicesWhenSystemctlIsMissing)
{
    systemctl.Remove();
    EXPECT_FALSE(Stop("a", {"foo", "x.timer", "bar"}));
    systemctl.Restore();
    EXPECT_THAT(failed, ElementsAre("x.timer", "foo", "bar"));
    EXPECT_TRUE(Exists(ReasonFile("foo.service", "a")));
}

TEST_F(Reasons, StopByReasonTakesAnyReasonWithoutASlash)
{
    const Words reasons = {"%s%n%d", "a b", "$(x)`y`'\"", "-rf", "two\nlines", "*", "\xff"};
    for (const std::string& reason : reasons) {
        EXPECT_TRUE(Stop(reason, {"foo"})) << reason;
        EXPECT_TRUE(Exists(ReasonFile("foo.service", reason))) << reason;
    }
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), SizeIs(reasons.size()));
}

} // namespace
} // namespace VeskTest
