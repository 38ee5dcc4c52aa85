#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using namespace VESK::Systemd;

bool VESKSystemdStopNoBlock(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdStopWithOptions({"--no-block"}, vecUnits, vecFailed);
}

bool VESKSystemdStopNoBlock(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdStopNoBlock);
}

int VESKCSystemdStopNoBlock(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdStopNoBlock);
}

int VESKCSystemdStopGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdStopNoBlock);
}
