// What is special of enable, disable, reenable, mask and unmask.
#include "action_test.hpp"
#include "files.hpp"
#include "paths.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class MarkingForm : public FormTest
{
};

TEST_P(MarkingForm, MarksTheUnitOnSuccess)
{
    EXPECT_TRUE(GetParam().OnUnit("foo"));
    EXPECT_THAT(ListFolder(kMarks), ElementsAre("foo.service"));
}

TEST_P(MarkingForm, MarksTheUnitOnFailureToo)
{
    m_ground.OnVerb().Exit(1);
    EXPECT_FALSE(GetParam().OnUnit("foo.socket"));
    EXPECT_THAT(ListFolder(kMarks), ElementsAre("foo.socket"));
}

TEST_P(MarkingForm, MarksNothingWhenSystemctlIsMissing)
{
    m_ground.Systemctl().Remove();
    EXPECT_FALSE(GetParam().OnUnit("foo"));
    EXPECT_THAT(ListFolder(kMarks), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, MarkingForm, ::testing::ValuesIn(AllForms(&ActionRow::SetsMarks)),
                         ParamName());

TEST(Enable, MarksAllUnitsOfAFailedAttempt)
{
    ActionGround ground(ActionRowOf("Enable"));
    ground.OnVerb().Exit(1);
    Words failed;
    EXPECT_FALSE(VESKSystemdEnable({"b", "a.timer", "b"}, failed));
    EXPECT_THAT(ListFolder(kMarks), ElementsAre("a.timer", "b.service"));
}

TEST(EveryOtherFamily, MarksNothing)
{
    for (const ActionForm& form : AllForms(std::not_fn(&ActionRow::SetsMarks))) {
        ActionGround ground(form.row);
        EXPECT_TRUE(form.OnUnit("foo")) << form;
    }
    EXPECT_THAT(ListFolder(kMarks), IsEmpty());
}

class MeasuredRow : public RowTest
{
};

TEST_P(MeasuredRow, LogsTheTimeOfTheWholeCommandLine)
{
    EXPECT_TRUE(GetParam().one("foo"));
    EXPECT_THAT(m_ground.Log().Take().at(1), RunTime(Joined(m_ground.CallsFor({"foo"}).back(), " ")));
}

INSTANTIATE_TEST_SUITE_P(Every, MeasuredRow, ::testing::ValuesIn(RowsWhere(&ActionRow::IsMeasured)),
                         ParamName());

struct OptionsRow {
    const char* name;
    bool (*withOptions)(const Words&, const VESK::Systemd::CommandOptions&, Words&);
    bool (*internal)(const Words&, const Words&, Words&, bool);
};

class EnableOptions : public ::testing::TestWithParam<OptionsRow>
{
protected:
    Words OptionsPassed(const VESK::Systemd::CommandOptions& options)
    {
        m_ground.Systemctl().ForgetCalls();
        EXPECT_TRUE(GetParam().withOptions({"a", "b"}, options, m_failed));
        const Words call = m_ground.Calls().at(0);
        return Words(call.begin() + 1, call.end() - 2);
    }

    Words m_failed;
    ActionGround m_ground{ActionRowOf(GetParam().name)};
};

TEST_P(EnableOptions, StandBetweenVerbAndUnits)
{
    VESK::Systemd::CommandOptions options;
    EXPECT_THAT(OptionsPassed(options), IsEmpty());
    options.SetNoReload();
    EXPECT_THAT(OptionsPassed(options), ElementsAre("--no-reload"));
    options.SetRunTime();
    options.SetRunTime();
    EXPECT_THAT(OptionsPassed(options), ElementsAre("--runtime", "--no-reload"));
}

TEST_P(EnableOptions, DoNotSaveAnEmptyListFromBeingRefused)
{
    VESK::Systemd::CommandOptions options;
    options.SetRunTime();
    EXPECT_FALSE(GetParam().withOptions({}, options, m_failed));
    EXPECT_TRUE(m_ground.Refused(ActionRowOf(GetParam().name).file, "!vecUnits.empty()"));
}

TEST_P(EnableOptions, CountAllUnitsAsFailedWithSystemctl)
{
    m_ground.OnVerb().Stderr("Failed to do it to b.service: no\n").Exit(1);
    EXPECT_FALSE(GetParam().withOptions({"a", "b"}, {}, m_failed));
    EXPECT_THAT(m_failed, ElementsAre("a", "b"));
}

TEST_P(EnableOptions, FlagOfTheInternalFormChangesNothing)
{
    for (const bool flag : {false, true}) {
        m_ground.Systemctl().ForgetCalls();
        EXPECT_TRUE(GetParam().internal({"--full"}, {"a"}, m_failed, flag));
        EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"a"}, {"--full"}));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, EnableOptions,
                         ::testing::Values(OptionsRow{"Enable", VESKSystemdEnableWithOptions,
                                                      VESKSystemdEnableWithOptionsInternal},
                                           OptionsRow{"Disable", VESKSystemdDisableWithOptions,
                                                      VESKSystemdDisableWithOptionsInternal}),
                         [](const auto& row) { return std::string(row.param.name); });

class MaskRow : public RowTest
{
};

TEST_P(MaskRow, FailsForUnitsThatFailedBeforeThoughSystemctlSucceeds)
{
    Words failed{"earlier"};
    EXPECT_FALSE(GetParam().list({"a"}, failed));
    EXPECT_THAT(failed, ElementsAre("earlier"));
    EXPECT_EQ(m_ground.Calls(), m_ground.CallsFor({"a"}));
    LogMatchers log = m_ground.LogOfSuccess({"a"});
    log.back() = Error(GetParam().file, "vesksystemd: [earlier] " + GetParam().notRun);
    EXPECT_THAT(m_ground.Log().Take(), ElementsAreArray(log));
}

TEST_P(MaskRow, AppendsItsUnitsToThoseThatFailedBefore)
{
    m_ground.OnVerb().Stderr("no\n").Exit(1);
    Words failed{"earlier"};
    EXPECT_FALSE(GetParam().list({"a", "b"}, failed));
    EXPECT_THAT(failed, ElementsAre("earlier", "a", "b"));
    EXPECT_THAT(m_ground.Log().Take(),
                ElementsAreArray(m_ground.LogOfFailure({"a", "b"}, {"earlier", "a", "b"}, 1, {"no\n"})));
}

INSTANTIATE_TEST_SUITE_P(Every, MaskRow, ::testing::ValuesIn(RowsWhere([](const ActionRow& row) {
                             return row.IsMask() && row.list != nullptr;
                         })),
                         ParamName());

} // namespace
} // namespace VeskTest
