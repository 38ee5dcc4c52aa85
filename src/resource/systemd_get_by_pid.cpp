#include "vesksystemd.hpp"

#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"

using namespace VESK::Systemd;

bool VESKSystemdGetByPid(int nPid, std::string& strUnit)
{
    std::string strPath;
    Texts vecFolders;
    if (!VESKSystemdCgroupPathnameGet(nPid, "name=systemd", strPath) || !Split(strPath, vecFolders, "/")) {
        return false;
    }
    const std::string strFound = CgroupUnitGet(vecFolders);
    if (!strFound.empty()) {
        strUnit = strFound;
    }
    return true;
}
