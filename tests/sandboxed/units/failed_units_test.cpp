// Which units count as failed when systemctl fails.
#include "units_form.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAreArray;

class NamedUnits : public UnitsForm
{
};

TEST_P(NamedUnits, AppendsTheUnitsThatSystemctlNamesByTheCallersNames)
{
    const Words lines{"Job for b.socket failed.\n", "Some words.\n",
                      "Failed to do it to a.service: Unit a.service not found.\n"};
    m_ground.OnVerb().Stderr(lines[0]).Stdout(lines[1]).Stderr(lines[2]).Exit(5);
    EXPECT_FALSE(Call({"a", "b.socket", "c"}));
    EXPECT_EQ(m_failed, WithBefore({"b.socket", "a"}));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfFailure(
                                           {"a", "b.socket", "c"}, Logged({"b.socket", "a"}), 5, lines)));
}

TEST_P(NamedUnits, AppendsAUnitOncePerLineThatNamesIt)
{
    m_ground.OnVerb().Stderr("Job for a.service failed.\nJob for a.service canceled.\n").Exit(1);
    EXPECT_FALSE(Call({"a"}));
    EXPECT_EQ(m_failed, WithBefore({"a", "a"}));
}

TEST_P(NamedUnits, AppendsNothingWhenSystemctlFailsWithoutNamingAUnit)
{
    m_ground.OnVerb().Exit(255);
    EXPECT_FALSE(Call({"a"}));
    EXPECT_EQ(m_failed, m_before);
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfFailure({"a"}, Logged({}), 255, {})));
}

TEST_P(NamedUnits, LogsAFailedUnitThatIsNotTheCallersAndLeavesItOut)
{
    const std::string line = "A dependency job for other.service failed. See 'journalctl -xe'.";
    m_ground.OnVerb().Stderr(line).Exit(1);
    EXPECT_FALSE(Call({"a"}));
    EXPECT_EQ(m_failed, m_before);
    LogMatchers log = m_ground.LogOfFailure({"a"}, Logged({}), 1, {line});
    log.insert(log.begin() + 1,
               Error("systemd_internal_lib.cpp", "vesksystemd: unexpected failed unit [other.service]."));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(log));
}

INSTANTIATE_TEST_SUITE_P(Every, NamedUnits, ::testing::ValuesIn(FormsOnUnits(&ActionRow::NamesFailed)),
                         ParamName());

class AllUnits : public UnitsForm
{
};

TEST_P(AllUnits, CountAsFailedWhicheverSystemctlNames)
{
    const Words lines{"Failed to do it to a.service: Access denied\n", "Another line"};
    m_ground.OnVerb().Stderr(lines[0]).Stdout(lines[1]).Exit(1);
    EXPECT_FALSE(Call({"b", "a", "b"}));
    EXPECT_EQ(m_failed, WithBefore({"b", "a", "b"}));
    EXPECT_THAT(m_ground.Log().Take(),
                ElementsAreArray(m_ground.LogOfFailure({"b", "a", "b"}, Logged({"b", "a", "b"}), 1, lines)));
}

TEST_P(AllUnits, CountAsFailedWhenSystemctlPrintsNothing)
{
    m_ground.OnVerb().Exit(255);
    EXPECT_FALSE(Call({"a", "b"}));
    EXPECT_EQ(m_failed, WithBefore({"a", "b"}));
    EXPECT_THAT(m_ground.Log().Take(),
                ElementsAreArray(m_ground.LogOfFailure({"a", "b"}, Logged({"a", "b"}), 255, {})));
}

INSTANTIATE_TEST_SUITE_P(Every, AllUnits,
                         ::testing::ValuesIn(FormsOnUnits(std::not_fn(&ActionRow::NamesFailed))),
                         ParamName());

} // namespace
} // namespace VeskTest
