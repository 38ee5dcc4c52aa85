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
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdStartNoBlock);
}

int VESKCSystemdStartNoBlock(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdStartNoBlock(szUnit); });
}

int VESKCSystemdStartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdStartNoBlock);
    });
}
