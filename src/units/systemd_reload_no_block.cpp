#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using namespace VESK::Systemd;

bool VESKSystemdReloadNoBlock(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdReloadWithOptions({"--no-block"}, vecUnits, vecFailed);
}

bool VESKSystemdReloadNoBlock(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdReloadNoBlock);
}

int VESKCSystemdReloadNoBlock(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdReloadNoBlock(szUnit); });
}

int VESKCSystemdReloadGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdReloadNoBlock);
    });
}
