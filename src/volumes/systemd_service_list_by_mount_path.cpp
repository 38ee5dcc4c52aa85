#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "core/c_forms.hpp"
#include "core/file_system.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"
#include "volumes/mount_path_scan.hpp"
#include "volumes/mount_path_services.hpp"

using namespace VESK::Systemd;

namespace VESK::Systemd
{
namespace
{

using Services = std::unordered_set<std::string>;

/** Whether a folder of systemd's tree is that of a user's own manager. */
bool IsUserManager(const std::string& strFolder)
{
    int cbMatched = 0;
    sscanf(strFolder.c_str(), "user@%*[0-9].service%n", &cbMatched);
    return cbMatched != 0 && strFolder.size() == static_cast<size_t>(cbMatched);
}

/** Whether a path in systemd's tree is below a user's manager, where that user names the folders. */
bool IsBelowUserManager(const Texts& vecFolders)
{
    return !vecFolders.empty() && std::any_of(vecFolders.begin(), vecFolders.end() - 1, IsUserManager);
}

bool SystemUnitFind(const CgroupText& groups, std::string& strUnit)
{
    std::string strPath;
    errno = 0;
    if (!CgroupPathnameGet(groups, "name=systemd", strPath)) {
        return !IsShortage(errno);
    }
    const Texts vecFolders = Pieces(strPath, "/");
    strUnit = IsBelowUserManager(vecFolders) ? "" : CgroupUnitGet(vecFolders);
    return true;
}

} // namespace

bool SystemUnitGet(int nPid, std::string& strUnit)
{
    return SystemUnitFind(CgroupTextRead(nPid), strUnit);
}

bool IsListedForMountPath(const std::string& strUnit)
{
    if (UnitTypeGet(strUnit) != "service") {
        return false;
    }
    bool blSkip = false;
    return !VESKSystemdServiceSkipListByMntPath(strUnit, blSkip) || !blSkip;
}

namespace
{

/** Adds the service that holds a user of the mount path, if one does. False when it cannot be told. */
bool ServiceAdd(const MountPathUsers::User& user, Services& setServices)
{
    std::string strUnit;
    if (!SystemUnitFind(*user.pGroups, strUnit)) {
        return false;
    }
    if (IsListedForMountPath(strUnit)) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: file used: [%s]", VESK_HERE, user.strFile.c_str());
        setServices.insert(strUnit);
    }
    return true;
}

/** Adds the services of all users; false when these are not all that there are. */
bool ServicesAdd(const MountPathUsers& users, Services& setServices)
{
    for (const MountPathUsers::User& user : users.vecUsers) {
        if (!ServiceAdd(user, setServices)) {
            return false;
        }
    }
    if (users.exception) {
        std::rethrow_exception(users.exception);
    }
    return users.blComplete;
}

} // namespace

bool MountPathServicesAdd(const MountPathUsers& users, Services& setServices)
{
    if (!ServicesAdd(users, setServices)) {
        VLIBCErrSetEx(ERR_OPEN_DIRECTORY, VESK_HERE);
        return false;
    }
    return true;
}

} // namespace VESK::Systemd

bool VESKSystemdServiceListByMntPath(const std::string& strMntPath, Texts& vecServices)
{
    std::unordered_set<std::string> setServices;
    if (!MountPathServicesAdd(MountPathScan({BeforeZero(strMntPath)}).front(), setServices)) {
        return false;
    }
    vecServices.assign(setServices.begin(), setServices.end());
    return true;
}

int VESKCSystemdServiceListByMntPath(const char* szMntPath, VLIBCSzList** ppListServices)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szMntPath) && VESK_ARGUMENT(nullptr != ppListServices) &&
               VESK_ARGUMENT(nullptr != *ppListServices) && ListForm(ppListServices, [&](Texts& vecServices) {
                   return VESKSystemdServiceListByMntPath(szMntPath, vecServices);
               });
    });
}
