// What is on the screen of somebody who uses veskctl.

#include "children.hpp"
#include "veskctl_live_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::HasSubstr;
using ::testing::Not;

using VeskctlTerminal = VeskctlLive;

TEST_F(VeskctlTerminal, ShowsWhatIsWaitedForWhileAUnitStartsSlowly)
{
    AddUnit("slow.service", OneshotService("/bin/sleep 5"));
    const Terminal terminal;

    Terminal::Type("veskctl start slow");

    EXPECT_TRUE(Terminal::Awaits("s: start slow; waiting for: start slow.service running"))
        << Terminal::Screen();
    EXPECT_TRUE(Terminal::Awaits("slow: started")) << Terminal::Screen();
    EXPECT_THAT(Terminal::Screen(), Not(HasSubstr("waiting for")));
}

TEST_F(VeskctlTerminal, ShowsTheSlicesInPlaceUntilQuit)
{
    MonitorSlice("system.slice");
    const Terminal terminal;

    Terminal::Type("veskctl slice top");

    EXPECT_TRUE(Terminal::Awaits("slices by cpu")) << Terminal::Screen();
    EXPECT_TRUE(Terminal::Awaits("system.slice")) << Terminal::Screen();
    Terminal::Key("m");
    EXPECT_TRUE(Terminal::Awaits("slices by memory")) << Terminal::Screen();
    Terminal::Resize(60, 10);
    EXPECT_TRUE(Eventually([] {
        const std::string screen = Terminal::Screen();
        return screen.find("slices by memory") == 0 && screen.find("system.slice") != std::string::npos;
    })) << Terminal::Screen();
    Terminal::Key("q");
    EXPECT_TRUE(Terminal::Awaits("$ veskctl slice top")) << Terminal::Screen();
    EXPECT_THAT(Terminal::Screen(), Not(HasSubstr("slices by")));
}

TEST_F(VeskctlTerminal, StopsNothingForGoodWhenItIsInterruptedInACommand)
{
    const Terminal terminal;
    Terminal::Type("veskctl volume unmount /volume1 -- sleep 1000");
    ASSERT_TRUE(AwaitActiveState("inside.service", "inactive"));
    ASSERT_TRUE(Eventually([] { return RunCommand({"/usr/bin/pgrep", "-x", "sleep"}).exitCode == 0; }));

    Terminal::Key("C-c");
    Terminal::Type("echo code $?");

    EXPECT_TRUE(Terminal::Awaits("code 1")) << Terminal::Screen();
    EXPECT_EQ(ActiveState("inside.service"), "active");
    EXPECT_TRUE(IsVolumeMounted());
}

TEST_F(VeskctlTerminal, StopsNothingForGoodWhenItIsInterruptedInTheStop)
{
    AddUnit("lazy.service", SlowToStopService(4).Line("X-Veskline", "VolumeDependency=all"));
    MustSystemctl({"start", "lazy.service"});
    const Terminal terminal;
    Terminal::Type("veskctl volume unmount /volume1; echo code $?");
    EXPECT_TRUE(Terminal::Awaits("waiting for: ")) << Terminal::Screen();

    Terminal::Key("C-c");

    EXPECT_TRUE(Terminal::Awaits("code 1")) << Terminal::Screen();
    EXPECT_THAT(Terminal::Screen(), HasSubstr("veskctl: interrupted"));
    EXPECT_EQ(ActiveState("inside.service"), "active");
    EXPECT_EQ(ActiveState("lazy.service"), "active");
    EXPECT_TRUE(IsVolumeMounted());
}

} // namespace
} // namespace VeskTest
