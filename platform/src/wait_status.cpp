#include "wait_status.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VESK::Platform
{
namespace
{

constexpr int kIdTypePidFd = 3;

/** The first version of what the kernel tells about a process through its pidfd (Linux 6.13 and later). */
struct PidFdInfo {
    std::uint64_t mask;
    std::uint64_t cgroup;
    std::uint32_t ids[11];
    std::int32_t exitCode;
};
static_assert(sizeof(PidFdInfo) == 64);

constexpr std::uint64_t kInfoExit = 1U << 3;
constexpr unsigned long kGetInfo = _IOWR(0xFF, 11, PidFdInfo);

/** How long the reaping of an ended child may take to become visible. */
constexpr std::chrono::seconds kReapTime{1};
constexpr int kReapPollMilliseconds = 10;

bool HasEnded(int pidFd)
{
    pollfd ended{pidFd, POLLIN, 0};
    return poll(&ended, 1, 0) == 1;
}

void WaitUntilReaped(int pidFd)
{
    pollfd reaped{pidFd, 0, 0};
    poll(&reaped, 1, kReapPollMilliseconds);
}

bool GetInfo(int pidFd, PidFdInfo& info)
{
    info = {};
    info.mask = kInfoExit;
    return ioctl(pidFd, kGetInfo, &info) == 0;
}

/** The status of a child that was reaped by the kernel or by another thread of the caller's. */
int StatusOfReaped(int pidFd)
{
    const auto end = std::chrono::steady_clock::now() + kReapTime;
    while (HasEnded(pidFd) && std::chrono::steady_clock::now() < end) {
        PidFdInfo info{};
        // A child that is reaped in the midst of the call is unknown to it, and known to the next one.
        if (!GetInfo(pidFd, info) && (errno != ESRCH || !GetInfo(pidFd, info))) {
            break;
        }
        if ((info.mask & kInfoExit) != 0) {
            return info.exitCode;
        }
        WaitUntilReaped(pidFd);
    }
    errno = ECHILD;
    return -1;
}

int RawStatus(const siginfo_t& info)
{
    constexpr int kCoreDumped = 0x80;
    if (info.si_code == CLD_EXITED) {
        return (info.si_status & 0xFF) << 8;
    }
    return info.si_status | (info.si_code == CLD_DUMPED ? kCoreDumped : 0);
}

} // namespace

// The calls below go past the C library's, which are points of thread cancellation: a child that was started
// is always reaped.

int WaitForPid(pid_t pid)
{
    int status = -1;
    long result = 0;
    do {
        result = syscall(SYS_wait4, pid, &status, 0, nullptr);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? -1 : status;
}

int WaitForPidFd(int pidFd, pid_t pid)
{
    siginfo_t info{};
    long result = 0;
    do {
        result = syscall(SYS_waitid, kIdTypePidFd, pidFd, &info, WEXITED, nullptr);
    } while (result < 0 && errno == EINTR);
    if (result == 0) {
        return RawStatus(info);
    }
    // Kernels 5.2 and 5.3 hand out pidfds, but cannot wait for them.
    return errno == EINVAL ? WaitForPid(pid) : StatusOfReaped(pidFd);
}

} // namespace VESK::Platform
