#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "checks.hpp"
#include "children.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "holdings.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::ForkAndRun;

constexpr unsigned long long kCloseDescriptors = 4;
constexpr const char* kDone = "/tmp/done";

void Append(const std::string& word)
{
    std::ofstream(kDone, std::ios::app) << word;
}

// A child is nobody's, so the test declares itself the reaper of orphans to see how it ends.
class ForkAndRunTest : public ::testing::Test
{
protected:
    ForkAndRunTest() { ReapOrphans(true); }

    // A forked process has to say so itself.
    static void ReapOrphans(bool really) { prctl(PR_SET_CHILD_SUBREAPER, really ? 1 : 0); }

    // Reaps the one child there is.
    static int ExitStatus()
    {
        int status = -1;
        pid_t child = 0;
        EXPECT_TRUE(Eventually([&] { return (child = waitpid(-1, &status, WNOHANG)) > 0; })) << child;
        return status;
    }

    void ExpectLineAndExitCodeZero(const std::function<void()>& function, const std::string& message)
    {
        EXPECT_TRUE(ForkAndRun(function, 0));
        EXPECT_EQ(ExitStatus(), 0);
        EXPECT_THAT(log.Take(), ElementsAre(Error("common.cpp", message)));
    }

    SyslogCapture log;
};

TEST_F(ForkAndRunTest, RunsTheFunctionInAnotherProcess)
{
    const pid_t caller = getpid();
    EXPECT_TRUE(ForkAndRun([&] { Append(getpid() == caller ? "here" : "elsewhere"); }, 0));
    EXPECT_EQ(ExitStatus(), 0);
    EXPECT_EQ(ReadText(kDone), "elsewhere");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ForkAndRunTest, ReturnsInTheParentWithoutWaiting)
{
    EXPECT_TRUE(ForkAndRun(
        [] {
            while (!Exists("/tmp/go")) {
                usleep(100);
            }
            Append("done");
        },
        0));
    EXPECT_FALSE(Exists(kDone)) << "the child still waits for the file";
    WriteText("/tmp/go", "");
    EXPECT_EQ(ExitStatus(), 0);
    EXPECT_EQ(ReadText(kDone), "done");
}

TEST_F(ForkAndRunTest, LeavesNoChildAndNoZombieOfTheCaller)
{
    ExpectInChild([] {
        ReapOrphans(false);
        const Holdings before = Holdings::Now();
        EXPECT_TRUE(ForkAndRun([] { Append("done"); }, 0));
        EXPECT_TRUE(ForkAndRun([] { throw std::runtime_error("boom"); }, kCloseDescriptors));
        EXPECT_TRUE(Eventually([] { return Exists(kDone) && ReadText(kDone) == "done"; }));
        EXPECT_EQ(Holdings::Now(), before);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    });
}

TEST_F(ForkAndRunTest, KeepsTheDescriptorsUnlessToldToCloseThem)
{
    const auto record = [](const char* path) {
        return [path] {
            std::string numbers;
            for (const auto& descriptor : OpenDescriptors()) {
                numbers += std::to_string(descriptor.first) + " ";
            }
            WriteText(path, numbers);
        };
    };
    ASSERT_EQ(dup2(STDERR_FILENO, 77), 77);
    EXPECT_TRUE(ForkAndRun(record("/tmp/kept"), 0));
    EXPECT_EQ(ExitStatus(), 0);
    EXPECT_TRUE(ForkAndRun(record("/tmp/closed"), kCloseDescriptors));
    EXPECT_EQ(ExitStatus(), 0);
    EXPECT_THAT(ReadText("/tmp/kept"), ::testing::EndsWith(" 77 "));
    EXPECT_EQ(ReadText("/tmp/closed"), "0 1 2 ");
}

TEST_F(ForkAndRunTest, LogsAnExceptionAndEndsWithZero)
{
    ExpectLineAndExitCodeZero([] { throw std::runtime_error("boom [1]"); },
                              "Failed to execute function, exception = [boom [1]]");
}

TEST_F(ForkAndRunTest, TakesAnEmptyFunctionForAnException)
{
    ExpectLineAndExitCodeZero(nullptr, "Failed to execute function, exception = [bad_function_call]");
}

TEST_F(ForkAndRunTest, LogsAnExceptionOfAnyOtherType)
{
    ExpectLineAndExitCodeZero([] { throw 42; }, "Failed to execute function");
}

TEST_F(ForkAndRunTest, LogsAnExceptionAlsoAfterTheDescriptorsWereClosed)
{
    EXPECT_TRUE(ForkAndRun([] { throw std::runtime_error("boom"); }, kCloseDescriptors));
    EXPECT_EQ(ExitStatus(), 0);
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("common.cpp", "Failed to execute function, exception = [boom]")));
}

TEST_F(ForkAndRunTest, RunsNoExitHandlersAndFlushesNoStreamsOfTheCaller)
{
    ExpectInChild([] {
        ReapOrphans(true);
        FILE* stream = std::fopen("/tmp/buffered", "w");
        EXPECT_GE(std::fputs("once", stream), 0);
        EXPECT_EQ(std::atexit([] { Append("handler"); }), 0);
        EXPECT_TRUE(ForkAndRun([] {}, 0));
        EXPECT_EQ(ExitStatus(), 0);
        EXPECT_FALSE(Exists(kDone));
        EXPECT_EQ(ReadText("/tmp/buffered"), "");
        EXPECT_TRUE(ForkAndRun([] { throw 1; }, 0));
        EXPECT_EQ(ExitStatus(), 0);
        EXPECT_FALSE(Exists(kDone));
        EXPECT_EQ(std::fclose(stream), 0);
    });
}

TEST_F(ForkAndRunTest, LogsAForkThatFails)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
    }
    ExpectAsUser(4711, [this] {
        const rlimit limit{1, 1};
        ASSERT_EQ(setrlimit(RLIMIT_NPROC, &limit), 0);
        const Holdings before = Holdings::Now();
        EXPECT_FALSE(ForkAndRun([] { Append("ran"); }, 0));
        EXPECT_EQ(Holdings::Now(), before);
        EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_RESOURCES);
        EXPECT_THAT(log.Take(),
                    ElementsAre(Error("common.cpp", std::string("vesksystemd: Failed to fork[0x0400 ") +
                                                        VLIBCErrorGetFile() + ":" +
                                                        std::to_string(VLIBCErrorGetLine()) + "]")));
    });
    EXPECT_FALSE(Exists(kDone));
}

TEST_F(ForkAndRunTest, LogsNothingWhenTheProcessLogsAlertsOnly)
{
    const int before = setlogmask(LOG_UPTO(LOG_CRIT));
    EXPECT_TRUE(ForkAndRun([] { throw 42; }, 0));
    EXPECT_EQ(ExitStatus(), 0);
    setlogmask(before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

} // namespace
} // namespace VeskTest
