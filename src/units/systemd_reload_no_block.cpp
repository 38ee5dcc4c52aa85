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
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdReloadNoBlock);
}

int VESKCSystemdReloadNoBlock(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdReloadNoBlock);
}

int VESKCSystemdReloadGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdReloadNoBlock);
}
