#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kUnmask{
    ActionKind::Masks,
    "unmask",
    VESK_LINE("%s:%d vesksystemd: [%s] unmasking ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] unmasked."),
    VESK_LINE("%s:%d vesksystemd: unmask failed: ret=[%d], reason=[%s]"),
    VESK_LINE("%s:%d vesksystemd: [%s] unmask failed."),
};

bool UnmaskUntilBoot(const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kUnmask, {"--runtime"}, vecUnits, vecFailed);
}

} // namespace

bool VESKSystemdUnmask(const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kUnmask, {}, vecUnits, vecFailed);
}

bool VESKSystemdUnmask(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdUnmask);
}

bool VESKSystemdUnmaskRunTime(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, UnmaskUntilBoot);
}

int VESKCSystemdUnmask(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdUnmask);
}

int VESKCSystemdUnmaskRunTime(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdUnmaskRunTime);
}

int VESKCSystemdUnmaskGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdUnmask);
}
