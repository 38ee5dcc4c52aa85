// What every function that takes one unit does.
#include "action_test.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class OneUnit : public FormTest
{
protected:
    bool Call(const std::string& unit) { return GetParam().OnUnit(unit); }
};

TEST_P(OneUnit, IsPassedToSystemctlAndSucceeds)
{
    EXPECT_TRUE(Call("foo"));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"foo"}));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfSuccess({"foo"})));
}

TEST_P(OneUnit, FailsWithSystemctl)
{
    const Words lines{"Job for foo.service failed.\n"};
    m_ground.OnVerb().Stderr(lines[0]).Exit(1);
    EXPECT_FALSE(Call("foo"));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfFailure({"foo"}, {"foo"}, 1, lines)));
}

TEST_P(OneUnit, FailsWhenSystemctlIsMissing)
{
    m_ground.Systemctl().Remove();
    EXPECT_FALSE(Call("foo"));
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfNoRun(
                                           {"foo"}, {"foo"}, m_ground.LogOfMissingSystemctl({"foo"}))));
}

TEST_P(OneUnit, FailsWhenItsNameIsTooLongForAnyProgram)
{
    const std::string name(140000, 'n');
    EXPECT_FALSE(Call(name));
    EXPECT_THAT(m_ground.Calls(), IsEmpty());
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(m_ground.LogOfNoRun(
                                           {name}, {name}, m_ground.LogOfMissingSystemctl({name}))));
}

TEST_P(OneUnit, MayHaveAnyNameButNone)
{
    for (const std::string& name : HostileNames()) {
        m_ground.Systemctl().ForgetCalls();
        EXPECT_TRUE(Call(name));
        EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({name}));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, OneUnit, ::testing::ValuesIn(FormsOnOneUnit()), ParamName());

class OneUnitForm : public RowTest
{
};

TEST_P(OneUnitForm, RefusesAnEmptyNameAndRunsNothing)
{
    EXPECT_FALSE(GetParam().one(""));
    EXPECT_TRUE(m_ground.Refused(GetParam().fileOfForms, "!strUnit.empty()"));
}

TEST_P(OneUnitForm, RefusesANameOfNothingButZeroBytes)
{
    EXPECT_FALSE(GetParam().one(std::string(16, '\0')));
    EXPECT_TRUE(m_ground.Refused(GetParam().fileOfForms, "!strUnit.empty()"));
}

TEST_P(OneUnitForm, RefusesAnEmptyNameFromC)
{
    EXPECT_EQ(GetParam().cOne(""), 0);
    EXPECT_TRUE(m_ground.Refused(GetParam().fileOfForms, "!strUnit.empty()"));
}

TEST_P(OneUnitForm, RefusesANullPointerFromC)
{
    EXPECT_EQ(GetParam().cOne(nullptr), 0);
    EXPECT_TRUE(m_ground.Refused(GetParam().fileOfForms, "nullptr != szUnit"));
}

INSTANTIATE_TEST_SUITE_P(Every, OneUnitForm, ::testing::ValuesIn(RowsWhere(&ActionRow::one)), ParamName());

} // namespace
} // namespace VeskTest
