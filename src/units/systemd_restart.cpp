#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

/** Restart and try-restart, which differ in one word of each line. */
template <bool blTry>
constexpr UnitAction RestartAction()
{
    return {
        blTry ? "try-restart" : "restart",
        [](const Texts& vecUnits) {
            VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] %s ...", VESK_HERE, Joined(vecUnits).c_str(),
                     blTry ? "try-restarting" : "restarting");
        },
        [](const Texts& vecUnits) {
            VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] %s.", VESK_HERE, Joined(vecUnits).c_str(),
                     blTry ? "try-restarted" : "restarted");
        },
        [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] %s failed: ret=[%d], reason:\n%s", VESK_HERE,
                     Joined(vecFailed).c_str(), blTry ? "try-restart" : "restart", nExitCode,
                     Joined(vecLines, "").c_str());
        },
        [](const Texts& vecFailed) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] %s failed.", VESK_HERE, Joined(vecFailed).c_str(),
                     blTry ? "try-restart" : "restart");
        },
    };
}

const UnitAction kRestart = RestartAction<false>();
const UnitAction kTryRestart = RestartAction<true>();

} // namespace

bool VESKSystemdRestartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kRestart, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdRestart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdRestartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdRestart(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdRestart);
}

int VESKCSystemdRestart(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdRestart(szUnit); });
}

int VESKCSystemdRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdRestart);
    });
}

bool VESKSystemdTryRestartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kTryRestart, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdTryRestart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdTryRestartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdTryRestart(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdTryRestart);
}

int VESKCSystemdTryRestart(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdTryRestart(szUnit); });
}

int VESKCSystemdTryRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdTryRestart);
    });
}
