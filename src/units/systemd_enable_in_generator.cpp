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
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdEnableInGenerator);
}

int VESKCSystemdEnableInGenerator(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdEnableInGenerator);
}

int VESKCSystemdEnableGroupInGenerator(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdEnableInGenerator);
}
