#pragma once

/** What the families of unit actions share. A family is a row of what is its own, and thin entry points. */

#include "vesksystemd.hpp"

#include "core/text.hpp"

namespace VESK::Systemd
{

/** One family of actions: its verb, its words in the log, and where it differs from the others. */
struct UnitAction {
    const char* szVerb;

    void (*logBegin)(const Texts& vecUnits);
    void (*logDone)(const Texts& vecUnits);
    void (*logFailed)(const Texts& vecFailed, int nExitCode, const Texts& vecLines);
    void (*logNotRun)(const Texts& vecFailed);

    /** Finds the units that failed in what systemctl printed. */
    void (*failedUnitsGet)(const Texts& vecUnits, const Texts& vecLines, Texts& vecFailed) = FailedUnitsGet;

    /** Called once systemctl has ended, whatever its exit code; may be null. */
    void (*ended)(const Texts& vecUnits) = nullptr;

    /** Log how long systemctl ran. */
    bool blCalRunTime = false;
};

/** Runs the action on units that are known to be there; appends those that failed. */
bool UnitActionRun(const UnitAction& action, const Texts& vecOptions, const Texts& vecUnits,
                   Texts& vecFailed);

} // namespace VESK::Systemd
