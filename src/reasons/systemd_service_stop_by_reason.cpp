#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/reason_folder.hpp"
#include "core/text.hpp"
#include "reasons/reason_change.hpp"
#include "reasons/reason_forms.hpp"

using namespace VESK::Systemd;

using std::string;

namespace
{

/** Records the reason for one service. */
bool ReasonSet(const string& strReason, const string& strService)
{
    if (!MayHaveReasons(strService)) {
        VLIBCErrSetEx(ERR_INVALID_ARGUMENT, VESK_HERE);
        return false;
    }
    const string strDirectory = ReasonFolder(strService);
    if (VLIBCExec("/bin/mkdir", "-p", strDirectory.c_str(), nullptr, nullptr) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to mkdir reason directory [%s]", VESK_HERE,
                 strDirectory.c_str());
        return false;
    }
    const string strFile = strDirectory + "/" + strReason;
    if (VLIBCFileTouch(strFile.c_str()) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to touch reason file [%s] [0x%04X %s:%d]", VESK_HERE,
                 strFile.c_str(), VESK_PLATFORM_ERROR);
        return false;
    }
    return true;
}

} // namespace

bool VESKSystemdServiceStopByReason(const string& strGivenReason, const Texts& vecGivenServices,
                                    Texts& vecFailed)
{
    const string strReason = BeforeZero(strGivenReason);
    const Texts vecServices = NamesGet(vecGivenServices);
    if (!VESK_ARGUMENT(!strReason.empty()) || !VESK_ARGUMENT(string::npos == strReason.find("/")) ||
        !VESK_ARGUMENT(IsEntryName(strReason)) || !VESK_ARGUMENT(!vecServices.empty())) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] stopping by reason [%s] ...", VESK_HERE,
             Joined(vecServices).c_str(), strReason.c_str());
    const HasReasonSnapshot before(vecServices);
    Texts vecMarked;
    for (const string& strService : vecServices) {
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

bool VESKSystemdServiceStopByReason(const string& strReason, const string& strService)
{
    return VESK_ARGUMENT_NAME(strService) &&
           OneServiceForm(strReason, strService, VESKSystemdServiceStopByReason);
}

int VESKCSystemdServiceStopByReason(const char* szReason, const char* szService)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szReason) && VESK_ARGUMENT(nullptr != szService) &&
               VESKSystemdServiceStopByReason(szReason, string(szService));
    });
}

int VESKCSystemdServiceStopGroupByReason(const char* szReason, VLIBCSzList* pListServices,
                                         VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szReason) && VESK_ARGUMENT(nullptr != pListServices) &&
               ServiceGroupForm(szReason, pListServices, ppListFailed, VESKSystemdServiceStopByReason);
    });
}
