#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/text.hpp"
#include "units/systemd_start.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr int kStartAction = 1;

constexpr UnitAction kStart{
    ActionKind::Units,
    "start",
    VESK_LINE("%s:%d vesksystemd: [%s] starting ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] started."),
    VESK_LINE("%s:%d vesksystemd: [%s] start failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] start failed."),
};

} // namespace

ActionEnd VESK::Systemd::StartTry(const Texts& vecOptions, const Texts& vecGivenUnits, Texts& vecFailed)
{
    const Texts vecUnits = NamesGet(vecGivenUnits);
    const ActionEnd end = UnitActionTry(kStart, vecOptions, vecUnits, vecFailed);
    VESKSystemdLogAction(kStartAction, end == ActionEnd::Done, vecUnits, vecFailed);
    return end;
}

bool VESKSystemdStartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return StartTry(vecOptions, vecUnits, vecFailed) == ActionEnd::Done;
}

bool VESKSystemdStart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdStartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdStart(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdStart);
}

bool VESKSystemdStartIrreversibly(const std::string& strUnit)
{
    Texts vecFailed;
    return VESK_ARGUMENT_NAME(strUnit) &&
           VESKSystemdStartWithOptions({"--job-mode=replace-irreversibly"}, {strUnit}, vecFailed);
}

int VESKCSystemdStart(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdStart);
}

int VESKCSystemdStartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdStart);
}

int VESKCSystemdStartIrreversibly(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdStartIrreversibly);
}
