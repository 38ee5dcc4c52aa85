#include "targets/isolate_monitor.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <numeric>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "vesksystemd.hpp"

#include "core/directory.hpp"
#include "core/paths.hpp"
#include "core/pause.hpp"
#include "core/unique_fd.hpp"

#ifndef SYS_pidfd_open
#    define SYS_pidfd_open 434
#endif

namespace VESK::Systemd
{
namespace
{

constexpr int kFirstDescriptor = STDERR_FILENO + 1;
constexpr int kRounds = 240;
/** Many times what a round takes, on a busy machine too. A child that hung would keep the lock. */
constexpr unsigned kMostSecondsOfARound = 60;

/** A process that may end, and may then stay unreaped for long. */
class WatchedProcess
{
public:
    explicit WatchedProcess(pid_t nPid)
        : m_nPid(nPid)
        , m_fd(static_cast<int>(syscall(SYS_pidfd_open, nPid, 0)))
    {
    }

    int Descriptor() const { return m_fd.Get(); }

    bool HasDied() const
    {
        pollfd end{m_fd.Get(), POLLIN, 0};
        // Kernels before 5.3 have no such descriptors.
        return m_fd.IsOpen() ? poll(&end, 1, 0) == 1 : kill(m_nPid, 0) != 0 && errno == ESRCH;
    }

private:
    pid_t m_nPid;
    UniqueFd m_fd;
};

bool IsIsolateLock(int fd)
{
    struct stat lock {
    };
    struct stat file {
    };
    return stat(kIsolateLock, &lock) == 0 && fstat(fd, &file) == 0 && file.st_dev == lock.st_dev &&
           file.st_ino == lock.st_ino;
}

/** The open descriptors above 2; all that there may be when the folder that lists them cannot be read. */
std::vector<int> OpenDescriptors()
{
    std::vector<int> vecDescriptors;
    Directory descriptors("/proc/self/fd");
    while (const char* szDescriptor = descriptors.Next()) {
        const int fd = static_cast<int>(strtol(szDescriptor, nullptr, 10));
        if (fd >= kFirstDescriptor && fd != descriptors.Descriptor()) {
            vecDescriptors.push_back(fd);
        }
    }
    if (descriptors.Error() != 0) {
        vecDescriptors.resize(static_cast<size_t>(std::max(getdtablesize() - kFirstDescriptor, 0)));
        std::iota(vecDescriptors.begin(), vecDescriptors.end(), kFirstDescriptor);
    }
    return vecDescriptors;
}

/**
 * Closes what the child has inherited, other locks of its parent among it, except the isolate lock. Not with
 * closelog: another thread of the parent may have been inside syslog when it forked.
 */
void CloseOtherDescriptors(int fdKept)
{
    for (const int fd : OpenDescriptors()) {
        if (fd != fdKept && !IsIsolateLock(fd)) {
            close(fd);
        }
    }
}

bool IsIsolating(pid_t nParent)
{
    Executor executor;
    const auto exitCode =
        executor.Execute("/bin/ps", {"--no-headers", "-o", "args", "--ppid", std::to_string(nParent)});
    return exitCode == 0 && executor.GetOutput().find("/usr/bin/systemctl isolate") != std::string::npos;
}

bool HasFinished()
{
    return access(kIsolateFlag, F_OK) != 0;
}

} // namespace

bool IsolateMonitorWait(pid_t nParent)
{
    const WatchedProcess parent(nParent);
    CloseOtherDescriptors(parent.Descriptor());
    for (int nRound = 0; nRound < kRounds; ++nRound) {
        alarm(kMostSecondsOfARound);
        if (IsIsolating(nParent) || HasFinished() || parent.HasDied()) {
            return true;
        }
        PauseHalfSecond();
    }
    return false;
}

} // namespace VESK::Systemd
