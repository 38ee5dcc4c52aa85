// What every function that takes a list of units does.
#include "units_form.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAreArray;

TEST_P(UnitsForm, RunsSystemctlOnceWithTheUnitsInTheirOrder)
{
    const Words units{"b.socket", "a", "c@1.service"};
    EXPECT_TRUE(Call(units));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor(units));
}

TEST_P(UnitsForm, LogsItsBeginningAndItsSuccess)
{
    EXPECT_TRUE(Call({"b", "a"}));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfSuccess({"b", "a"})));
}

TEST_P(UnitsForm, LeavesTheFailedUnitsAloneOnSuccessWhateverSystemctlPrints)
{
    m_ground.OnVerb().Stderr("Job for a.service failed.\n").Exit(0);
    EXPECT_TRUE(Call({"a"}));
    EXPECT_EQ(m_failed, m_before);
}

TEST_P(UnitsForm, LeavesTheErrorRecordAloneOnSuccess)
{
    VLIBCErrSetEx(0x1234, "before", 5);
    EXPECT_TRUE(Call({"a"}));
    EXPECT_EQ(VLIBCErrGet(), 0x1234);
}

TEST_P(UnitsForm, PassesAUnitThatIsNamedTwiceTwice)
{
    EXPECT_TRUE(Call({"a", "b", "a"}));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"a", "b", "a"}));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfSuccess({"a", "b", "a"})));
}

TEST_P(UnitsForm, PassesHostileNamesUnchanged)
{
    const Words units = HostileNames();
    EXPECT_TRUE(Call(units));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor(units));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfSuccess(units)));
}

TEST_P(UnitsForm, RefusesAnEmptyListAndRunsNothing)
{
    EXPECT_FALSE(Call({}));
    EXPECT_TRUE(m_ground.Refused(GetParam().row.file, "!vecUnits.empty()"));
    EXPECT_EQ(m_failed, m_before);
}

TEST_P(UnitsForm, CountsAllUnitsAsFailedWhenSystemctlIsMissing)
{
    m_ground.Systemctl().Remove();
    EXPECT_FALSE(Call({"b", "a"}));
    EXPECT_EQ(m_failed, WithBefore({"b", "a"}));
    EXPECT_THAT(m_ground.Log().Take(),
                ElementsAreArray(m_ground.LogOfNoRun({"b", "a"}, Logged({"b", "a"}),
                                                     m_ground.LogOfMissingSystemctl({"b", "a"}))));
}

TEST_P(UnitsForm, PassesAVeryLongNameUnchanged)
{
    const Words units{std::string(60000, 'l')};
    EXPECT_TRUE(Call(units));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor(units));
}

TEST_P(UnitsForm, TakesTenThousandUnits)
{
    // Some families run a child for each unit.
    const bool runsOneForEach = GetParam().row.PassesOver() || GetParam().row.SetsMarks();
    const Words units = ManyNames(runsOneForEach ? 100 : 10000);
    EXPECT_TRUE(Call(units));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor(units));
    EXPECT_EQ(m_failed, m_before);
}

INSTANTIATE_TEST_SUITE_P(Every, UnitsForm, ::testing::ValuesIn(FormsOnUnits()), ParamName());

} // namespace
} // namespace VeskTest
