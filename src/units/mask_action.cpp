#include "units/mask_action.hpp"

#include "vesksystemd.hpp"

namespace VESK::Systemd
{
namespace
{

bool Succeeds(const MaskAction& action, bool blRunTime, const Texts& vecUnits)
{
    const Texts vecOptions = blRunTime ? Texts{"--runtime"} : Texts{};
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCmdOpts(&vecOptions).SetCalRunTime(true).Build();
    const auto judge = [&](int nExitCode, const Texts& vecLines) {
        if (nExitCode != 0) {
            action.logRefused(nExitCode, vecLines);
        }
        return nExitCode == 0;
    };
    try {
        return VESKSystemdSystemctlUltron(action.szVerb, opts, vecUnits, judge);
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

bool MaskActionRun(const MaskAction& action, bool blRunTime, const Texts& vecUnits, Texts& vecFailed)
{
    action.logBegin(vecUnits);
    if (!Succeeds(action, blRunTime, vecUnits)) {
        FailedUnitsCopy(vecUnits, vecFailed);
    }
    if (!vecFailed.empty()) {
        action.logFailed(vecFailed);
        return false;
    }
    action.logDone(vecUnits);
    return true;
}

} // namespace VESK::Systemd
