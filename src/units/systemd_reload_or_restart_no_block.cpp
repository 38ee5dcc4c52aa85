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
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdReloadOrRestartNoBlock);
}

int VESKCSystemdReloadOrRestartNoBlock(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdReloadOrRestartNoBlock);
}

int VESKCSystemdReloadOrRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdReloadOrRestartNoBlock);
}
