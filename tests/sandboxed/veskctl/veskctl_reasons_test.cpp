#include <gmock/gmock.h>

#include "files.hpp"
#include "paths.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

namespace
{

TEST(VeskctlReason, StopsServicesAndTellsWhatHoldsThem)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    systemctl.On({"stop", "foo"});

    EXPECT_EQ(Veskctl("reason stop backup foo"), (Use{0, "foo: stopped; held for: backup\n", ""}));
    EXPECT_TRUE(Exists(ReasonsOf("foo.service") + "/backup"));
    EXPECT_THAT(systemctl.Arguments(), Contains("stop foo"));
}

TEST(VeskctlReason, StartsServicesAndTellsWhatStillHoldsThem)
{
    WriteText(ReasonsOf("foo.service") + "/backup", "");
    WriteText(ReasonsOf("foo.service") + "/upgrade", "");
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    systemctl.On({"start", "foo"});

    EXPECT_EQ(Veskctl("reason start backup foo"), (Use{0, "foo: started; held for: upgrade\n", ""}));
    EXPECT_FALSE(Exists(ReasonsOf("foo.service") + "/backup"));
}

TEST(VeskctlReason, RemovesAReasonAndStartsNothing)
{
    WriteText(ReasonsOf("foo.service") + "/backup", "");
    ScriptedSystemctl systemctl;
    systemctl.OnAny();

    EXPECT_EQ(Veskctl("reason remove backup foo"), (Use{0, "foo: removed\n", ""}));
    EXPECT_THAT(systemctl.Arguments(), Not(Contains("start foo")));
}

TEST(VeskctlReason, ListsWhoHoldsWhichService)
{
    WriteText(ReasonsOf("foo.service") + "/upgrade", "");
    WriteText(ReasonsOf("foo.service") + "/backup", "");
    WriteText(ReasonsOf("bar.service") + "/backup", "");

    EXPECT_EQ(Veskctl("reason list"), (Use{0,
                                           "SERVICE      HELD FOR\n"
                                           "bar.service  backup\n"
                                           "foo.service  backup, upgrade\n",
                                           ""}));
    EXPECT_EQ(Veskctl("reason list baz"), (Use{0, "SERVICE      HELD FOR\nbaz.service  -\n", ""}));
    const Json::Value list = VeskctlJson("reason list");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1]["service"], "foo.service");
    EXPECT_EQ(list[1]["heldBy"][1], "upgrade");
}

TEST(VeskctlReason, RefusesWhatIsNoService)
{
    ScriptedSystemctl systemctl;

    EXPECT_EQ(Veskctl("reason stop backup foo.target"),
              (Use{2, "", "veskctl: foo.target: only services are held for reasons\n"}));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre());
}

TEST(VeskctlReason, TellsAServiceThatDoesNotStop)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    systemctl.On({"stop", "foo"}).Stderr("Job for foo.service canceled.\n").Exit(1);
    systemctl.On(StateQuestion("foo.service")).Stdout(StateAnswer("active", "running"));

    EXPECT_EQ(Veskctl("reason stop backup foo"),
              (Use{1, "", "veskctl: foo: stop failed: active: Job for foo.service canceled.\n"}));
}

} // namespace
