#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kRestart{
    ActionKind::Units,
    "restart",
    VESK_LINE("%s:%d vesksystemd: [%s] restarting ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] restarted."),
    VESK_LINE("%s:%d vesksystemd: [%s] restart failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] restart failed."),
};

constexpr UnitAction kTryRestart{
    ActionKind::Units,
    "try-restart",
    VESK_LINE("%s:%d vesksystemd: [%s] try-restarting ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] try-restarted."),
    VESK_LINE("%s:%d vesksystemd: [%s] try-restart failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] try-restart failed."),
};

} // namespace

bool VESKSystemdRestartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kRestart, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdRestart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdRestartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdRestart(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdRestart);
}

int VESKCSystemdRestart(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdRestart);
}

int VESKCSystemdRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdRestart);
}

bool VESKSystemdTryRestartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kTryRestart, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdTryRestart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdTryRestartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdTryRestart(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdTryRestart);
}

int VESKCSystemdTryRestart(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdTryRestart);
}

int VESKCSystemdTryRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdTryRestart);
}
