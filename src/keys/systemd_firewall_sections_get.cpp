#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/text.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdFirewallSectionsGet(const std::string& strUnit, Texts& vecSections)
{
    return VESK_ARGUMENT_NAME(strUnit) && ListKeyGet(strUnit, "FirewallSections", vecSections);
}

int VESKCSystemdFirewallSectionsGet(const char* szUnit, VLIBCSzList** ppFirewallSections)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != ppFirewallSections) &&
               VESK_ARGUMENT(nullptr != *ppFirewallSections) &&
               ListForm(ppFirewallSections,
                        [&](Texts& vecTexts) { return VESKSystemdFirewallSectionsGet(szUnit, vecTexts); });
    });
}
