#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"

bool VESKSystemdCgroupMonitorSliceGet(std::string& strSlice)
{
    std::string strPath;
    std::vector<std::string> vecFolders;
    if (!VESKSystemdCgroupPathnameGet(getpid(), "name=veskmonitor", strPath) ||
        !VESK::Systemd::Split(strPath, vecFolders, "/")) {
        return false;
    }
    // The path begins with "/", so the first field is empty.
    if (vecFolders.size() <= 1 || VESK::Systemd::UnitTypeGet(vecFolders[1]) != "slice") {
        return false;
    }
    strSlice = vecFolders[1];
    return true;
}

int VESKCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice)
{
    return VESK::Systemd::CForm([&] {
        std::string strSlice;
        return VESK_ARGUMENT(nullptr != szSlice) && VESK_ARGUMENT(0 < cbSlice) &&
               VESKSystemdCgroupMonitorSliceGet(strSlice) &&
               VESK::Systemd::TextCopy(VESK_HERE, strSlice, szSlice, static_cast<size_t>(cbSlice));
    });
}
