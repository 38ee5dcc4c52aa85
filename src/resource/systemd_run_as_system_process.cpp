#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "resource/pid_write.hpp"

using VESK::Systemd::PidWriteResult;

bool VESKSystemdRunAsSystemProcess()
{
    const int nPid = getpid();
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: Start moving process pid[%d] out of cgroup", VESK_HERE, nPid);
    switch (VESK::Systemd::PidWrite("/sys/fs/cgroup/systemd/tasks", nPid)) {
    case PidWriteResult::Done:
        return true;
    case PidWriteResult::NotOpened:
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to open szfDefaultTaskPath", VESK_HERE);
        return false;
    case PidWriteResult::NotWritten:
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to write pid[%d] to szfDefaultTaskPath", VESK_HERE,
                 nPid);
        return false;
    case PidWriteResult::NotClosed:
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: fclose failed", VESK_HERE);
        return false;
    }
    return false;
}

int VESKCSystemdRunAsSystemProcess(void)
{
    return VESK::Systemd::CForm([] { return VESKSystemdRunAsSystemProcess(); });
}
