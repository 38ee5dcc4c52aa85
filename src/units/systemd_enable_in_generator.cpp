#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using namespace VESK::Systemd;

bool VESKSystemdEnableInGenerator(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdEnableWithOptionsInternal({"--root=/."}, vecUnits, vecFailed, false);
}

bool VESKSystemdEnableInGenerator(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdEnableInGenerator);
}

int VESKCSystemdEnableInGenerator(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdEnableInGenerator(szUnit); });
}

int VESKCSystemdEnableGroupInGenerator(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdEnableInGenerator);
    });
}
