#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

const UnitAction kReloadOrRestart{
    "reload-or-restart",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] doing reload-or-restart ...", VESK_HERE,
                 Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] done reload-or-restart.", VESK_HERE,
                 Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] reload-or-restart failed: ret=[%d], reason:\n%s",
                 VESK_HERE, Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] reload-or-restart failed.", VESK_HERE,
                 Joined(vecFailed).c_str());
    },
};

} // namespace

bool VESKSystemdReloadOrRestartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return VESK_ARGUMENT(!vecUnits.empty()) &&
           UnitActionRun(kReloadOrRestart, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdReloadOrRestart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdReloadOrRestartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdReloadOrRestart(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdReloadOrRestart);
}

int VESKCSystemdReloadOrRestart(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdReloadOrRestart(szUnit); });
}

int VESKCSystemdReloadOrRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdReloadOrRestart);
    });
}
