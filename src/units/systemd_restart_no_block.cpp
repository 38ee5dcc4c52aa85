#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using namespace VESK::Systemd;

bool VESKSystemdRestartNoBlock(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdRestartWithOptions({"--no-block"}, vecUnits, vecFailed);
}

bool VESKSystemdRestartNoBlock(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdRestartNoBlock);
}

int VESKCSystemdRestartNoBlock(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdRestartNoBlock);
}

int VESKCSystemdRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdRestartNoBlock);
}

bool VESKSystemdTryRestartNoBlock(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdTryRestartWithOptions({"--no-block"}, vecUnits, vecFailed);
}

bool VESKSystemdTryRestartNoBlock(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdTryRestartNoBlock);
}

int VESKCSystemdTryRestartNoBlock(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdTryRestartNoBlock);
}

int VESKCSystemdTryRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdTryRestartNoBlock);
}
