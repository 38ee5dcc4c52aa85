#include <gmock/gmock.h>
#include <syslog.h>

#include "shell.hpp"
#include "syslog_capture.hpp"
#include "systemctl_script.hpp"

using namespace VeskTest;
using ::testing::ElementsAre;

TEST(Example, StartsAUnitAndLogsTheFailure)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"start", "foo"}).Stderr("Job for foo.service failed.\n").Exit(1);
    SyslogCapture log;

    const ShellResult result = RunShell("exec /usr/bin/systemctl start foo 2>&1");
    syslog(LOG_ERR, "%s:%d foo: %s", "example.cpp", 12, result.output.c_str());

    EXPECT_EQ(result.ending, Exited(1));
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("start foo"));
    EXPECT_THAT(log.Take(), ElementsAre(Error("example.cpp", "foo: Job for foo.service failed.\n")));
}
