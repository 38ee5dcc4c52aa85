#include "vesksystemd.hpp"

#include <unordered_set>

#include "core/c_forms.hpp"
#include "core/directory.hpp"
#include "core/log.hpp"
#include "volumes/mount_path_files.hpp"

using VESK::Systemd::CForm;
using VESK::Systemd::Directory;
using VESK::Systemd::ListForm;
using VESK::Systemd::Texts;

namespace
{

/** The service that holds a process; false when none does, or one that is not to be listed. */
bool ListedServiceGet(int nPid, std::string& strService)
{
    if (!VESKSystemdGetByPid(nPid, strService) || VESK::Systemd::UnitTypeGet(strService) != "service") {
        return false;
    }
    bool blSkip = false;
    return !VESKSystemdServiceSkipListByMntPath(strService, blSkip) || !blSkip;
}

} // namespace

bool VESKSystemdServiceListByMntPath(const std::string& strMntPath, Texts& vecServices)
{
    VESK::Systemd::MountPathFiles files(strMntPath);
    Directory processes("/proc/");
    if (processes.Error() != 0) {
        VLIBCErrSetEx(VESK::Systemd::ERR_OPEN_DIRECTORY, VESK_HERE);
        return false;
    }
    std::unordered_set<std::string> setServices;
    while (const char* szEntry = processes.Next()) {
        if (*szEntry < '0' || *szEntry > '9') {
            continue;
        }
        const int nPid = std::stoi(szEntry);
        std::string strFile;
        std::string strService;
        if (files.IsUsedBy(nPid, strFile) && ListedServiceGet(nPid, strService)) {
            VESK_LOG(LOG_INFO, "%s:%d vesksystemd: file used: [%s]", VESK_HERE, strFile.c_str());
            setServices.insert(strService);
        }
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
