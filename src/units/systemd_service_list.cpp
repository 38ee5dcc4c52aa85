#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdServiceList(Texts& vecServices)
{
    Texts vecUnits;
    if (!VESKSystemdListUnits(vecUnits, "service")) {
        return false;
    }
    for (const std::string& strUnit : vecUnits) {
        vecServices.push_back(UnitNameWithoutFileExtensionGet(strUnit));
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
