#include "reasons/reason_forms.hpp"

#include "core/c_forms.hpp"

namespace VESK::Systemd
{

bool OneServiceForm(const std::string& strReason, const std::string& strService, ReasonOperation* operation)
{
    Texts vecFailed;
    return operation(strReason, {strService}, vecFailed);
}

bool ServiceGroupForm(const char* szReason, const VLIBCSzList* pListServices, VLIBCSzList** ppListFailed,
                      ReasonOperation* operation)
{
    return GroupForm(pListServices, ppListFailed, [&](const Texts& vecServices, Texts& vecFailed) {
        return operation(szReason, vecServices, vecFailed);
    });
}

} // namespace VESK::Systemd
