#include "killed_process.hpp"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <string>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "error.hpp"

namespace VeskTest
{

namespace
{

// How the traced child has stopped or ended.
int AwaitStop(pid_t pid)
{
    int status = 0;
    while (waitpid(pid, &status, __WALL) < 0) {
        if (errno != EINTR) {
            VeskGround::ThrowErrno("waitpid", std::to_string(pid));
        }
    }
    return status;
}

pid_t StartTraced(const std::function<void()>& function)
{
    const pid_t pid = VeskGround::Require(fork(), "fork", "");
    if (pid == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        function();
        _exit(0);
    }
    AwaitStop(pid);
    VeskGround::Require(ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL),
                        "ptrace", std::to_string(pid));
    return pid;
}

// Whether nobody but the process itself can tell that this call was made: killed before it or after it, it leaves the
// same behind.
bool IsUnseen(std::uint64_t call)
{
    switch (call) {
    case SYS_rt_sigaction:
    case SYS_rt_sigprocmask:
#ifdef SYS_mmap
    case SYS_mmap:
    case SYS_newfstatat:
    case SYS_clock_gettime:
#else
    // What 32-bit processors call instead.
    case SYS_mmap2:
    case SYS_fstatat64:
    case SYS_clock_gettime64:
#endif
    case SYS_munmap:
    case SYS_mprotect:
    case SYS_brk:
    case SYS_getpid:
    case SYS_gettid:
        return true;
    default:
        return false;
    }
}

// Whether the process has stopped where a call has ended whose traces outlive it.
bool IsStep(pid_t pid, std::uint64_t& call)
{
    __ptrace_syscall_info info{};
    VeskGround::Require(ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof(info), &info), "ptrace",
                        std::to_string(pid));
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
        call = info.entry.nr;
        return false;
    }
    return !IsUnseen(call);
}

} // namespace

int KillAtStep(int step, const std::function<void()>& function)
{
    const pid_t pid = StartTraced(function);
    int signal = 0;
    std::uint64_t call = 0;
    for (int steps = 0;;) {
        ptrace(PTRACE_SYSCALL, pid, nullptr, signal);
        const int status = AwaitStop(pid);
        if (WIFEXITED(status) || WIFSIGNALED(status)) {
            return steps;
        }
        const bool isCall = WSTOPSIG(status) == (SIGTRAP | 0x80);
        signal = isCall ? 0 : WSTOPSIG(status);
        steps += isCall && IsStep(pid, call) ? 1 : 0;
        if (steps == step) {
            kill(pid, SIGKILL);
            AwaitStop(pid);
            return steps;
        }
    }
}

int KillAtEveryStep(const std::function<void()>& function, const std::function<void(int step)>& check)
{
    const int all = KillAtStep(INT_MAX, function);
    int kills = 0;
    for (int step = 1; step <= all; ++step) {
        kills += KillAtStep(step, function) == step ? 1 : 0;
        check(step);
    }
    return kills;
}

} // namespace VeskTest
