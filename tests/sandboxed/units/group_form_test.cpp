// What is special of the functions that take the platform's list, and of those that take options.
#include "action_test.hpp"
#include "c_list.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class GroupForm : public RowTest
{
protected:
    void FailWithA() { m_ground.OnVerb().Stderr("Job for a.service failed.\n").Exit(1); }
};

TEST_P(GroupForm, RefusesANullList)
{
    CList failed({"earlier"});
    EXPECT_EQ(GetParam().cGroup(nullptr, failed.Address()), 0);
    EXPECT_TRUE(m_ground.Refused(GetParam().fileOfForms, "nullptr != pListUnits"));
    EXPECT_THAT(failed.Items(), ElementsAre("earlier"));
}

TEST_P(GroupForm, RunsWithoutAPlaceForFailedUnits)
{
    const CList units({"a", "b"});
    EXPECT_EQ(GetParam().cGroup(units.Get(), nullptr), 1);
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"a", "b"}));
}

TEST_P(GroupForm, FailsWithoutAPlaceForFailedUnits)
{
    FailWithA();
    const CList units({"a"});
    EXPECT_EQ(GetParam().cGroup(units.Get(), nullptr), 0);
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"a"}));
}

TEST_P(GroupForm, PushesNothingToANullList)
{
    FailWithA();
    const CList units({"a"});
    VLIBCSzList* failed = nullptr;
    EXPECT_EQ(GetParam().cGroup(units.Get(), &failed), 0);
    EXPECT_EQ(failed, nullptr);
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"a"}));
}

TEST_P(GroupForm, MayCollectFailedUnitsInTheListOfUnits)
{
    FailWithA();
    CList units({"a"});
    EXPECT_EQ(GetParam().cGroup(units.Get(), units.Address()), 0);
    EXPECT_THAT(units.Items(), ElementsAre("a", "a"));
}

INSTANTIATE_TEST_SUITE_P(Every, GroupForm, ::testing::ValuesIn(RowsWhere(&ActionRow::cGroup)), ParamName());

class OptionsForm : public RowTest
{
};

TEST_P(OptionsForm, PassesOptionsInTheirOrderBetweenVerbAndUnits)
{
    Words options{"--job-mode=fail", "-H", "host name", "%s", "", "--job-mode=fail"};
    Words failed;
    EXPECT_TRUE(GetParam().withOptions(options, {"a", "b"}, failed));
    Words expected = options;
    expected.insert(expected.end(), GetParam().options.begin(), GetParam().options.end());
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"a", "b"}, expected));
    EXPECT_THAT(failed, IsEmpty());
}

TEST_P(OptionsForm, FailsWithTheUnitsOfItsFamily)
{
    const Words lines{"Job for b.service failed.\n"};
    m_ground.OnVerb().Stderr(lines[0]).Exit(4);
    Words expected = GetParam().FailedOf({"a", "b"}, {"b"});
    expected.insert(expected.begin(), "earlier");
    Words failed{"earlier"};
    EXPECT_FALSE(GetParam().withOptions({"--quiet"}, {"a", "b"}, failed));
    EXPECT_EQ(failed, expected);
    EXPECT_THAT(m_ground.Log().Take(),
                ElementsAreArray(m_ground.LogOfFailure({"a", "b"}, expected, 4, lines)));
}

TEST_P(OptionsForm, RefusesAnEmptyListWhateverTheOptions)
{
    Words failed;
    EXPECT_FALSE(GetParam().withOptions({"--quiet"}, {}, failed));
    EXPECT_TRUE(m_ground.Refused(GetParam().file, "!vecUnits.empty()"));
}

INSTANTIATE_TEST_SUITE_P(Every, OptionsForm, ::testing::ValuesIn(RowsWhere(&ActionRow::withOptions)),
                         ParamName());

} // namespace
} // namespace VeskTest
