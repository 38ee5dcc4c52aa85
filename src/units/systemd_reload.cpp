#include "vesksystemd.hpp"

#include <algorithm>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kReload{
    ActionKind::Units,
    "reload",
    VESK_LINE("%s:%d vesksystemd: [%s] reloading ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] reloaded."),
    VESK_LINE("%s:%d vesksystemd: [%s] reload failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] reload failed."),
};

Texts WithNoBlock(Texts vecOptions)
{
    if (std::find(vecOptions.begin(), vecOptions.end(), "--no-block") == vecOptions.end()) {
        vecOptions.emplace_back("--no-block");
    }
    return vecOptions;
}

} // namespace

bool VESKSystemdReloadWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kReload, WithNoBlock(vecOptions), vecUnits, vecFailed);
}

bool VESKSystemdReload(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdReloadWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdReload(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdReload);
}

int VESKCSystemdReload(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdReload);
}

int VESKCSystemdReloadGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdReload);
}
