#include "units/unit_action.hpp"

namespace VESK::Systemd
{

bool UnitActionRun(const UnitAction& action, const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    action.logBegin(vecUnits);
    const SystemctlOpts opts =
        SystemctlOptsBuilder().SetCmdOpts(&vecOptions).SetCalRunTime(action.blCalRunTime).Build();
    const auto judge = [&](int nExitCode, const Texts& vecLines) {
        if (action.ended != nullptr) {
            action.ended(vecUnits);
        }
        if (nExitCode == 0) {
            action.logDone(vecUnits);
            return true;
        }
        action.failedUnitsGet(vecUnits, vecLines, vecFailed);
        action.logFailed(vecFailed, nExitCode, vecLines);
        return false;
    };
    try {
        return VESKSystemdSystemctlUltron(action.szVerb, opts, vecUnits, judge);
    } catch (const std::exception&) {
        FailedUnitsCopy(vecUnits, vecFailed);
        action.logNotRun(vecFailed);
        return false;
    }
}

} // namespace VESK::Systemd
