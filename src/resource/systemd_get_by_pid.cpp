#include "vesksystemd.hpp"

#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdGetByPid(int nPid, std::string& strUnit)
{
    std::string strPath;
    Texts vecFolders;
    if (!VESKSystemdCgroupPathnameGet(nPid, "name=systemd", strPath) || !Split(strPath, vecFolders, "/")) {
        return false;
    }
    if (!vecFolders.empty() && vecFolders.back().find('.') != std::string::npos) {
        strUnit = vecFolders.back();
    }
    return true;
}
