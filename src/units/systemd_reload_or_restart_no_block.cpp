#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using namespace VESK::Systemd;

bool VESKSystemdReloadOrRestartNoBlock(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdReloadOrRestartWithOptions({"--no-block"}, vecUnits, vecFailed);
}

bool VESKSystemdReloadOrRestartNoBlock(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdReloadOrRestartNoBlock);
}

int VESKCSystemdReloadOrRestartNoBlock(const char* szUnit)
{
    return CForm(
        [&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdReloadOrRestartNoBlock(szUnit); });
}

int VESKCSystemdReloadOrRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdReloadOrRestartNoBlock);
    });
}
