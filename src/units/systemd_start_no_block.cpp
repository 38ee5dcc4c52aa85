#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using namespace VESK::Systemd;

bool VESKSystemdStartNoBlock(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdStartWithOptions({"--no-block"}, vecUnits, vecFailed);
}

bool VESKSystemdStartNoBlock(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdStartNoBlock);
}

int VESKCSystemdStartNoBlock(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdStartNoBlock);
}

int VESKCSystemdStartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdStartNoBlock);
}
