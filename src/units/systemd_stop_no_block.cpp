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
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdStopNoBlock);
}

int VESKCSystemdStopNoBlock(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdStopNoBlock(szUnit); });
}

int VESKCSystemdStopGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdStopNoBlock);
    });
}
