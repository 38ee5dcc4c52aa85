#include <gmock/gmock.h>
#include <new>

#include "boot_step.hpp"
#include "holdings.hpp"
#include "memory_fault.hpp"
#include "queued_jobs.hpp"
#include "runner_call.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAre;

TEST(SplitWithoutMemory, FailsWithItsCodeAndLeavesTheListAsItWas)
{
    const std::string text = "a text that is longer than a string holds in itself, b, c";
    Words words{"earlier"};
    int failures = 0;
    for (bool done = false; !done; failures += done ? 0 : 1) {
        VLIBCErrSetEx(0, "", 0);
        {
            const MemoryFor memory(failures);
            done = VESK::Systemd::Split(text, words, ",");
        }
        if (!done) {
            EXPECT_EQ(VLIBCErrGet(), 0x8000);
            EXPECT_STREQ(VLIBCErrorGetFile(), "systemd_internal_lib.cpp");
            EXPECT_GT(VLIBCErrorGetLine(), 0);
            EXPECT_THAT(words, ElementsAre("earlier"));
        }
    }
    EXPECT_GT(failures, 2) << "copying the text, then each of the pieces";
    EXPECT_THAT(words, ElementsAre("a text that is longer than a string holds in itself", " b", " c"));
}

// Calls BODY with ever more memory until it has enough; how often it had not.
template <typename Body>
int FailuresUntilEnough(const Body& body)
{
    const Holdings before = Holdings::Now();
    for (int failures = 0;; ++failures) {
        bool failed = false;
        try {
            const MemoryFor memory(failures);
            body();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        EXPECT_EQ(Holdings::Now(), before) << failures;
        if (!failed) {
            return failures;
        }
    }
}

TEST(RunnerWithoutMemory, PassesTheFailureOnAndLeavesNothingBehind)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Stdout("a line that is longer than a string holds in itself\n", 40).Exit(3);
    ClearBootStep();
    const Words options{"--an-option-that-is-longer-than-a-string-holds-in-itself"};
    const Words units{"a-unit-that-is-longer-than-a-string-holds-in-itself"};
    int exitCode = -1;
    bool startFailed = false;
    const int failures = FailuresUntilEnough([&] {
        try {
            startFailed = false;
            VESKSystemdSystemctl("show", options, units, [&](int code, const Words&) {
                exitCode = code;
                return true;
            });
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            startFailed = true;
            throw std::bad_alloc();
        }
    });
    EXPECT_GT(failures, 50) << "there are forty lines alone";
    EXPECT_EQ(exitCode, 3);
    EXPECT_FALSE(startFailed);
}

TEST(JobWithoutMemory, IsToldInFullOrNotAtAll)
{
    VESK::Systemd::JobInfo job;
    job.id = 1234;
    job.unit = "a-service-with-a-name-that-needs-memory.service";
    std::string text;
    EXPECT_GT(FailuresUntilEnough([&] {
                  text = job.ToString();
                  EXPECT_EQ(text, "1234 a-service-with-a-name-that-needs-memory.service start running");
              }),
              1);
}

TEST(LockWithoutMemory, IsNotHeldAfterwards)
{
    SyslogCapture log;
    const int failures = FailuresUntilEnough([] {
        VESK::Systemd::FileLock lock("/run/vesksystemd/locks/a-name-that-is-long-enough.lock", true, 0);
        if (!lock.Acquire()) {
            throw std::bad_alloc();
        }
        lock.Release();
    });
    EXPECT_GT(failures, 0);
    // The child that makes the folder needs memory too, for its environment, and its failure is told.
    EXPECT_THAT(log.Take(), Each(Error("lock.cpp", "vesksystemd: failed to mkdir [/run/vesksystemd/locks]")));
}

} // namespace
} // namespace VeskTest
