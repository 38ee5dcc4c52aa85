// What is special of one family: the options that it adds, and the units that it passes over.
#include "action_test.hpp"
#include "boot_step.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

Words ReloadOptions(const Words& options)
{
    ActionGround ground(ActionRowOf("Reload"));
    Words failed;
    EXPECT_TRUE(VESKSystemdReloadWithOptions(options, {"a"}, failed));
    const Words call = ground.Calls().back();
    return Words(call.begin() + 1, call.end() - 1);
}

TEST(Reload, PassesTheCallersNoBlockOnce)
{
    EXPECT_THAT(ReloadOptions({"--quiet", "--no-block", "--full"}),
                ElementsAre("--quiet", "--no-block", "--full"));
}

TEST(Reload, AddsNoBlockBehindTheCallersOptions)
{
    EXPECT_THAT(ReloadOptions({"--quiet", "--full"}), ElementsAre("--quiet", "--full", "--no-block"));
}

TEST(Reload, TakesOnlyTheWholeWordForNoBlock)
{
    EXPECT_THAT(ReloadOptions({"--no-blocking"}), ElementsAre("--no-blocking", "--no-block"));
}

TEST(Reload, LeavesTheCallersOptionsAlone)
{
    ActionGround ground(ActionRowOf("Reload"));
    const Words options{"--quiet"};
    Words failed;
    EXPECT_TRUE(VESKSystemdReloadWithOptions(options, {"a"}, failed));
    EXPECT_THAT(options, ElementsAre("--quiet"));
}

TEST(Reload, IsNotRefusedWhileBootingButToldOnceMoreNotToBlock)
{
    ActionGround ground(ActionRowOf("Reload"));
    SetBootStep(2);
    ground.Systemctl().OnLeading({"list-jobs"}).Stdout("7 a.service start running\n").Exit(1);
    EXPECT_TRUE(VESKSystemdReload("a"));
    EXPECT_EQ(ground.Calls().back(), (Words{"reload", "--no-block", "--no-block", "a"}));
}

class PassesOver : public FormTest
{
protected:
    void QueueStopJob(const std::string& unit)
    {
        m_ground.Systemctl()
            .On({"list-jobs", "--no-legend", unit})
            .Stdout("9 " + unit + " stop waiting\n")
            .Exit(1);
    }

    static LogMatcher GoingToStop(const std::string& unit)
    {
        return Info("systemd_systemctl.cpp",
                    "vesksystemd: [" + unit + "] type [2] state [2] is going to stop.");
    }
};

TEST_P(PassesOver, UnitsThatAreGoingToStop)
{
    QueueStopJob("b");
    Words failed;
    EXPECT_TRUE(GetParam().OnUnits({"a", "b", "c"}, failed));
    EXPECT_EQ(m_ground.Calls().back(), m_ground.CallsFor({"a", "c"}).back());
    LogMatchers log = m_ground.LogOfSuccess({"a", "b", "c"});
    log.insert(log.begin() + 1, GoingToStop("b"));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(log));
}

TEST_P(PassesOver, EverythingAndSucceedsWithoutARun)
{
    QueueStopJob("a");
    QueueStopJob("b");
    Words failed;
    EXPECT_TRUE(GetParam().OnUnits({"a", "b"}, failed));
    EXPECT_THAT(m_ground.Calls(),
                ElementsAre(Words{"list-jobs", "--no-legend", "a"}, Words{"list-jobs", "--no-legend", "b"}));
    LogMatchers log = m_ground.LogOfSuccess({"a", "b"});
    log.insert(log.begin() + 1, {GoingToStop("a"), GoingToStop("b")});
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(log));
    EXPECT_THAT(failed, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, PassesOver, ::testing::ValuesIn(FormsOnUnits(&ActionRow::PassesOver)),
                         ParamName());

} // namespace
} // namespace VeskTest
