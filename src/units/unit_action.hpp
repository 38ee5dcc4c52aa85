#pragma once

/** What the families of unit actions share. A family is a row of what is its own, and thin entry points. */

#include <stdexcept>

#include "core/text.hpp"
#include "units/log_line.hpp"

namespace VESK::Systemd
{

enum class ActionKind {
    /** Acts on units; those failed that systemctl names. */
    Units,
    /** Changes the enable state of units: all failed or none, all are marked as changed, and it is measured. */
    UnitFiles,
    /** Masks or unmasks: all failed or none by the caller's list of failed units alone, and it is measured. */
    Masks,
};

/** One family of actions: its kind, its verb and its words in the log. */
struct UnitAction {
    /** What the texts take is checked where a row is compiled, so a row has to be constexpr. */
    constexpr UnitAction(ActionKind actionKind, const char* szActionVerb, LogLine beginLine, LogLine doneLine,
                         LogLine refusedLine, LogLine failedLine)
        : kind(actionKind)
        , szVerb(szActionVerb)
        , begin(beginLine.Taking("s"))
        , done(doneLine.Taking("s"))
        , refused(refusedLine.Taking(actionKind == ActionKind::Masks ? "ds" : "sds"))
        , failed(failedLine.Taking("s"))
    {
    }

    ActionKind kind;
    const char* szVerb;

    /** With the units. */
    LogLine begin;
    /** With the units. */
    LogLine done;
    /** With the failed units (not for masks), the exit code and what systemctl printed. */
    LogLine refused;
    /** With the failed units; for masks the outcome, for others that systemctl could not be run. */
    LogLine failed;
};

enum class ActionEnd {
    Done,
    Failed,
    /** Systemctl could not be run or not be heard out, which may soon be otherwise. */
    NotRun,
};

/** Runs the action; appends the units that failed. An empty list of units is an invalid argument. */
ActionEnd UnitActionTry(const UnitAction& action, const Texts& vecOptions, const Texts& vecGivenUnits,
                        Texts& vecFailed);

/** The same for those to whom all failures are one. */
bool UnitActionRun(const UnitAction& action, const Texts& vecOptions, const Texts& vecUnits,
                   Texts& vecFailed);

} // namespace VESK::Systemd
