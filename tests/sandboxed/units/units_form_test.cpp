// What every function that takes a list of units does.
#include "action_test.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class UnitsForm : public ::testing::TestWithParam<ActionForm>
{
protected:
    bool Call(const Words& units) { return GetParam().OnUnits(units, m_failed); }

    // How the failed units stand in the log: a C form collects them apart from the caller's.
    Words Logged(const Words& failed) const
    {
        Words all = GetParam().IsC() ? Words{} : m_before;
        all.insert(all.end(), failed.begin(), failed.end());
        return all;
    }

    Words WithBefore(const Words& failed) const
    {
        Words all = m_before;
        all.insert(all.end(), failed.begin(), failed.end());
        return all;
    }

    const Words m_before{"earlier"};
    Words m_failed = m_before;
    ActionGround m_ground{GetParam().row};
};

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

TEST_P(UnitsForm, LeavesTheFailedUnitsAloneOnSuccess)
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
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_STREQ(VLIBCErrorGetFile(), GetParam().row.file);
    EXPECT_GT(VLIBCErrorGetLine(), 0);
    EXPECT_THAT(m_ground.Log().Take(),
                ElementsAre(InvalidArgument(GetParam().row.file, "!vecUnits.empty()")));
    EXPECT_THAT(m_ground.Calls(), IsEmpty());
    EXPECT_EQ(m_failed, m_before);
}

TEST_P(UnitsForm, AppendsTheUnitsThatSystemctlNamesByTheCallersNames)
{
    const Words lines{"Job for b.socket failed.\n", "Some words.\n",
                      "Failed to do it to a.service: Unit a.service not found.\n"};
    m_ground.OnVerb().Stderr(lines[0]).Stdout(lines[1]).Stderr(lines[2]).Exit(5);
    EXPECT_FALSE(Call({"a", "b.socket", "c"}));
    EXPECT_EQ(m_failed, WithBefore({"b.socket", "a"}));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfFailure(
                                           {"a", "b.socket", "c"}, Logged({"b.socket", "a"}), 5, lines)));
}

TEST_P(UnitsForm, AppendsAUnitOncePerLineThatNamesIt)
{
    m_ground.OnVerb().Stderr("Job for a.service failed.\nJob for a.service canceled.\n").Exit(1);
    EXPECT_FALSE(Call({"a"}));
    EXPECT_EQ(m_failed, WithBefore({"a", "a"}));
}

TEST_P(UnitsForm, AppendsNothingWhenSystemctlFailsWithoutNamingAUnit)
{
    m_ground.OnVerb().Exit(255);
    EXPECT_FALSE(Call({"a"}));
    EXPECT_EQ(m_failed, m_before);
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfFailure({"a"}, Logged({}), 255, {})));
}

TEST_P(UnitsForm, LogsAFailedUnitThatIsNotTheCallersAndLeavesItOut)
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

TEST_P(UnitsForm, CountsAllUnitsAsFailedWhenSystemctlIsMissing)
{
    m_ground.Systemctl().Remove();
    EXPECT_FALSE(Call({"b", "a"}));
    EXPECT_EQ(m_failed, WithBefore({"b", "a"}));
    EXPECT_THAT(m_ground.Log().Take(),
                ElementsAreArray(m_ground.LogOfNoRun({"b", "a"}, Logged({"b", "a"}),
                                                     m_ground.LogOfMissingSystemctl({"b", "a"}))));
}

TEST_P(UnitsForm, TakesTenThousandUnits)
{
    // A verb that asks for the job of each unit would run as many children.
    const Words units = ManyNames(m_ground.CallsFor({"a"}).size() > 1 ? 100 : 10000);
    EXPECT_TRUE(Call(units));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor(units));
    EXPECT_EQ(m_failed, m_before);
}

INSTANTIATE_TEST_SUITE_P(Every, UnitsForm, ::testing::ValuesIn(FormsOnUnits()), ParamName());

} // namespace
} // namespace VeskTest
