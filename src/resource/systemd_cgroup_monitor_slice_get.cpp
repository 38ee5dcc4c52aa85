#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdCgroupMonitorSliceGet(std::string& strSlice)
{
    std::string strPath;
    Texts vecFolders;
    if (!VESKSystemdCgroupPathnameGet(getpid(), "name=veskmonitor", strPath) ||
        !Split(strPath, vecFolders, "/")) {
        return false;
    }
    // The path begins with "/", so the first field is empty.
    if (vecFolders.size() <= 1 || UnitTypeGet(vecFolders[1]) != "slice") {
        return false;
    }
    strSlice = vecFolders[1];
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
