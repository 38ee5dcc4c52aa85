#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr int kStopAction = 2;

constexpr UnitAction kStop{
    ActionKind::Units,
    "stop",
    VESK_LINE("%s:%d vesksystemd: [%s] stopping ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] stopped."),
    VESK_LINE("%s:%d vesksystemd: [%s] stopped failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] stopped failed."),
};

} // namespace

bool VESKSystemdStopWithOptions(const Texts& vecOptions, const Texts& vecGivenUnits, Texts& vecFailed)
{
    const Texts vecUnits = NamesGet(vecGivenUnits);
    const bool blResult = UnitActionRun(kStop, vecOptions, vecUnits, vecFailed);
    VESKSystemdLogAction(kStopAction, blResult, vecUnits, vecFailed);
    return blResult;
}

bool VESKSystemdStop(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdStopWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdStop(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdStop);
}

int VESKCSystemdStop(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdStop);
}

int VESKCSystemdStopGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdStop);
}
