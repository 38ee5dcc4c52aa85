#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "core/c_forms.hpp"
#include "core/directory.hpp"
#include "core/file_system.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"
#include "volumes/mount_path_files.hpp"
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

} // namespace

bool SystemUnitGet(int nPid, std::string& strUnit)
{
    std::string strPath;
    errno = 0;
    if (!VESKSystemdCgroupPathnameGet(nPid, "name=systemd", strPath)) {
        return !IsShortage(errno);
    }
    const Texts vecFolders = Pieces(strPath, "/");
    strUnit = IsBelowUserManager(vecFolders) ? "" : CgroupUnitGet(vecFolders);
    return true;
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

/** Adds the service that holds a process if that one uses files on the mount path. False when it cannot be told. */
bool UserAdd(MountPathFiles& files, int nPid, Services& setServices)
{
    std::string strFile;
    if (!files.IsUsedBy(nPid, strFile)) {
        return !files.IsIncomplete();
    }
    std::string strUnit;
    if (!SystemUnitGet(nPid, strUnit)) {
        return false;
    }
    if (IsListedForMountPath(strUnit)) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: file used: [%s]", VESK_HERE, strFile.c_str());
        setServices.insert(strUnit);
    }
    return true;
}

/** Looks at all processes; false when that could not be done. */
bool ProcessesScan(const std::string& strMntPath, Services& setServices)
{
    MountPathFiles files(strMntPath);
    if (files.IsIncomplete()) {
        return false;
    }
    Directory processes("/proc/");
    while (const char* szEntry = processes.Next()) {
        const bool blProcess = *szEntry >= '0' && *szEntry <= '9';
        if (blProcess && !UserAdd(files, std::stoi(szEntry), setServices)) {
            return false;
        }
    }
    return processes.Error() == 0;
}

} // namespace

bool MountPathServicesAdd(const std::string& strMntPath, Services& setServices)
{
    if (!ProcessesScan(strMntPath, setServices)) {
        VLIBCErrSetEx(ERR_OPEN_DIRECTORY, VESK_HERE);
        return false;
    }
    return true;
}

} // namespace VESK::Systemd

bool VESKSystemdServiceListByMntPath(const std::string& strMntPath, Texts& vecServices)
{
    std::unordered_set<std::string> setServices;
    if (!MountPathServicesAdd(BeforeZero(strMntPath), setServices)) {
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
