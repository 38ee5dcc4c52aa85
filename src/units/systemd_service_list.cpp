#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using VESK::Systemd::CForm;
using VESK::Systemd::ListForm;

bool VESKSystemdServiceList(std::vector<std::string>& vecServices)
{
    std::vector<std::string> vecUnits;
    if (!VESKSystemdListUnits(vecUnits, "service")) {
        return false;
    }
    for (const std::string& strUnit : vecUnits) {
        vecServices.push_back(VESK::Systemd::UnitNameWithoutFileExtensionGet(strUnit));
    }
    return true;
}

int VESKCSystemdServiceList(VLIBCSzList** ppListServices)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != ppListServices) && VESK_ARGUMENT(nullptr != *ppListServices) &&
               ListForm(ppListServices, VESKSystemdServiceList);
    });
}
