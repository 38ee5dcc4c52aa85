#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"

using namespace VESK::Systemd;

bool VESKSystemdDisableInGenerator(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdDisableWithOptionsInternal({"--root=/."}, vecUnits, vecFailed, false);
}

bool VESKSystemdDisableInGenerator(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdDisableInGenerator);
}

int VESKCSystemdDisableInGenerator(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdDisableInGenerator(szUnit); });
}

int VESKCSystemdDisableGroupInGenerator(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdDisableInGenerator);
    });
}
