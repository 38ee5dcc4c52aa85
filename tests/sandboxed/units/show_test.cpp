// Reading one property, and making the manager read its unit files again.
#include "refused.hpp"
#include "systemctl_script.hpp"
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Show = bool (*)(const std::string&, const std::string&, std::string&);

class ShowForm : public ::testing::TestWithParam<Show>
{
protected:
    Answering OnShow() { return m_systemctl.On({"show", "--property", "Description", "foo"}); }
    bool Call() { return GetParam()("foo", "Description", m_value); }

    ScriptedSystemctl m_systemctl;
    SyslogCapture m_log;
    std::string m_value = "before";
};

TEST_P(ShowForm, GivesWhatStandsBehindTheFirstEqualsSignTrimmed)
{
    OnShow().Stdout("Description= \t a = b  c\r \nExecStart=x\n");
    EXPECT_TRUE(Call());
    EXPECT_EQ(m_value, "a = b  c");
    EXPECT_THAT(m_systemctl.Arguments(), ElementsAre("show --property Description foo"));
    EXPECT_THAT(m_log.Take(), IsEmpty());
}

TEST_P(ShowForm, GivesALineWithoutEqualsSignWhole)
{
    OnShow().Stdout("  some words ");
    EXPECT_TRUE(Call());
    EXPECT_EQ(m_value, "some words");
}

TEST_P(ShowForm, GivesAnEmptyValue)
{
    OnShow().Stdout("Description=\n");
    EXPECT_TRUE(Call());
    EXPECT_EQ(m_value, "");
}

TEST_P(ShowForm, LeavesTheValueAloneWhenItFails)
{
    OnShow().Stdout("Description=x\n").Exit(1).Then();
    EXPECT_FALSE(Call()); // an exit code other than 0
    EXPECT_FALSE(Call()); // nothing printed
    m_systemctl.Remove();
    EXPECT_FALSE(Call());
    EXPECT_EQ(m_value, "before");
}

TEST_P(ShowForm, RefusesAnEmptyUnitOrProperty)
{
    EXPECT_FALSE(GetParam()("", "", m_value));
    EXPECT_TRUE(Refused(m_log, "systemd_show.cpp", {"!strUnit.empty()"}));
    EXPECT_FALSE(GetParam()("foo", "", m_value));
    EXPECT_TRUE(Refused(m_log, "systemd_show.cpp", {"!strProperty.empty()"}));
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
    EXPECT_EQ(m_value, "before");
}

INSTANTIATE_TEST_SUITE_P(Every, ShowForm, ::testing::Values(VESKSystemdShow, VESKSystemdShowSystem),
                         [](const auto& row) { return row.index == 0 ? "Show" : "ShowSystem"; });

class DaemonReload : public ::testing::TestWithParam<bool>
{
protected:
    static bool Call() { return GetParam() ? VESKCSystemdDaemonReload() == 1 : VESKSystemdDaemonReload(); }

    ScriptedSystemctl m_systemctl;
    SyslogCapture m_log;
};

TEST_P(DaemonReload, RunsSystemctlAndMeasuresIt)
{
    m_systemctl.On({"daemon-reload"});
    EXPECT_TRUE(Call());
    EXPECT_THAT(m_systemctl.Arguments(), ElementsAre("daemon-reload"));
    EXPECT_THAT(m_log.Take(), ElementsAreArray(ReloadLog()));
}

TEST_P(DaemonReload, FailsWithSystemctl)
{
    m_systemctl.On({"daemon-reload"}).Stderr("one\ntwo\n").Exit(3);
    EXPECT_FALSE(Call());
    EXPECT_THAT(m_log.Take(), ElementsAreArray(ReloadLog(3, "one\n, two\n")));
}

TEST_P(DaemonReload, FailsWithoutSystemctl)
{
    m_systemctl.Remove();
    EXPECT_FALSE(Call());
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Info("systemd_daemon-reload.cpp", "vesksystemd: start daemon reload"),
                            NotStarted("daemon-reload"),
                            Error("systemd_daemon-reload.cpp", "vesksystemd: daemon-reload failed.")));
}

INSTANTIATE_TEST_SUITE_P(From, DaemonReload, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "C" : "Cxx"; });

} // namespace
} // namespace VeskTest
