#include "vesksystemd.hpp"

#include <cerrno>
#include <unordered_set>

#include "core/c_forms.hpp"
#include "core/directory.hpp"
#include "core/log.hpp"
#include "volumes/mount_path_files.hpp"

using namespace VESK::Systemd;

namespace
{

using Services = std::unordered_set<std::string>;

/** Whether a unit is a service that does not ask to be left out. */
bool IsListed(const std::string& strUnit)
{
    if (UnitTypeGet(strUnit) != "service") {
        return false;
    }
    bool blSkip = false;
    return !VESKSystemdServiceSkipListByMntPath(strUnit, blSkip) || !blSkip;
}

/** Adds the service that holds a process if that one uses files on the mount path. False when it cannot be told. */
bool UserAdd(MountPathFiles& files, int nPid, Services& setServices)
{
    std::string strFile;
    if (!files.IsUsedBy(nPid, strFile)) {
        return !files.IsIncomplete();
    }
    std::string strUnit;
    errno = 0;
    if (!VESKSystemdGetByPid(nPid, strUnit)) {
        return !IsShortage(errno);
    }
    if (IsListed(strUnit)) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: file used: [%s]", VESK_HERE, strFile.c_str());
        setServices.insert(strUnit);
    }
    return true;
}

/** Adds the services that use files on the mount path. False when they cannot be told. */
bool UsersAdd(const std::string& strMntPath, Services& setServices)
{
    MountPathFiles files(strMntPath);
    Directory processes("/proc/");
    if (processes.Error() != 0) {
        return false;
    }
    while (const char* szEntry = processes.Next()) {
        const bool blProcess = *szEntry >= '0' && *szEntry <= '9';
        if (blProcess && !UserAdd(files, std::stoi(szEntry), setServices)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool VESKSystemdServiceListByMntPath(const std::string& strMntPath, Texts& vecServices)
{
    Services setServices;
    if (!UsersAdd(strMntPath, setServices)) {
        VLIBCErrSetEx(ERR_OPEN_DIRECTORY, VESK_HERE);
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
