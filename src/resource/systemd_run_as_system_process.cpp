#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "resource/cgroup_layout.hpp"
#include "resource/pid_write.hpp"

using namespace VESK::Systemd;

bool VESKSystemdRunAsSystemProcess()
{
    const int nPid = getpid();
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: Start moving process pid[%d] out of cgroup", VESK_HERE, nPid);
    const CgroupTree tree = SystemdTree();
    const PidWriteResult result = PidWrite((tree.strFolder + "/" + tree.strMembers).c_str(), nPid);
    if (!result.blOpened) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to open szfDefaultTaskPath", VESK_HERE);
        return false;
    }
    if (!result.blWritten) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to write pid[%d] to szfDefaultTaskPath", VESK_HERE,
                 nPid);
    }
    if (!result.blClosed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: fclose failed", VESK_HERE);
    }
    return result.blWritten && result.blClosed;
}

int VESKCSystemdRunAsSystemProcess(void)
{
    return CForm([] { return VESKSystemdRunAsSystemProcess(); });
}
