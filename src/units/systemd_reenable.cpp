#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kReenable{
    ActionKind::UnitFiles,
    "reenable",
    VESK_LINE("%s:%d vesksystemd: [%s] reenabling ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] reenabled."),
    VESK_LINE("%s:%d vesksystemd: [%s] reenable failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] reenable failed."),
};

} // namespace

bool VESKSystemdReenable(const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kReenable, {}, vecUnits, vecFailed);
}

bool VESKSystemdReenable(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdReenable);
}

int VESKCSystemdReenable(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdReenable);
}

int VESKCSystemdReenableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdReenable);
}
