// Reading one property, and making the manager read its unit files again.
#include "syslog_capture.hpp"
#include "systemctl_script.hpp"
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
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
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    VLIBCErrSetEx(0, "", 0);
    EXPECT_FALSE(GetParam()("foo", "", m_value));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Error("systemd_show.cpp", "Invaild Argument (!strUnit.empty())=[0]\n"),
                            Error("systemd_show.cpp", "Invaild Argument (!strProperty.empty())=[0]\n")));
    EXPECT_THAT(m_systemctl.Calls(), IsEmpty());
    EXPECT_EQ(m_value, "before");
}

INSTANTIATE_TEST_SUITE_P(Every, ShowForm, ::testing::Values(VESKSystemdShow, VESKSystemdShowSystem),
                         [](const auto& row) { return row.index == 0 ? "Show" : "ShowSystem"; });

class DaemonReload : public ::testing::TestWithParam<bool>
{
protected:
    static bool Call() { return GetParam() ? VESKCSystemdDaemonReload() == 1 : VESKSystemdDaemonReload(); }

    static auto Line(int level, const std::string& message)
    {
        return LogLine(level, "systemd_daemon-reload.cpp", "vesksystemd: " + message);
    }

    static auto Measured()
    {
        return ::testing::Field(
            &SyslogLine::message,
            ::testing::MatchesRegex("vesksystemd: Execute time for "
                                    "\\[/usr/bin/systemctl daemon-reload\\] is [0-9]+ ms"));
    }

    ScriptedSystemctl m_systemctl;
    SyslogCapture m_log;
};

TEST_P(DaemonReload, RunsSystemctlAndMeasuresIt)
{
    m_systemctl.On({"daemon-reload"});
    EXPECT_TRUE(Call());
    EXPECT_THAT(m_systemctl.Arguments(), ElementsAre("daemon-reload"));
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Line(6, "start daemon reload"), Measured(), Line(6, "daemon reload success!")));
}

TEST_P(DaemonReload, FailsWithSystemctl)
{
    m_systemctl.On({"daemon-reload"}).Stderr("one\ntwo\n").Exit(3);
    EXPECT_FALSE(Call());
    EXPECT_THAT(m_log.Take(), ElementsAre(Line(6, "start daemon reload"), Measured(),
                                          Line(3, "daemon reload failed: ret=[3], reason=[one\n, two\n]")));
}

TEST_P(DaemonReload, FailsWithoutSystemctl)
{
    m_systemctl.Remove();
    EXPECT_FALSE(Call());
    EXPECT_THAT(m_log.Take(),
                ElementsAre(Line(6, "start daemon reload"),
                            Error("systemd_systemctl.cpp", "vesksystemd: fail to execute "
                                                           "[/usr/bin/systemctl daemon-reload]."),
                            Line(3, "daemon-reload failed.")));
}

INSTANTIATE_TEST_SUITE_P(From, DaemonReload, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "C" : "Cxx"; });

} // namespace
} // namespace VeskTest
