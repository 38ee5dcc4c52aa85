#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <veskcore.h>

#include "children.hpp"
#include "descriptors.hpp"
#include "run_program.hpp"
#include "system_call_filter.hpp"

// What newer kernels have is missed by nobody on older ones.

namespace VeskTest
{
namespace
{

constexpr std::uint32_t kPidFdGetInfo = 0xC040FF0BU;

bool ChildrenWork()
{
    const auto before = OpenDescriptors();
    const Result result = RunScript("echo text; exit 3");
    return result.output == "text\n" && result.status == ExitStatus(3) &&
           RunScript("kill -TERM $$").status == SIGTERM &&
           VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr) == 0 &&
           VLIBCExec("/bin/false", nullptr, nullptr, nullptr, nullptr) < 0 && OpenDescriptors() == before &&
           ListChildren().zombies.empty();
}

bool ChildHasDescriptorsZeroToTwo()
{
    // The shell's listing has the folder itself open as well.
    return RunScript("echo /proc/self/fd/*").output == "/proc/self/fd/0 /proc/self/fd/1 /proc/self/fd/2 "
                                                       "/proc/self/fd/3\n";
}

TEST(OldKernel, WithoutCloseRangeLeaksNothing)
{
    EXPECT_EQ(RunInChild([] {
                  if (!OpenInheritable(3000)) {
                      return 1;
                  }
                  FailSystemCall(SYS_close_range, ENOSYS);
                  return ChildHasDescriptorsZeroToTwo() && ChildrenWork() ? 0 : 2;
              }),
              Exited(0));
}

TEST(OldKernel, WithoutCloseRangeClosesThemInAForkedChildToo)
{
    EXPECT_EQ(RunInChild([] {
                  if (!OpenInheritable(3000)) {
                      return 1;
                  }
                  FailSystemCall(SYS_close_range, ENOSYS);
                  int ends[2];
                  if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0 || close(ends[1]) != 0) {
                      return 2;
                  }
                  if (VLIBCProcForkEx(VLIBC_FORK_DETACH | VLIBC_FORK_CLOSE_DESCRIPTORS) == 0) {
                      const char count = static_cast<char>(OpenDescriptors().size());
                      _exit(write(STDOUT_FILENO, &count, 1) == 1 ? 0 : 1);
                  }
                  char count = 0;
                  return read(ends[0], &count, 1) == 1 && count == 3 ? 0 : 3;
              }),
              Exited(0));
}

TEST(OldKernel, WithoutCloseRangeLeaksNothingOfAFullTable)
{
    EXPECT_EQ(RunInChild([] {
                  const rlimit limit{256, 256};
                  setrlimit(RLIMIT_NOFILE, &limit);
                  while (open("/dev/zero", O_RDONLY) >= 0) {
                  }
                  FailSystemCall(SYS_close_range, ENOSYS);
                  int ended = -1;
                  const int pid = VLIBCProcForkEx(VLIBC_FORK_CLOSE_DESCRIPTORS);
                  if (pid == 0) {
                      _exit(static_cast<int>(OpenDescriptors().size()));
                  }
                  return waitpid(pid, &ended, 0) == pid && ended == ExitStatus(3) &&
                                 VLIBCExec("/bin/sh", "-c", "set -- /proc/self/fd/*; test $# = 4", nullptr,
                                           nullptr) == 0
                             ? 0
                             : 1;
              }),
              Exited(0));
}

TEST(OldKernel, WithoutPidFdsWaitsByNumber)
{
    EXPECT_EQ(RunInChild([] {
                  FailSystemCall(SYS_clone, EINVAL, 0, CLONE_PIDFD);
                  return ChildrenWork() ? 0 : 1;
              }),
              Exited(0));
}

TEST(OldKernel, WithPidFdsThatCannotBeWaitedForWaitsByNumber)
{
    EXPECT_EQ(RunInChild([] {
                  FailSystemCall(SYS_waitid, EINVAL);
                  return ChildrenWork() ? 0 : 1;
              }),
              Exited(0));
}

TEST(OldKernel, ThatDoesNotTellHowAReapedChildEndedGivesNoStatus)
{
    // Those that cannot be asked, and those that tell of living processes only.
    for (const int error : {ENOTTY, ESRCH}) {
        EXPECT_EQ(RunInChild([error] {
                      FailSystemCallWith(SYS_ioctl, error, 1, kPidFdGetInfo);
                      if (!ChildrenWork()) {
                          return 1;
                      }
                      std::signal(SIGCHLD, SIG_IGN);
                      const Result result = RunScript("echo text; exit 3");
                      return result.output == "text\n" && result.status == -1 && errno == ECHILD &&
                                     VLIBCErrGet() == VLIBC_ERR_CHILD
                                 ? 0
                                 : 2;
                  }),
                  Exited(0))
            << error;
    }
}

} // namespace
} // namespace VeskTest
