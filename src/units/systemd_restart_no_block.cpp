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
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdRestartNoBlock);
}

int VESKCSystemdRestartNoBlock(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdRestartNoBlock(szUnit); });
}

int VESKCSystemdRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdRestartNoBlock);
    });
}

bool VESKSystemdTryRestartNoBlock(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdTryRestartWithOptions({"--no-block"}, vecUnits, vecFailed);
}

bool VESKSystemdTryRestartNoBlock(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdTryRestartNoBlock);
}

int VESKCSystemdTryRestartNoBlock(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdTryRestartNoBlock(szUnit); });
}

int VESKCSystemdTryRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdTryRestartNoBlock);
    });
}
