#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <veskcore.h>

#include "checks.hpp"
#include "children.hpp"
#include "descriptors.hpp"
#include "run_program.hpp"
#include "signal_storm.hpp"

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;

/** A pipe through which a child tells one number, or ends without. */
class Answer
{
public:
    Answer()
    {
        if (pipe2(m_ends, O_CLOEXEC) != 0) {
            m_ends[0] = m_ends[1] = -1;
        }
    }
    ~Answer()
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    [[noreturn]] void EndWith(int number) const { _exit(write(m_ends[1], &number, sizeof number) < 0); }

    int Wait()
    {
        close(m_ends[1]);
        m_ends[1] = -1;
        int number = -1;
        ssize_t count = 0;
        do {
            count = read(m_ends[0], &number, sizeof number);
        } while (count < 0 && errno == EINTR);
        return count == sizeof number ? number : -1;
    }

private:
    int m_ends[2];
};

TEST(ProcFork, GivesTheChildsNumberAndZero)
{
    Answer answer;
    const int pid = VLIBCProcForkEx(0);
    if (pid == 0) {
        answer.EndWith(getpid());
    }
    EXPECT_GT(pid, 0);
    EXPECT_EQ(answer.Wait(), pid);
    EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
}

TEST(ProcFork, DetachedIsNobodysToWaitFor)
{
    Answer self;
    const int pid = VLIBCProcForkEx(VLIBC_FORK_DETACH);
    if (pid == 0) {
        self.EndWith(getpid());
    }
    EXPECT_GT(pid, 0);
    EXPECT_EQ(self.Wait(), pid);
    EXPECT_EQ(waitpid(pid, nullptr, 0), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_THAT(ListChildren().zombies, IsEmpty());
    EXPECT_THAT(ListChildren().running, IsEmpty());
}

TEST(ProcFork, DetachedRunsOnAfterTheCallReturned)
{
    Answer answer;
    const pid_t caller = getpid();
    const int pid = VLIBCProcForkEx(VLIBC_FORK_DETACH);
    if (pid == 0) {
        usleep(50000);
        answer.EndWith(getppid() != caller ? 1 : 0);
    }
    ASSERT_GT(pid, 0);
    EXPECT_EQ(answer.Wait(), 1);
}

TEST(ProcFork, KeepsDescriptorsUnlessToldToCloseThem)
{
    Answer answer;
    const auto before = OpenDescriptors();
    if (VLIBCProcForkEx(VLIBC_FORK_DETACH) == 0) {
        answer.EndWith(OpenDescriptors() == before ? 1 : 0);
    }
    EXPECT_EQ(answer.Wait(), 1);
}

TEST(ProcFork, ClosesEveryDescriptorAboveTwoWhenToldTo)
{
    EXPECT_EQ(RunInChild([] {
                  int ends[2];
                  if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0 || close(ends[1]) != 0) {
                      return 1;
                  }
                  if (!OpenInheritable(5000)) {
                      return 3;
                  }
                  if (VLIBCProcForkEx(VLIBC_FORK_CLOSE_DESCRIPTORS | VLIBC_FORK_DETACH) == 0) {
                      const auto left = OpenDescriptors();
                      const char isRight =
                          left.size() == 3 && left.count(0) + left.count(1) + left.count(2) == 3;
                      _exit(write(STDOUT_FILENO, &isRight, 1) == 1 ? 0 : 1);
                  }
                  char isRight = 0;
                  return read(ends[0], &isRight, 1) == 1 && isRight != 0 ? 0 : 2;
              }),
              Exited(0));
}

TEST(ProcFork, WorksWhenTheCallerIgnoresItsChildren)
{
    EXPECT_EQ(RunInChild([] {
                  std::signal(SIGCHLD, SIG_IGN);
                  Answer answer;
                  const int pid = VLIBCProcForkEx(VLIBC_FORK_DETACH);
                  if (pid == 0) {
                      answer.EndWith(getpid());
                  }
                  return pid > 0 && answer.Wait() == pid ? 0 : 1;
              }),
              Exited(0));
}

TEST(ProcFork, WorksWhileSignalsArrive)
{
    const SignalStorm storm;
    while (SignalStorm::Count() < 200) {
        Answer answer;
        const int pid = VLIBCProcForkEx(VLIBC_FORK_DETACH);
        if (pid == 0) {
            answer.EndWith(getpid());
        }
        ASSERT_GT(pid, 0);
        ASSERT_EQ(answer.Wait(), pid);
    }
}

/** Forks as a user who may have `processes` of them; 0 when that fails as it should and leaves nothing. */
int ForkWithin(rlim_t processes, unsigned long long flags)
{
    constexpr uid_t kNobodyElse = 54321;
    const rlimit limit{processes, processes};
    if (setrlimit(RLIMIT_NPROC, &limit) != 0 || setresuid(kNobodyElse, kNobodyElse, kNobodyElse) != 0) {
        return 1;
    }
    VLIBCErrSetEx(0, "", 0);
    const int pid = VLIBCProcForkEx(flags);
    if (pid == 0) {
        _exit(0);
    }
    if (pid > 0 || errno != EAGAIN || ErrorRecord() != "0x0400 fork.cpp") {
        return 2;
    }
    return waitpid(-1, nullptr, 0) == -1 && errno == ECHILD ? 0 : 3;
}

TEST(ProcFork, FailsWhenNoProcessIsToBeHad)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    EXPECT_EQ(RunInChild([] { return ForkWithin(1, 0); }), Exited(0));
    EXPECT_EQ(RunInChild([] { return ForkWithin(1, VLIBC_FORK_DETACH); }), Exited(0));
}

TEST(ProcFork, FailsWhenOnlyTheProcessBetweenIsToBeHad)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    EXPECT_EQ(RunInChild([] { return ForkWithin(2, VLIBC_FORK_DETACH); }), Exited(0));
}

} // namespace
} // namespace VeskTest
