#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kMask{
    ActionKind::Masks,
    "mask",
    VESK_LINE("%s:%d vesksystemd: [%s] masking ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] masked."),
    VESK_LINE("%s:%d vesksystemd: mask failed: ret=[%d], reason=[%s]"),
    VESK_LINE("%s:%d vesksystemd: [%s] mask failed."),
};

bool MaskUntilBoot(const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kMask, {"--runtime"}, vecUnits, vecFailed);
}

} // namespace

bool VESKSystemdMask(const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kMask, {}, vecUnits, vecFailed);
}

bool VESKSystemdMask(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdMask);
}

bool VESKSystemdMaskRunTime(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, MaskUntilBoot);
}

int VESKCSystemdMask(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdMask);
}

int VESKCSystemdMaskRunTime(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdMaskRunTime);
}

int VESKCSystemdMaskGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdMask);
}
