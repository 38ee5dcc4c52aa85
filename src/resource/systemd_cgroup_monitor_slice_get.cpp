#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"

using namespace VESK::Systemd;

bool VESKSystemdCgroupMonitorSliceGet(std::string& strSlice)
{
    std::string strPath;
    Texts vecFolders;
    if (!VESKSystemdCgroupPathnameGet(getpid(), "name=veskmonitor", strPath) ||
        !Split(strPath, vecFolders, "/")) {
        return false;
    }
    const std::string strFound = CgroupSliceGet(MonitorTree(), vecFolders);
    if (strFound.empty()) {
        return false;
    }
    strSlice = strFound;
    return true;
}

int VESKCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice)
{
    return CForm([&] {
        std::string strSlice;
        return VESK_ARGUMENT(nullptr != szSlice) && VESK_ARGUMENT(0 < cbSlice) &&
               VESKSystemdCgroupMonitorSliceGet(strSlice) &&
               TextCopy(VESK_HERE, strSlice, szSlice, static_cast<size_t>(cbSlice));
    });
}
