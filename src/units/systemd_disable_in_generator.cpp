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
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdDisableInGenerator);
}

int VESKCSystemdDisableInGenerator(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdDisableInGenerator);
}

int VESKCSystemdDisableGroupInGenerator(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdDisableInGenerator);
}
