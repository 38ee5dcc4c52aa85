#include "spawn.h"

#include "child_code.h"
#include "wait_status.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#ifndef CLONE_PIDFD
#    define CLONE_PIDFD 0x00001000
#endif

#ifdef __SANITIZE_THREAD__
// The C library's clone() by its other name. The sanitizer takes clone() for a fork and sets its own state,
// which parent and child share here, to that of a forked child.
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...);
#    define clone __clone
#endif

namespace VESK::Platform
{
namespace
{

constexpr std::size_t kStackSize = 64UL * 1024;
constexpr std::size_t kAboveFirstFrame = 64;
constexpr std::size_t kKernelSignalSetSize = 8;
constexpr int kSignals = 64;
constexpr int kNotRun = 127;
/** Whatever the caller's is: nothing that a child makes can be written by all, or not be used by its owner. */
constexpr mode_t kUmask = 022;

/** What the child is to do, and what became of it; lives in the memory that both share. */
struct ChildPlan {
    const char* path;
    char* const* argv;
    char** environment;
    ChildOutput output;
    int error;
};

VESK_CHILD_CODE int Duplicate(int from, int to)
{
    return syscall(SYS_dup3, from, to, 0) < 0 ? errno : 0;
}

VESK_CHILD_CODE int OpenNullAsInput()
{
    syscall(SYS_close, STDIN_FILENO);
    const long fd = syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR, 0);
    if (fd < 0) {
        return errno;
    }
    return fd == STDIN_FILENO ? 0 : EBADF;
}

VESK_CHILD_CODE int PlaceDescriptors(const ChildOutput& output)
{
    int error = OpenNullAsInput();
    if (error == 0) {
        error = Duplicate(output.fd >= 0 ? output.fd : STDIN_FILENO, STDOUT_FILENO);
    }
    if (error == 0) {
        error = Duplicate(output.withErrors ? STDOUT_FILENO : STDIN_FILENO, STDERR_FILENO);
    }
    return error == 0 ? CloseDescriptorsAboveStandard() : error;
}

/** Handlers go first: with the mask open, a signal must find its default action. */
VESK_CHILD_CODE void ResetSignals()
{
    const unsigned long none[8] = {};
    for (int number = 1; number <= kSignals; ++number) {
        syscall(SYS_rt_sigaction, number, none, nullptr, kKernelSignalSetSize);
    }
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, none, nullptr, kKernelSignalSetSize);
}

VESK_CHILD_CODE int RunChild(void* argument)
{
    auto* plan = static_cast<ChildPlan*>(argument);
    plan->error = PlaceDescriptors(plan->output);
    if (plan->error == 0) {
        ResetSignals();
        // The child's own: what it shares with the caller is the memory alone.
        syscall(SYS_umask, kUmask);
        syscall(SYS_execve, plan->path, plan->argv, plan->environment);
        plan->error = errno;
    }
    syscall(SYS_exit_group, kNotRun);
    return kNotRun;
}

class ChildStack
{
public:
    ChildStack()
        : m_base(mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK,
                      -1, 0))
    {
    }
    ChildStack(const ChildStack&) = delete;
    ChildStack& operator=(const ChildStack&) = delete;
    ~ChildStack()
    {
        if (IsMapped()) {
            munmap(m_base, kStackSize);
        }
    }

    bool IsMapped() const { return m_base != MAP_FAILED; }
    /** On 32-bit ARM syscall() reads more arguments from its caller's frame than it was given, and past this one. */
    void* Top() const { return static_cast<char*>(m_base) + kStackSize - kAboveFirstFrame; }

private:
    void* m_base;
};

/** Keeps the caller's handlers from running, here and in a child that is born meanwhile. */
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before{};
};

/** Returns once the child has loaded its program or has ended. The pid, or -1 with errno set. */
pid_t CloneChild(ChildPlan& plan, void* stack, int& pidFd)
{
    constexpr int kFlags = CLONE_VM | CLONE_VFORK | SIGCHLD;
    const pid_t pid = clone(RunChild, stack, kFlags | CLONE_PIDFD, &plan, &pidFd);
    if (pid >= 0 || (errno != EINVAL && errno != EMFILE && errno != ENFILE)) {
        return pid;
    }
    // An old kernel, or no descriptor left: the child can do without.
    pidFd = -1;
    return clone(RunChild, stack, kFlags, &plan);
}

} // namespace

int Child::Start(const char* path, char* const argv[], ChildEnvironment& environment,
                 const ChildOutput& output)
{
    const ChildStack stack;
    if (!stack.IsMapped()) {
        return errno;
    }
    ChildPlan plan{path, argv, environment.Get(), output, 0};
    int pidFd = -1;
    {
        const SignalsBlocked blocked;
        m_pid = CloneChild(plan, stack.Top(), pidFd);
        if (m_pid < 0) {
            return errno;
        }
    }
    m_pidFd.Reset(pidFd);
    m_pidFd.MoveAboveStandard();
    if (plan.error != 0) {
        Wait();
    }
    return plan.error;
}

int Child::Wait()
{
    return m_pidFd ? WaitForPidFd(m_pidFd.Get(), m_pid) : WaitForPid(m_pid);
}

} // namespace VESK::Platform
