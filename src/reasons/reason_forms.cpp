#include "reasons/reason_forms.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"

namespace VESK::Systemd
{

bool ReasonArguments(const char* szFile, int nLine, const std::string& strReason, const Texts& vecServices)
{
    // A condition is logged as it is written here.
    using std::string;
    return VESK_ARGUMENT_AT(szFile, nLine, !strReason.empty()) &&
           VESK_ARGUMENT_AT(szFile, nLine, string::npos == strReason.find("/")) &&
           VESK_ARGUMENT_AT(szFile, nLine, IsEntryName(strReason)) &&
           VESK_ARGUMENT_AT(szFile, nLine, !vecServices.empty());
}

bool OneServiceForm(const char* szFile, int nLine, const std::string& strReason, const std::string& strName,
                    ReasonOperation* operation)
{
    const std::string strService = BeforeZero(strName);
    Texts vecFailed;
    return VESK_ARGUMENT_AT(szFile, nLine, !strService.empty()) &&
           operation(strReason, {strService}, vecFailed);
}

int COneServiceForm(const char* szFile, int nLine, const char* szReason, const char* szService,
                    OneReasonOperation* operation)
{
    return CForm([&] {
        return VESK_ARGUMENT_AT(szFile, nLine, nullptr != szReason) &&
               VESK_ARGUMENT_AT(szFile, nLine, nullptr != szService) && operation(szReason, szService);
    });
}

int CServiceGroupForm(const char* szFile, int nLine, const char* szReason, const VLIBCSzList* pListServices,
                      VLIBCSzList** ppListFailed, ReasonOperation* operation)
{
    const auto onServices = [&](const Texts& vecServices, Texts& vecFailed) {
        return operation(szReason, vecServices, vecFailed);
    };
    return CForm([&] {
        return VESK_ARGUMENT_AT(szFile, nLine, nullptr != szReason) &&
               VESK_ARGUMENT_AT(szFile, nLine, nullptr != pListServices) &&
               GroupForm(pListServices, ppListFailed, onServices);
    });
}

} // namespace VESK::Systemd
