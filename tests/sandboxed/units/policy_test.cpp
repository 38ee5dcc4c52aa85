// How the actions behave while the machine boots and a job of a unit is queued.
#include "action_test.hpp"
#include "boot_step.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class ActionWhileBooting : public FormTest
{
protected:
    ActionWhileBooting()
    {
        SetBootStep(2);
        m_ground.Systemctl()
            .On({"list-jobs", "--no-legend", "foo"})
            .Stdout("7 foo.service " + m_job + " waiting\n")
            .Exit(1);
    }

    // The words in which a queued job is logged: kinds of jobs that the library does not tell apart have one.
    std::string JobInLog() const
    {
        return "7 foo.service " + (m_job == "reload" ? "unknow" : m_job) + " waiting";
    }

    const std::string m_job = GetParam().row.conflictingJob;
};

TEST_P(ActionWhileBooting, IsRefusedForAQueuedJobAndRunsNothing)
{
    EXPECT_FALSE(GetParam().OnUnit("foo"));
    EXPECT_THAT(m_ground.Calls(), ElementsAre(Words{"list-jobs", "--no-legend", "foo"}));
    const std::string command = "/usr/bin/systemctl " + Joined(m_ground.CallsFor({"foo"}).back(), " ");
    const LogMatchers why{
        Info("systemd_systemctl.cpp", "vesksystemd: unit is in job list: [" + JobInLog() + "]"),
        Info("systemd_systemctl.cpp",
             "vesksystemd: Skip execute by service control policy: [" + command + "]")};
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfNoRun({"foo"}, {"foo"}, why)));
}

TEST_P(ActionWhileBooting, RunsOnceTheBootIsOver)
{
    SetBootStep(4);
    EXPECT_TRUE(GetParam().OnUnit("foo"));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"foo"}));
}

INSTANTIATE_TEST_SUITE_P(Every, ActionWhileBooting, ::testing::ValuesIn(AllForms(&ActionRow::CanBeRefused)),
                         ParamName());

class ActionsWhileBooting : public FormTest
{
};

TEST_P(ActionsWhileBooting, CountAllUnitsAsFailedWhenOneHasAJob)
{
    const ActionForm& form = GetParam();
    SetBootStep(0);
    m_ground.Systemctl()
        .On({"list-jobs", "--no-legend", "b"})
        .Stdout("7 b.service " + form.row.conflictingJob + " running\n")
        .Exit(1);
    Words failed{"earlier"};
    EXPECT_FALSE(form.OnUnits({"a", "b", "c", "a"}, failed));
    EXPECT_THAT(failed, ElementsAre("earlier", "a", "b", "c", "a"));
}

INSTANTIATE_TEST_SUITE_P(Every, ActionsWhileBooting,
                         ::testing::ValuesIn(FormsOnUnits(&ActionRow::CanBeRefused)), ParamName());

} // namespace
} // namespace VeskTest
