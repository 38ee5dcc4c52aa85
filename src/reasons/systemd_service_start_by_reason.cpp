#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/names.hpp"
#include "core/text.hpp"
#include "reasons/reason_change.hpp"
#include "reasons/reason_forms.hpp"

using namespace VESK::Systemd;

bool VESKSystemdServiceStartByReason(const std::string& strGivenReason, const Texts& vecGivenServices,
                                     Texts& vecFailed)
{
    const std::string strReason = BeforeZero(strGivenReason);
    const Texts vecServices = NamesGet(vecGivenServices);
    if (!ReasonArguments(VESK_HERE, strReason, vecServices)) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] starting by reason [%s] ...", VESK_HERE,
             Joined(vecServices).c_str(), strReason.c_str());
    const ReasonClearing clearing = ReasonClear(strReason, vecServices, vecFailed);
    if (clearing.vecCleared.empty()) {
        return false;
    }
    const bool blStarted = VESKSystemdStart(clearing.vecCleared, vecFailed);
    if (clearing.blChanged) {
        VESKSystemdDaemonReload();
    }
    return clearing.blUnlinked && blStarted;
}

bool VESKSystemdServiceStartByReason(const std::string& strReason, const std::string& strService)
{
    return OneServiceForm(VESK_HERE, strReason, strService, VESKSystemdServiceStartByReason);
}

int VESKCSystemdServiceStartByReason(const char* szReason, const char* szService)
{
    return COneServiceForm(VESK_HERE, szReason, szService, VESKSystemdServiceStartByReason);
}

int VESKCSystemdServiceStartGroupByReason(const char* szReason, VLIBCSzList* pListServices,
                                          VLIBCSzList** ppListFailed)
{
    return CServiceGroupForm(VESK_HERE, szReason, pListServices, ppListFailed,
                             VESKSystemdServiceStartByReason);
}
