#include "targets/isolate_monitor.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <syslog.h>
#include <unistd.h>

#include "core/directory.hpp"
#include "core/log.hpp"
#include "core/pause.hpp"

namespace VESK::Systemd
{
namespace
{

constexpr int kRounds = 240;

std::string LinkTarget(int fdFolder, const char* szLink)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t cbTarget = readlinkat(fdFolder, szLink, target.data(), target.size());
    return {target.data(), cbTarget > 0 ? static_cast<size_t>(cbTarget) : 0};
}

/** Closes what the child has inherited, other locks of its parent among it, except the isolate lock. */
void CloseOtherDescriptors()
{
    closelog();
    Directory descriptors("/proc/self/fd");
    std::vector<int> vecOthers;
    while (const char* szDescriptor = descriptors.Next()) {
        const int fd = atoi(szDescriptor);
        if (fd > STDERR_FILENO && fd != descriptors.Descriptor() &&
            LinkTarget(descriptors.Descriptor(), szDescriptor) != kIsolateLock) {
            vecOthers.push_back(fd);
        }
    }
    for (const int fd : vecOthers) {
        close(fd);
    }
}

bool IsIsolating(pid_t nParent)
{
    Executor executor;
    const auto exitCode =
        executor.Execute("/bin/ps", {"--no-headers", "-o", "args", "--ppid", std::to_string(nParent)});
    return exitCode == 0 && executor.GetOutput().find("/usr/bin/systemctl isolate") != std::string::npos;
}

bool HasEnded(pid_t nParent)
{
    return access(kIsolateFlag, F_OK) != 0 || (kill(nParent, 0) != 0 && errno == ESRCH);
}

bool WaitsForIsolation(pid_t nParent)
{
    for (int nRound = 0; nRound < kRounds; ++nRound) {
        if (IsIsolating(nParent) || HasEnded(nParent)) {
            return true;
        }
        PauseHalfSecond();
    }
    return false;
}

} // namespace

void IsolateMonitorRun(const FileLock& lock, pid_t nParent)
{
    FileLock sharedLock(lock);
    CloseOtherDescriptors();
    if (!WaitsForIsolation(nParent)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Isolate doesn't execute successfully", VESK_HERE);
    }
    sharedLock.Release();
    _exit(0);
}

} // namespace VESK::Systemd
