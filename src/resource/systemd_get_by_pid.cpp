#include "vesksystemd.hpp"

bool VESKSystemdGetByPid(int nPid, std::string& strUnit)
{
    std::string strPath;
    std::vector<std::string> vecFolders;
    if (!VESKSystemdCgroupPathnameGet(nPid, "name=systemd", strPath) ||
        !VESK::Systemd::Split(strPath, vecFolders, "/")) {
        return false;
    }
    if (!vecFolders.empty() && vecFolders.back().find('.') != std::string::npos) {
        strUnit = vecFolders.back();
    }
    return true;
}
