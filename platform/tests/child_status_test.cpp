#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <veskcore.h>

#include "children.hpp"
#include "descriptors.hpp"
#include "run_program.hpp"

// How a child ended, also when somebody else has reaped it.

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;

/** So often will the kernel not know the child that it is asked about. */
int unknownTimes = 0;

bool KernelTellsHowAReapedChildEnded()
{
    utsname name{};
    uname(&name);
    char* rest = nullptr;
    const long major = std::strtol(name.release, &rest, 10);
    const long minor = *rest == '.' ? std::strtol(rest + 1, nullptr, 10) : 0;
    return major > 6 || (major == 6 && minor >= 15);
}

int Exec(const char* script)
{
    return VLIBCExec("/bin/sh", "-c", script, nullptr, nullptr);
}

/** What wait() says of a child that does the same. */
int StatusByWait(const char* script)
{
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sh", "/bin/sh", "-c", script, nullptr);
        _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

TEST(ChildStatus, IsTheRawWaitStatus)
{
    for (const int code : {0, 1, 3, 255}) {
        EXPECT_EQ(RunScript("exit " + std::to_string(code)).status, ExitStatus(code));
    }
    EXPECT_EQ(RunScript("kill -TERM $$").status, SIGTERM);
    EXPECT_EQ(RunScript("kill -KILL $$").status, SIGKILL);
}

TEST(ChildStatus, TellsOfACoreDump)
{
    ASSERT_EQ(chdir("/tmp"), 0);
    rlimit limit{};
    getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &limit), 0);
    EXPECT_EQ(RunScript("kill -QUIT $$").status, SIGQUIT);
    limit.rlim_cur = limit.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &limit), 0);
    // As wait() has it, which is the measure: whether there is a dump is up to the machine.
    const int status = RunScript("kill -QUIT $$").status;
    EXPECT_EQ(status, StatusByWait("kill -QUIT $$"));
}

TEST(ChildStatus, OfExecIsZeroOrAFailure)
{
    VLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(Exec("exit 0"), 0);
    EXPECT_EQ(VLIBCErrGet(), 0);
    for (const char* script : {"exit 1", "exit 255", "kill -KILL $$"}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_LT(Exec(script), 0) << script;
        EXPECT_EQ(ErrorRecord(), "0x0500 children.cpp");
    }
}

TEST(ChildStatus, LeavesNoZombie)
{
    RunScript("exit 3");
    Exec("exit 3");
    EXPECT_THAT(ListChildren().zombies, IsEmpty());
}

TEST(ChildStatus, LeavesNoZombieOfAStreamThatWasClosedWithFclose)
{
    const auto before = OpenDescriptors();
    FILE* stream = OpenProgram({"/bin/true"});
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(std::fclose(stream), 0);
    EXPECT_THAT(ListChildren().zombies, IsEmpty());
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(ChildStatus, OfAStreamThatIsNoChildsIsMissing)
{
    FILE* stream = std::fopen("/dev/null", "r");
    EXPECT_EQ(VLIBCPclose(stream), -1);
    EXPECT_EQ(ErrorRecord(), "0x0500 children.cpp");
}

TEST(ChildStatus, OfAChildThatIsNotReadIsItsBrokenPipe)
{
    FILE* stream = OpenProgram({"/bin/sh", "-c", "exec yes"});
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(VLIBCPclose(stream), SIGPIPE);
}

TEST(ChildStatus, OfEachStreamIsItsOwnWhateverTheOrder)
{
    FILE* streams[8];
    for (int number = 0; number < 8; ++number) {
        streams[number] = OpenProgram({"/bin/sh", "-c", "exit " + std::to_string(number)});
        ASSERT_NE(streams[number], nullptr);
    }
    for (const int number : {3, 7, 0, 1, 6, 2, 5, 4}) {
        EXPECT_EQ(VLIBCPclose(streams[number]), ExitStatus(number));
    }
}

class ReapedChildStatus : public ::testing::TestWithParam<void (*)()>
{
protected:
    void SetUp() override
    {
        if (!KernelTellsHowAReapedChildEnded()) {
            GTEST_SKIP() << "this kernel does not tell how a reaped child ended";
        }
    }

    // The stream of a child that has exited with 5 and was reaped.
    static FILE* EndedChild()
    {
        FILE* stream = OpenProgram({"/bin/sh", "-c", "exit 5"});
        EXPECT_TRUE(Eventually([] {
            const Children children = ListChildren();
            return children.running.empty() && children.zombies.empty();
        }));
        return stream;
    }
};

void SetHandler(void (*handler)(int), int flags)
{
    struct sigaction action {
    };
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(SIGCHLD, &action, nullptr);
}

void ReapAll(int)
{
    const int error = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = error;
}

void IgnoreIt()
{
    SetHandler(SIG_IGN, 0);
}

void LeaveNoZombies()
{
    SetHandler(SIG_DFL, SA_NOCLDWAIT);
}

void ReapInTheHandler()
{
    SetHandler(ReapAll, 0);
}

TEST_P(ReapedChildStatus, IsStillTheRightOne)
{
    GetParam()();
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(RunScript("exit 7").status, ExitStatus(7));
        ASSERT_EQ(RunScript("kill -TERM $$").status, SIGTERM);
        ASSERT_EQ(Exec("exit 0"), 0);
        ASSERT_LT(Exec("exit 1"), 0);
    }
    SetHandler(SIG_DFL, 0);
}

TEST_P(ReapedChildStatus, IsThereForAChildThatEndedLongAgo)
{
    GetParam()();
    FILE* stream = EndedChild();
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(VLIBCPclose(stream), ExitStatus(5));
    SetHandler(SIG_DFL, 0);
}

TEST_P(ReapedChildStatus, IsTheRightOneThoughItIsReapedWhileTheKernelIsAsked)
{
    GetParam()();
    FILE* stream = EndedChild();
    ASSERT_NE(stream, nullptr);
    unknownTimes = 1;
    EXPECT_EQ(VLIBCPclose(stream), ExitStatus(5));
    EXPECT_EQ(unknownTimes, 0);
    SetHandler(SIG_DFL, 0);
}

INSTANTIATE_TEST_SUITE_P(All, ReapedChildStatus,
                         ::testing::Values(IgnoreIt, LeaveNoZombies, ReapInTheHandler));

TEST(ChildStatus, IsTheRightOneWhenAnotherThreadReapsAnything)
{
    if (!KernelTellsHowAReapedChildEnded()) {
        GTEST_SKIP() << "this kernel does not tell how a reaped child ended";
    }
    std::atomic<bool> isDone{false};
    std::thread reaper([&] {
        while (!isDone) {
            waitpid(-1, nullptr, WNOHANG);
        }
    });
    for (int round = 0; round < 200; ++round) {
        EXPECT_EQ(RunScript("exit 9").status, ExitStatus(9));
    }
    isDone = true;
    reaper.join();
}

TEST(ChildStatus, StaysWithTheCallerWhenAForkedProcessClosesTheStreamToo)
{
    FILE* stream = OpenProgram({"/bin/sh", "-c", "sleep 0.3; exit 4"});
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(RunInChild([&] { return VLIBCPclose(stream) == -1 && errno == ECHILD ? 0 : 1; }), Exited(0));
    EXPECT_EQ(VLIBCPclose(stream), ExitStatus(4));
}

} // namespace

bool IsChildUnknown()
{
    return unknownTimes > 0 && unknownTimes-- > 0;
}

} // namespace VeskTest

// In place of the C library's own, for which it has to be seen.
extern "C" [[gnu::visibility("default")]] int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (VeskTest::IsChildUnknown()) {
        errno = ESRCH;
        return -1;
    }
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
}
