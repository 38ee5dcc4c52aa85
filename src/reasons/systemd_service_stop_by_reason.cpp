#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/names.hpp"
#include "core/reason_folder.hpp"
#include "core/text.hpp"
#include "reasons/reason_change.hpp"
#include "reasons/reason_forms.hpp"

using namespace VESK::Systemd;

namespace
{

/** Records the reason for one service. */
bool ReasonSet(const std::string& strReason, const std::string& strService)
{
    if (!MayHaveReasons(strService)) {
        VLIBCErrSetEx(ERR_INVALID_ARGUMENT, VESK_HERE);
        return false;
    }
    const std::string strDirectory = ReasonFolder(strService);
    if (VLIBCExec("/bin/mkdir", "-p", strDirectory.c_str(), nullptr, nullptr) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to mkdir reason directory [%s]", VESK_HERE,
                 strDirectory.c_str());
        return false;
    }
    const std::string strFile = strDirectory + "/" + strReason;
    if (VLIBCFileTouch(strFile.c_str()) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to touch reason file [%s] [0x%04X %s:%d]", VESK_HERE,
                 strFile.c_str(), VESK_PLATFORM_ERROR);
        return false;
    }
    return true;
}

} // namespace

bool VESKSystemdServiceStopByReason(const std::string& strGivenReason, const Texts& vecGivenServices,
                                    Texts& vecFailed)
{
    const std::string strReason = BeforeZero(strGivenReason);
    const Texts vecServices = NamesGet(vecGivenServices);
    if (!ReasonArguments(VESK_HERE, strReason, vecServices)) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] stopping by reason [%s] ...", VESK_HERE,
             Joined(vecServices).c_str(), strReason.c_str());
    const HasReasonSnapshot before(vecServices);
    Texts vecMarked;
    for (const std::string& strService : vecServices) {
        (ReasonSet(strReason, strService) ? vecMarked : vecFailed).push_back(strService);
    }
    if (vecMarked.empty()) {
        return false;
    }
    const bool blAllMarked = vecMarked.size() == vecServices.size();
    const bool blChanged = before.DiffersFor(vecMarked);
    const bool blStopped = VESKSystemdStop(vecMarked, vecFailed);
    const bool blReloaded = !blChanged || VESKSystemdDaemonReload();
    return blStopped && blAllMarked && blReloaded;
}

bool VESKSystemdServiceStopByReason(const std::string& strReason, const std::string& strService)
{
    return OneServiceForm(VESK_HERE, strReason, strService, VESKSystemdServiceStopByReason);
}

int VESKCSystemdServiceStopByReason(const char* szReason, const char* szService)
{
    return COneServiceForm(VESK_HERE, szReason, szService, VESKSystemdServiceStopByReason);
}

int VESKCSystemdServiceStopGroupByReason(const char* szReason, VLIBCSzList* pListServices,
                                         VLIBCSzList** ppListFailed)
{
    return CServiceGroupForm(VESK_HERE, szReason, pListServices, ppListFailed,
                             VESKSystemdServiceStopByReason);
}
