#include "faulty_run.hpp"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <map>
#include <set>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include "error.hpp"

// The C library's own, behind those of this program.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
}

namespace VeskTest
{

namespace
{

// Looked at from the first allocation of the program on, before anything is constructed.
std::atomic<bool> memoryIsWatched{false};
std::atomic<int> allocationsLeft{0};
bool memoryStaysOut = false;
std::atomic<bool>* memoryStruck = nullptr;

bool MemoryEnds()
{
    if (!memoryIsWatched) {
        return false;
    }
    const int left = --allocationsLeft;
    if (left > 0 || (left < 0 && !memoryStaysOut)) {
        return false;
    }
    *memoryStruck = true;
    errno = ENOMEM;
    return true;
}

// No system call; to the kernel it is an unknown one, to the tracer a mark.
constexpr long kMark = 100000;

struct Kind {
    Calls calls;
    const char* name;
    int error;
    std::set<long> numbers;
};

const std::vector<Kind>& Kinds()
{
    static const std::vector<Kind> kinds{
        {Calls::Memory, "Memory", ENOMEM, {}},
        {Calls::Map, "Map", ENOMEM, {SYS_mmap, SYS_brk, SYS_mremap}},
        {Calls::Open, "Open", EMFILE, {SYS_open, SYS_openat, SYS_creat, 437 /* openat2 */}},
        {Calls::Pipe, "Pipe", EMFILE, {SYS_pipe, SYS_pipe2}},
        {Calls::Duplicate, "Duplicate", EMFILE, {SYS_dup, SYS_dup2, SYS_dup3}},
        {Calls::Read, "Read", EIO, {SYS_read, SYS_pread64, SYS_readv}},
        {Calls::Write, "Write", ENOSPC, {SYS_write, SYS_pwrite64, SYS_writev}},
        {Calls::Close, "Close", EIO, {SYS_close}},
        {Calls::Fork, "Fork", EAGAIN, {SYS_fork, SYS_vfork, SYS_clone, 435 /* clone3 */}},
        {Calls::Exec, "Exec", ENOMEM, {SYS_execve, SYS_execveat}},
        {Calls::Wait, "Wait", ECHILD, {SYS_wait4, SYS_waitid}},
        {Calls::Rename, "Rename", EIO, {SYS_rename, SYS_renameat, SYS_renameat2}},
        {Calls::Sync, "Sync", EIO, {SYS_fsync, SYS_fdatasync, SYS_syncfs}},
        {Calls::Unlink, "Unlink", EIO, {SYS_unlink, SYS_unlinkat, SYS_rmdir}},
        {Calls::Make,
         "Make",
         ENOSPC,
         {SYS_mkdir, SYS_mkdirat, SYS_link, SYS_linkat, SYS_symlink, SYS_symlinkat, SYS_truncate,
          SYS_ftruncate}},
        {Calls::Give,
         "Give",
         EIO,
         {SYS_chmod, SYS_fchmod, SYS_fchmodat, SYS_chown, SYS_fchown, SYS_lchown, SYS_fchownat}},
        {Calls::Look,
         "Look",
         ENOMEM,
         {SYS_stat, SYS_lstat, SYS_fstat, SYS_newfstatat, SYS_statx, SYS_access, SYS_faccessat,
          439 /* faccessat2 */, SYS_readlink, SYS_readlinkat, SYS_statfs, SYS_fstatfs}},
        {Calls::ReadFolder, "ReadFolder", EIO, {SYS_getdents64}},
        {Calls::Lock, "Lock", ENOLCK, {SYS_flock}},
    };
    return kinds;
}

const Kind& KindOf(Calls calls)
{
    return Kinds()[static_cast<std::size_t>(calls)];
}

std::atomic<bool>& SharedFlag()
{
    static void* const place =
        mmap(nullptr, sizeof(std::atomic<bool>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) {
        VeskGround::ThrowErrno("map", "a flag");
    }
    return *static_cast<std::atomic<bool>*>(place);
}

Ending EndingOf(int status)
{
    return WIFEXITED(status) ? Exited(WEXITSTATUS(status)) : Signalled(WTERMSIG(status));
}

// STOPPED is -1 when there is nobody to wait for.
int Await(pid_t pid, pid_t& stopped)
{
    int status = 0;
    while ((stopped = waitpid(pid, &status, __WALL)) < 0) {
        if (errno == ECHILD) {
            return 0;
        }
        if (errno != EINTR) {
            VeskGround::ThrowErrno("waitpid", std::to_string(pid));
        }
    }
    return status;
}

[[noreturn]] void Run(const std::function<void()>& function)
{
    // Whoever hangs has failed.
    constexpr unsigned kSeconds = 40;
    alarm(kSeconds);
    function();
    _exit(0);
}

FaultyRun RunWithoutMemory(const Fault& fault, const std::function<void()>& function)
{
    memoryStruck = &SharedFlag();
    *memoryStruck = false;
    const pid_t pid = VeskGround::Require(fork(), "fork", "");
    if (pid == 0) {
        allocationsLeft = fault.number;
        memoryStaysOut = fault.onwards;
        Run(function);
    }
    pid_t ended = 0;
    const int status = Await(pid, ended);
    return {EndingOf(status), *memoryStruck};
}

// From now on the calls of a kind, and marks, stop for the tracer, and no others: all stops would take long.
void StopAt(const std::set<long>& numbers)
{
    std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    const auto stopAt = [&](long number) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    };
    stopAt(kMark);
    for (const long number : numbers) {
        stopAt(number);
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    VeskGround::Require(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0), "filter", "calls");
}

// Follows a process and what it starts, to the end of all.
class Tracer
{
public:
    Tracer(const Fault& fault, const std::function<void()>& function)
        : m_fault(fault)
        , m_kind(KindOf(fault.calls))
        , m_first(VeskGround::Require(fork(), "fork", ""))
    {
        if (m_first == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            StopAt(m_kind.numbers);
            Run(function);
        }
    }

    FaultyRun Follow()
    {
        pid_t pid = 0;
        Await(m_first, pid);
        const auto options = PTRACE_O_TRACESECCOMP | PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL |
                             PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE |
                             PTRACE_O_TRACEEXEC;
        VeskGround::Require(ptrace(PTRACE_SETOPTIONS, m_first, nullptr, options), "ptrace", "");
        m_traced[m_first] = {};
        ptrace(PTRACE_CONT, m_first, nullptr, 0);
        // One may have ended before its parent's stop told of it, so that nobody is left to wait for.
        while (!m_traced.empty() && pid > 0) {
            const int status = Await(-1, pid);
            if (pid > 0) {
                Take(pid, status);
            }
        }
        return m_run;
    }

private:
    struct Process {
        bool isOther = false; // a program that was started
    };

    void Take(pid_t pid, int status)
    {
        if (WIFEXITED(status) || WIFSIGNALED(status)) {
            m_traced.erase(pid);
            if (pid == m_first) {
                m_run.ending = EndingOf(status);
            }
            return;
        }
        const bool isNew = m_traced.count(pid) == 0;
        Process& process = m_traced[pid];
        const int event = status >> 16;
        const int signal = WSTOPSIG(status);
        if (event == PTRACE_EVENT_SECCOMP) {
            Enter(pid, process);
            return;
        }
        if (event == PTRACE_EVENT_EXEC) {
            process.isOther = true;
        } else if (event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK || event == PTRACE_EVENT_CLONE) {
            unsigned long child = 0;
            ptrace(PTRACE_GETEVENTMSG, pid, nullptr, &child);
            const bool isOther = process.isOther;
            m_traced[static_cast<pid_t>(child)].isOther = isOther;
            m_starting.insert(static_cast<pid_t>(child));
        } else if (signal == (SIGTRAP | 0x80)) {
            Answer(pid);
        }
        const bool isStart = signal == SIGSTOP && (isNew || m_starting.erase(pid) != 0);
        const bool isSignal = event == 0 && signal != (SIGTRAP | 0x80) && !isStart;
        ptrace(PTRACE_CONT, pid, nullptr, isSignal ? signal : 0);
    }

    void Enter(pid_t pid, const Process& process)
    {
        user_regs_struct registers{};
        ptrace(PTRACE_GETREGS, pid, nullptr, &registers);
        if (static_cast<long>(registers.orig_rax) == kMark) {
            m_active = registers.rdi != 0;
        } else if (m_active && !process.isOther && Strikes()) {
            if (m_fault.calls == Calls::Close) {
                ptrace(PTRACE_SYSCALL, pid, nullptr, 0);
                return;
            }
            registers.orig_rax = static_cast<unsigned long long>(-1);
            registers.rax = static_cast<unsigned long long>(-m_kind.error);
            ptrace(PTRACE_SETREGS, pid, nullptr, &registers);
        }
        ptrace(PTRACE_CONT, pid, nullptr, 0);
    }

    // At the end of a call that was made.
    void Answer(pid_t pid) const
    {
        user_regs_struct registers{};
        ptrace(PTRACE_GETREGS, pid, nullptr, &registers);
        registers.rax = static_cast<unsigned long long>(-m_kind.error);
        ptrace(PTRACE_SETREGS, pid, nullptr, &registers);
    }

    bool Strikes()
    {
        ++m_calls;
        const bool strikes = m_calls == m_fault.number || (m_fault.onwards && m_calls > m_fault.number);
        m_run.struck = m_run.struck || strikes;
        return strikes;
    }

    Fault m_fault;
    const Kind& m_kind;
    pid_t m_first;
    std::map<pid_t, Process> m_traced;
    std::set<pid_t> m_starting;
    int m_calls = 0;
    bool m_active = false;
    FaultyRun m_run;
};

} // namespace

std::string NameOf(Calls calls)
{
    return KindOf(calls).name;
}

const std::vector<Calls>& AllCalls()
{
    static const std::vector<Calls> all = [] {
        std::vector<Calls> calls;
        for (const Kind& kind : Kinds()) {
            calls.push_back(kind.calls);
        }
        return calls;
    }();
    return all;
}

bool HasAllFaults()
{
    return std::getenv("VESK_TEST_FAULTS") != nullptr;
}

FaultyRun RunWithFault(const Fault& fault, const std::function<void()>& function)
{
    if (fault.calls == Calls::Memory) {
        return RunWithoutMemory(fault, function);
    }
    return Tracer(fault, function).Follow();
}

void FaultsBegin()
{
    syscall(kMark, 1);
    memoryIsWatched = allocationsLeft > 0;
}

void FaultsEnd()
{
    memoryIsWatched = false;
    syscall(kMark, 0);
}

} // namespace VeskTest

// In place of the C library's own, for which they have to be seen.
#pragma GCC visibility push(default)

extern "C" {

void* malloc(size_t size) noexcept
{
    return VeskTest::MemoryEnds() ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept
{
    return VeskTest::MemoryEnds() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) noexcept
{
    return VeskTest::MemoryEnds() ? nullptr : __libc_realloc(memory, size);
}

} // extern "C"

#pragma GCC visibility pop
