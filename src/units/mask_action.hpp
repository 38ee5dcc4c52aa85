#pragma once

#include "core/text.hpp"

namespace VESK::Systemd
{

/** Mask or unmask: its verb and its words in the log. */
struct MaskAction {
    const char* szVerb;

    void (*logBegin)(const Texts& vecUnits);
    void (*logRefused)(int nExitCode, const Texts& vecLines);
    void (*logDone)(const Texts& vecUnits);
    void (*logFailed)(const Texts& vecFailed);
};

/**
 * Runs the action on units that are known to be there. The outcome is read from the failed units alone, so it
 * is a failure when the caller's list held some before.
 */
bool MaskActionRun(const MaskAction& action, bool blRunTime, const Texts& vecUnits, Texts& vecFailed);

} // namespace VESK::Systemd
