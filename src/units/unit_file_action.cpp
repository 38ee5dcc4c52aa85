#include "units/unit_file_action.hpp"

namespace VESK::Systemd
{

UnitAction UnitFileAction(UnitAction action)
{
    action.failedUnitsGet = [](const Texts& vecUnits, const Texts&, Texts& vecFailed) {
        FailedUnitsCopy(vecUnits, vecFailed);
    };
    action.ended = [](const Texts& vecUnits) {
        for (const std::string& strUnit : vecUnits) {
            SetEnableStatusChanged(strUnit);
        }
    };
    action.blCalRunTime = true;
    return action;
}

} // namespace VESK::Systemd
