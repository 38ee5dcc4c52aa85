// The status monitor with the platform's own script.

#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "file_locks.hpp"
#include "paths.hpp"
#include "process_list.hpp"
#include "syslog_capture.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using VESK::Systemd::StatusMonitor;

constexpr const char* kScriptName = "vesk-systemd-status-monitor.sh";

class MonitorScript : public ::testing::Test
{
protected:
    MonitorScript()
    {
        systemctl.OnAny();
        systemctl.OnLeading({"is-system-running"}).Stdout("starting\n").Exit(1);
    }

    void TearDown() override { EXPECT_TRUE(AwaitEnd()); }

    // The script asks the manager.
    bool AwaitScript()
    {
        return Eventually([this] { return !systemctl.Calls().empty(); });
    }
    static bool AwaitEnd()
    {
        return Eventually([] {
            return ProcessesThatRun(kScriptName).empty() && OtherProcessesOfThisProgram().empty() &&
                   ProcessesWithOpen(kExitLock).empty() && IsLockFree(kExitLock);
        });
    }

    ScriptedSystemctl systemctl;
    SyslogCapture log;
};

TEST_F(MonitorScript, WatchesTheManagerWhileTheMonitorLivesAndEndsWithIt)
{
    {
        StatusMonitor monitor;
        ASSERT_TRUE(monitor.Start());
        ASSERT_TRUE(AwaitScript());
        EXPECT_TRUE(Eventually([this] {
            for (const SyslogLine& line : log.Take()) {
                if (line.message.find("system state: starting") != std::string::npos) {
                    return true;
                }
            }
            return false;
        }));
        EXPECT_FALSE(ProcessesThatRun(kScriptName).empty());
        EXPECT_FALSE(IsLockFree(kExitLock));
    }
    EXPECT_TRUE(AwaitEnd());
    for (const SyslogLine& line : log.Take()) {
        EXPECT_NE(line.file, "status_monitor.cpp") << line;
    }
}

TEST_F(MonitorScript, EndsWhileItsQueryHangs)
{
    systemctl.OnAny().WaitForFile("/tmp/query-go-on");
    systemctl.OnLeading({"is-system-running"}).WaitForFile("/tmp/query-go-on");
    {
        StatusMonitor monitor;
        ASSERT_TRUE(monitor.Start());
        ASSERT_TRUE(AwaitScript());
    }
    EXPECT_TRUE(AwaitEnd());
}

TEST_F(MonitorScript, EndsWhenTheProcessOfTheMonitorIsKilled)
{
    OtherProcess owner([] {
        StatusMonitor monitor;
        return monitor.Start() && Eventually([] { return false; }) ? 0 : 1;
    });
    ASSERT_TRUE(AwaitScript());
    EXPECT_FALSE(IsLockFree(kExitLock));

    owner.Kill();

    EXPECT_TRUE(AwaitEnd());
}

TEST_F(MonitorScript, EndsForOneMonitorOnlyWhenTheLastOneIsGone)
{
    StatusMonitor last;
    ASSERT_TRUE(last.Start());
    {
        StatusMonitor first;
        ASSERT_TRUE(first.Start());
    }
    ASSERT_TRUE(AwaitScript());
    systemctl.ForgetCalls();
    EXPECT_TRUE(AwaitScript()) << "the script has ended with the first monitor";
}

} // namespace
} // namespace VeskTest
