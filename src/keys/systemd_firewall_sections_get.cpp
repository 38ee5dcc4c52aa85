#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "keys/key_get.hpp"

using VESK::Systemd::CForm;
using VESK::Systemd::ListForm;

bool VESKSystemdFirewallSectionsGet(const std::string& strUnit, std::vector<std::string>& vecSections)
{
    return VESK_ARGUMENT(!strUnit.empty()) &&
           VESK::Systemd::ListKeyGet(strUnit, "FirewallSections", vecSections);
}

int VESKCSystemdFirewallSectionsGet(const char* szUnit, VLIBCSzList** ppFirewallSections)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != ppFirewallSections) &&
               VESK_ARGUMENT(nullptr != *ppFirewallSections) &&
               ListForm(ppFirewallSections, [&](VESK::Systemd::Texts& vecTexts) {
                   return VESKSystemdFirewallSectionsGet(szUnit, vecTexts);
               });
    });
}
