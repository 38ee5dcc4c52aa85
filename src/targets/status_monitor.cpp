#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/background.hpp"
#include "core/log.hpp"

namespace VESK::Systemd
{
namespace
{

constexpr const char* kExitLock = "/run/vesksystemd/status_monitor.exit.lock";
/** The platform's fork option for a child that keeps no descriptor above 2. */
constexpr unsigned long long kCloseDescriptors = 4;
constexpr const char* kScript = "/usr/vesk/lib/systemd/scripts/vesk-systemd-status-monitor.sh";

void RunScript()
{
    // The caller's folder may be on a volume that the caller is about to unmount.
    if (chdir("/") != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to leave the caller's folder: [%m]", VESK_HERE);
    }
    Executor executor;
    const int nCode = executor.Execute(kScript, {}).value_or(-1);
    if (nCode != 0) {
        VESK_LOG(LOG_ERR, "%s:%d Run vesk-systemd-status-monitor.sh failed, code: [%d], output: [%s]",
                 VESK_HERE, nCode, executor.GetOutput().c_str());
    }
}

} // namespace

StatusMonitor::~StatusMonitor()
{
    // A child of the caller's that gets here leaves the monitor to its parent.
    if (m_pExitLock != nullptr && m_nStarter == getpid()) {
        m_pExitLock->Release();
    }
}

bool StatusMonitor::Start()
{
    m_nStarter = getpid();
    try {
        m_pExitLock = std::make_unique<FileLock>(kExitLock, false, 10);
    } catch (const std::exception& error) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to alloc lock: [%s]", VESK_HERE, error.what());
        return false;
    }
    if (!m_pExitLock->Acquire()) {
        m_pExitLock->LogLockFailed("status monitor");
        return false;
    }
    // The child must not hold the lock whose end it waits for.
    if (!RunInBackground(RunScript, kCloseDescriptors)) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to fork and run monitor", VESK_HERE);
        return false;
    }
    return true;
}

} // namespace VESK::Systemd
