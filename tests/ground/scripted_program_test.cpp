#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <syslog.h>

#include "syslog_capture.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;

TEST(ScriptedSystemctl, AnswersAndRecordsACallInTheSandbox)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"start", "foo"}).Stderr("Job for foo.service failed.\n").Exit(1);
    EXPECT_EQ(WEXITSTATUS(std::system("/usr/bin/systemctl start foo")), 1);
    EXPECT_EQ(WEXITSTATUS(std::system("/usr/bin/systemctl stop foo")), kUnexpectedCall);
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("start foo", "stop foo"));
}

TEST(SyslogCapture, ReadsLevelFileAndMessage)
{
    SyslogCapture log;
    syslog(LOG_INFO, "%s:%d vesksystemd: [%s] starting ...", "systemd_start.cpp", 12, "foo");
    syslog(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", "systemd_start.cpp", 13, "nullptr != szUnit", 0);
    EXPECT_THAT(log.Take(),
                ElementsAre(Info("systemd_start.cpp", "vesksystemd: [foo] starting ..."),
                            Error("systemd_start.cpp", "Invaild Argument (nullptr != szUnit)=[0]\n")));
}

} // namespace
} // namespace VeskTest
