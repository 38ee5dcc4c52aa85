#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/text.hpp"
#include "reasons/reason_change.hpp"
#include "reasons/reason_forms.hpp"

using namespace VESK::Systemd;

using std::string;

bool VESKSystemdServiceReasonRemove(const string& strGivenReason, const Texts& vecGivenServices,
                                    Texts& vecFailed)
{
    const string strReason = BeforeZero(strGivenReason);
    const Texts vecServices = NamesGet(vecGivenServices);
    if (!VESK_ARGUMENT(!strReason.empty()) || !VESK_ARGUMENT(string::npos == strReason.find("/")) ||
        !VESK_ARGUMENT(IsEntryName(strReason)) || !VESK_ARGUMENT(!vecServices.empty())) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] clear reason [%s] ...", VESK_HERE,
             Joined(vecServices).c_str(), strReason.c_str());
    const ReasonClearing clearing = ReasonClear(strReason, vecServices, vecFailed);
    if (clearing.vecCleared.empty()) {
        return false;
    }
    if (clearing.blChanged) {
        VESKSystemdDaemonReload();
    }
    return clearing.blUnlinked;
}

bool VESKSystemdServiceReasonRemove(const string& strReason, const string& strService)
{
    return VESK_ARGUMENT_NAME(strService) &&
           OneServiceForm(strReason, strService, VESKSystemdServiceReasonRemove);
}

int VESKCSystemdServiceReasonRemove(const char* szReason, const char* szService)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szReason) && VESK_ARGUMENT(nullptr != szService) &&
               VESKSystemdServiceReasonRemove(szReason, string(szService));
    });
}

int VESKCSystemdServiceReasonRemoveGroup(const char* szReason, VLIBCSzList* pListServices,
                                         VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szReason) && VESK_ARGUMENT(nullptr != pListServices) &&
               ServiceGroupForm(szReason, pListServices, ppListFailed, VESKSystemdServiceReasonRemove);
    });
}
