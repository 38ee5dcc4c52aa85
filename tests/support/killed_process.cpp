#include "killed_process.hpp"

#include <cerrno>
#include <climits>
#include <csignal>
#include <string>
#include <sys/ptrace.h>
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

} // namespace

int KillAtStep(int step, const std::function<void()>& function)
{
    const pid_t pid = StartTraced(function);
    int signal = 0;
    for (int steps = 0;;) {
        ptrace(PTRACE_SYSCALL, pid, nullptr, signal);
        const int status = AwaitStop(pid);
        if (WIFEXITED(status) || WIFSIGNALED(status)) {
            return steps;
        }
        const bool isStep = WSTOPSIG(status) == (SIGTRAP | 0x80);
        signal = isStep ? 0 : WSTOPSIG(status);
        steps += isStep ? 1 : 0;
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
