// Runs of systemctl that fail in ways that no state of a sandbox brings about.
#include <gmock/gmock.h>

#include "boot_step.hpp"
#include "c_library_faults.hpp"
#include "holdings.hpp"
#include "queued_jobs.hpp"
#include "runner_call.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(RunnerFailure, IsOutputThatCannotBeReadToItsEnd)
{
    ScriptedSystemctl systemctl;
    SyslogCapture log;
    systemctl.OnAny().Stdout("one\n");
    ClearBootStep();
    const auto opts = VESK::Systemd::SystemctlOptsBuilder().SetCalRunTime(true).Build();
    const Holdings before = Holdings::Now();
    {
        const CLibraryFault fault(CLibraryFault::Getdelim);
        const RunnerCall call = RunSystemctl("show", opts, {"foo"});
        EXPECT_TRUE(call.refused);
        EXPECT_EQ(call.callbacks, 0);
    }
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_THAT(log.Take(), ElementsAre(Error(
                                kRunnerFile, "vesksystemd: fail to execute [/usr/bin/systemctl show foo].")));
}

TEST(RunnerFailure, OfAnActionIsTheFailureOfAllItsUnits)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Stdout("one\n");
    ClearBootStep();
    Words failed;
    const CLibraryFault fault(CLibraryFault::Getdelim);
    EXPECT_FALSE(VESKSystemdReenable({"a", "b"}, failed));
    EXPECT_THAT(failed, ElementsAre("a", "b"));
    Words units;
    EXPECT_FALSE(VESKSystemdListUnits(units, ""));
    EXPECT_THAT(units, IsEmpty());
}

} // namespace
} // namespace VeskTest
