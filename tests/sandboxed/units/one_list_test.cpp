// One list that is given as the units and as those that fail.
#include "action_test.hpp"

namespace VeskTest
{
namespace
{

class OneList : public RowTest
{
protected:
    // The functions of the family that take two lists.
    template <typename Check>
    void ForEach(const Check& check)
    {
        if (GetParam().list != nullptr) {
            check([this](Words& units) { return GetParam().list(units, units); });
        }
        if (GetParam().withOptions != nullptr) {
            check([this](Words& units) { return GetParam().withOptions(GetParam().options, units, units); });
        }
    }
};

TEST_P(OneList, HoldsAllUnitsTwiceWhenSystemctlIsMissing)
{
    m_ground.Systemctl().Remove();
    ForEach([](const auto& run) {
        const Words given = ManyNames(100);
        Words units = given;
        EXPECT_FALSE(run(units));
        Words expected = given;
        expected.insert(expected.end(), given.begin(), given.end());
        EXPECT_EQ(units, expected);
    });
}

TEST_P(OneList, HoldsTheFailedUnitsAfterAll)
{
    m_ground.OnVerb().Stderr("Job for u1.service failed.\n").Exit(1);
    ForEach([this](const auto& run) {
        const Words given{"u0", "u1", "u2"};
        Words units = given;
        EXPECT_FALSE(run(units));
        Words expected = given;
        for (const std::string& unit : GetParam().FailedOf(given, {"u1"})) {
            expected.push_back(unit);
        }
        EXPECT_EQ(units, expected);
    });
}

TEST_P(OneList, TakesNamesUpToTheirFirstZeroByte)
{
    ForEach([this](const auto& run) {
        m_ground.Systemctl().ForgetCalls();
        Words units{std::string("foo\0/../bar", 11), "baz"};
        // A mask is judged by the list of failed units.
        EXPECT_EQ(run(units), !GetParam().IsMask());
        const std::vector<Words> calls = m_ground.Calls();
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(Words(calls.back().end() - 2, calls.back().end()), (Words{"foo", "baz"}));
    });
}

INSTANTIATE_TEST_SUITE_P(Every, OneList, ::testing::ValuesIn(RowsWhere([](const ActionRow& row) {
                             return row.list != nullptr || row.withOptions != nullptr;
                         })),
                         ParamName());

} // namespace
} // namespace VeskTest
