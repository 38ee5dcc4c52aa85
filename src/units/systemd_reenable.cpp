#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_file_action.hpp"

using namespace VESK::Systemd;

namespace
{

const UnitAction kReenable = UnitFileAction({
    "reenable",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] reenabling ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] reenabled.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] reenable failed: ret=[%d], reason:\n%s", VESK_HERE,
                 Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] reenable failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
});

} // namespace

bool VESKSystemdReenable(const Texts& vecUnits, Texts& vecFailed)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kReenable, {}, vecUnits, vecFailed);
}

bool VESKSystemdReenable(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdReenable);
}

int VESKCSystemdReenable(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdReenable(szUnit); });
}

int VESKCSystemdReenableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdReenable);
    });
}
