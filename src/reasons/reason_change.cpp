#include "reasons/reason_change.hpp"

#include <algorithm>

#include "vesksystemd.hpp"

namespace VESK::Systemd
{

HasReasonSnapshot::HasReasonSnapshot(const Texts& vecServices)
{
    for (const std::string& strService : vecServices) {
        m_mapHasReason.emplace(strService, CheckServiceHasReason(strService));
    }
}

bool HasReasonSnapshot::DiffersFor(const Texts& vecServices) const
{
    return std::any_of(vecServices.begin(), vecServices.end(), [this](const std::string& strService) {
        return m_mapHasReason.at(strService) != CheckServiceHasReason(strService);
    });
}

ReasonClearing ReasonClear(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    const HasReasonSnapshot before(vecServices);
    ReasonClearing clearing;
    clearing.blUnlinked = UnlinkReasons(strReason, vecServices, clearing.vecCleared, vecFailed);
    if (clearing.vecCleared.empty()) {
        return clearing;
    }
    clearing.blChanged = before.DiffersFor(clearing.vecCleared);
    Texts vecIgnored;
    VESKSystemdResetFailed(clearing.vecCleared, vecIgnored);
    return clearing;
}

} // namespace VESK::Systemd
