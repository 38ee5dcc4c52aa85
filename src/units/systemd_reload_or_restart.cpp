#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kReloadOrRestart{
    ActionKind::Units,
    "reload-or-restart",
    VESK_LINE("%s:%d vesksystemd: [%s] doing reload-or-restart ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] done reload-or-restart."),
    VESK_LINE("%s:%d vesksystemd: [%s] reload-or-restart failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] reload-or-restart failed."),
};

} // namespace

bool VESKSystemdReloadOrRestartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kReloadOrRestart, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdReloadOrRestart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdReloadOrRestartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdReloadOrRestart(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdReloadOrRestart);
}

int VESKCSystemdReloadOrRestart(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdReloadOrRestart);
}

int VESKCSystemdReloadOrRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdReloadOrRestart);
}
