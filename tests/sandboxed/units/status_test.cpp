// Asking for a unit's states.
#include <array>
#include <unistd.h>

#include "children.hpp"
#include "refused.hpp"
#include "systemctl_script.hpp"
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;

using WordValues = std::vector<std::pair<std::string, int>>;

struct StatusRow {
    const char* name;
    const char* file;        // that looks words up
    const char* fileOfCForm; // that refuses a null pointer
    int (*get)(const std::string&);
    int (*cGet)(const char*);
    Words question;     // the arguments in front of the unit
    std::string prefix; // of the answer's word
    WordValues values;
    bool system = false; // asks the system manager, whoever the caller is
};

const WordValues kActive{{"inactive", 0},   {"active", 1},    {"deactivating", 2},
                         {"activating", 3}, {"reloading", 4}, {"failed", 5}};
const WordValues kLoad{{"stub", 0},  {"loaded", 1}, {"not-found", 2},
                       {"error", 3}, {"merged", 4}, {"masked", 5}};
const WordValues kEnable{{"disabled", 0}, {"enabled", 1},       {"enabled-runtime", 1},
                         {"static", 2},   {"masked", 3},        {"masked-runtime", 3},
                         {"linked", 4},   {"linked-runtime", 4}};

template <auto Get>
int Value(const std::string& unit)
{
    return static_cast<int>(Get(unit));
}

const std::vector<StatusRow>& Rows()
{
    static const std::vector<StatusRow> rows{
        {"Active",
         "systemd_active_status_get.cpp",
         "systemd_active_status_get.cpp",
         Value<VESKSystemdActiveStatusGet>,
         VESKCSystemdActiveStatusGet,
         {"show", "--property", "ActiveState"},
         "ActiveState=",
         kActive},
        {"ActiveSystem",
         "systemd_active_status_get.cpp",
         "systemd_active_status_get.cpp",
         Value<VESKSystemdActiveStatusGetSystem>,
         VESKCSystemdActiveStatusGetSystem,
         {"show", "--property", "ActiveState"},
         "ActiveState=",
         kActive,
         true},
        {"Load",
         "systemd_load_status_get.cpp",
         "systemd_load_status_get.cpp",
         Value<VESKSystemdLoadStatusGet>,
         VESKCSystemdLoadStatusGet,
         {"show", "--property", "LoadState"},
         "LoadState=",
         kLoad},
        {"Enable",
         "systemd_enable_status_get.cpp",
         "systemd_enable_status_get.cpp",
         Value<VESKSystemdEnableStatusGet>,
         VESKCSystemdEnableStatusGet,
         {"is-enabled"},
         "",
         kEnable},
        {"EnableSystem",
         "systemd_enable_status_get.cpp",
         "systemd_enable_status_get.cpp",
         Value<VESKSystemdEnableStatusGetSystem>,
         VESKCSystemdEnableStatusGetSystem,
         {"is-enabled"},
         "",
         kEnable,
         true},
        {"EnableInGenerator",
         "systemd_enable_status_get.cpp",
         "systemd_enable_status_get_in_generator.cpp",
         Value<VESKSystemdEnableStatusGetInGenerator>,
         VESKCSystemdEnableStatusGetInGenerator,
         {"is-enabled", "--root=/."},
         "",
         kEnable},
    };
    return rows;
}

class Status : public ::testing::TestWithParam<StatusRow>
{
protected:
    Words Question(const std::string& unit) const
    {
        Words words = GetParam().question;
        words.push_back(unit);
        return words;
    }

    Answering OnQuestion() { return m_systemctl.On(Question("foo")); }

    // The value and the error record, the same in both languages.
    std::pair<int, int> Get()
    {
        VLIBCErrSetEx(0, "", 0);
        const int value = GetParam().get("foo");
        const std::pair<int, int> result{value, VLIBCErrGet()};
        VLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(GetParam().cGet("foo"), value);
        EXPECT_EQ(VLIBCErrGet(), result.second);
        return result;
    }

    ScriptedSystemctl m_systemctl;
    SyslogCapture m_log;
};

using Result = std::pair<int, int>;

TEST_P(Status, HasAValueForEachWord)
{
    for (const auto& [word, value] : GetParam().values) {
        OnQuestion().Stdout(GetParam().prefix + word + "\n");
        EXPECT_EQ(Get(), Result(value, 0)) << word;
    }
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(Status, IsAskedOfOneUnitByOneCall)
{
    OnQuestion().Stdout(GetParam().prefix + "masked\n");
    EXPECT_NE(GetParam().get("foo"), -2);
    ASSERT_EQ(m_systemctl.Calls().size(), 1U);
    EXPECT_EQ(m_systemctl.Calls()[0].arguments, Question("foo"));
}

TEST_P(Status, IsUnknownForAnyOtherWord)
{
    const std::string known = GetParam().values[0].first;
    for (const std::string& word : {std::string("indirect"), std::string(), std::string("ENABLED"),
                                    known + " " + known, known.substr(1), std::string("-1")}) {
        OnQuestion().Stdout(GetParam().prefix + word + "\n");
        EXPECT_EQ(Get(), Result(-1, 0x8000)) << word;
    }
    GetParam().get("foo");
    EXPECT_STREQ(VLIBCErrorGetFile(), GetParam().file);
}

TEST_P(Status, CountsTheFirstLineOnlyAndTrimsIt)
{
    const auto& [word, value] = GetParam().values[3];
    OnQuestion().Stdout(" \t" + GetParam().prefix + " " + word + " \t\nother\n");
    EXPECT_EQ(Get(), Result(value, 0));
}

TEST_P(Status, IsUnknownWhenNothingIsPrinted)
{
    OnQuestion();
    EXPECT_EQ(Get(), Result(-1, 0));
}

TEST_P(Status, IsUnknownWithoutSystemctl)
{
    m_systemctl.Remove();
    EXPECT_EQ(Get().first, -1);
}

TEST_P(Status, MindsTheExitCodeOnlyWhereItReadsAProperty)
{
    const auto& [word, value] = GetParam().values[0];
    OnQuestion().Stdout(GetParam().prefix + word + "\n").Exit(1);
    EXPECT_EQ(Get(), Result(GetParam().prefix.empty() ? value : -1, 0));
}

TEST_P(Status, IsUnknownForNoUnitWhichIsRefused)
{
    EXPECT_EQ(GetParam().get(""), -1);
    EXPECT_TRUE(Refused(m_log, GetParam().file, {"!strUnit.empty()"}));
    EXPECT_EQ(GetParam().cGet(""), -1);
    EXPECT_TRUE(Refused(m_log, GetParam().file, {"!strUnit.empty()"}));
    EXPECT_EQ(GetParam().cGet(nullptr), -1);
    EXPECT_TRUE(Refused(m_log, GetParam().fileOfCForm, {"nullptr != szUnit"}));
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
}

TEST_P(Status, IsAskedOfTheUsersManagerUnlessItIsTheSystems)
{
    m_systemctl.OnAny().Stdout(GetParam().prefix + "failed\n");
    constexpr int kCannotBecomeAnother = 77;
    const Ending ending = RunInChild([this] {
        if (setgid(65534) != 0 || setuid(65534) != 0) {
            return kCannotBecomeAnother;
        }
        GetParam().get("foo");
        return 0;
    });
    if (ending == Exited(kCannotBecomeAnother)) {
        GTEST_SKIP() << "this sandbox has one user only";
    }
    ASSERT_EQ(ending, Exited(0));
    Words expected = Question("foo");
    if (!GetParam().system) {
        expected.insert(expected.begin() + 1, "--user");
    }
    ASSERT_EQ(m_systemctl.Calls().size(), 1U);
    EXPECT_EQ(m_systemctl.Calls()[0].arguments, expected);
}

INSTANTIATE_TEST_SUITE_P(Of, Status, ::testing::ValuesIn(Rows()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(EnableStatus, PassesTheCallersOptionsInFrontOfTheUnit)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"is-enabled", "--quiet", "-x y", "foo"}).Stdout("static\n");
    EXPECT_EQ(VESKSystemdEnableStatusGetWithOptions({"--quiet", "-x y"}, "foo"),
              VESK_SYSTEMD_ENABLE_STATUS_STATIC);
}

} // namespace
} // namespace VeskTest
