#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

const UnitAction kResetFailed{
    "reset-failed",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] doing reset-failed ...", VESK_HERE,
                 Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] reset-failed done.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR,
                 "%s:%d vesksystemd: [%s] is unabled to reset-failed, skipped: ret=[%d], reason:\n%s",
                 VESK_HERE, Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] failed to reset-failed.", VESK_HERE,
                 Joined(vecFailed).c_str());
    },
};

} // namespace

bool VESKSystemdResetFailed(const Texts& vecUnits, Texts& vecFailed)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kResetFailed, {}, vecUnits, vecFailed);
}
