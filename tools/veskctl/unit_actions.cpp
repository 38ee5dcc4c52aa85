#include <algorithm>

#include <vesksystemd.hpp>

#include "command.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "refusals.hpp"
#include "uninstall.hpp"
#include "unit_state.hpp"

namespace Veskctl
{
namespace
{

using Action = bool (*)(const Texts&, Texts&);
using OneUnitAction = bool (*)(const std::string&);

const Operand kUnits{"UNIT", Kind::Unit, false, true};
const Option kNoBlock{"no-block", "queue the job and do not wait for it"};
const Option kForceHeld{"force", "also when the service is held stopped for a reason"};
const Option kRuntime{"runtime", "until the next boot only"};

/** Whether a service is held, which is told. */
bool IsHeld(const std::string& strUnit)
{
    const Texts vecReasons = ReasonsOf(strUnit);
    if (vecReasons.empty()) {
        return false;
    }
    Complain(strUnit, "held stopped for: " + VESK::Systemd::Joined(vecReasons) + "; 'veskctl reason start " +
                          vecReasons.front() + " " + strUnit +
                          "' ends a reason, --force starts it all the same");
    return true;
}

/** Tells of each. */
auto CountHeld(const Texts& vecUnits)
{
    return std::count_if(vecUnits.begin(), vecUnits.end(), IsHeld);
}

/** Tells what became of the units. */
Exit Told(bool blDone, const char* szVerb, const std::string& strDone, const Texts& vecUnits,
          const Texts& vecFailed)
{
    for (const std::string& strUnit : vecUnits) {
        const bool blFailed = std::count(vecFailed.begin(), vecFailed.end(), strUnit) != 0;
        if (blDone || (!vecFailed.empty() && !blFailed)) {
            Say(strUnit, strDone);
        }
    }
    return blDone ? Exit::Done : UnitsFailed(szVerb, vecFailed);
}

Exit ActionRun(const char* szVerb, const std::string& strDone, Action action, const Texts& vecUnits)
{
    Texts vecFailed;
    const std::string strWhat = std::string(szVerb) + " " + VESK::Systemd::Joined(vecUnits, " ");
    const bool blDone = WithProgress(strWhat, [&] { return action(vecUnits, vecFailed); });
    return Told(blDone, szVerb, strDone, vecUnits, vecFailed);
}

/** The same one unit after the other, for what has no form for lists. */
Exit EachRun(const char* szVerb, const std::string& strDone, OneUnitAction action, const Texts& vecUnits)
{
    Texts vecFailed;
    for (const std::string& strUnit : vecUnits) {
        if (!action(strUnit)) {
            vecFailed.push_back(strUnit);
        }
    }
    return Told(vecFailed.empty(), szVerb, strDone, vecUnits, vecFailed);
}

/** A verb that acts through jobs. One that starts what is held stopped says so first. */
Verb JobVerb(const char* szName, const char* szSummary, const char* szDone, Action wait, Action queue,
             bool blStarts)
{
    const auto run = [=](const Call& call) {
        if (blStarts && !call.Has("force") && CountHeld(call.vecOperands) != 0) {
            return Exit::Failed;
        }
        return call.Has("no-block") ? ActionRun(szName, "queued", queue, call.vecOperands)
                                    : ActionRun(szName, szDone, wait, call.vecOperands);
    };
    std::vector<Option> vecOptions{kNoBlock};
    if (blStarts) {
        vecOptions.push_back(kForceHeld);
    }
    return {szName, szSummary, {kUnits}, vecOptions, run};
}

Verb FileVerb(const char* szName, const char* szSummary, const char* szDone, Action action)
{
    return {szName, szSummary, {kUnits}, {}, [=](const Call& call) {
                return ActionRun(szName, szDone, action, call.vecOperands);
            }};
}

Verb MaskVerb(const char* szName, const char* szSummary, const char* szDone, Action action,
              OneUnitAction runtime)
{
    return {szName, szSummary, {kUnits}, {kRuntime}, [=](const Call& call) {
                return call.Has("runtime") ? EachRun(szName, szDone, runtime, call.vecOperands)
                                           : ActionRun(szName, szDone, action, call.vecOperands);
            }};
}

Exit DaemonReload(const Call&)
{
    if (WithProgress("daemon-reload", VESKSystemdDaemonReload)) {
        return Exit::Done;
    }
    Complain("daemon-reload failed" + WhyFrom(LastRefusal()));
    return Exit::Failed;
}

std::vector<Verb> JobVerbs()
{
    return {
        JobVerb("start", "start units and wait for them", "started", VESKSystemdStart,
                VESKSystemdStartNoBlock, true),
        JobVerb("stop", "stop units and wait for them", "stopped", VESKSystemdStop, VESKSystemdStopNoBlock,
                false),
        JobVerb("restart", "restart units, or start those that do not run", "restarted", VESKSystemdRestart,
                VESKSystemdRestartNoBlock, true),
        JobVerb("try-restart", "restart those of the units that run", "restarted if it was running",
                VESKSystemdTryRestart, VESKSystemdTryRestartNoBlock, false),
        JobVerb("reload", "queue the reload of units' configuration", "queued", VESKSystemdReload,
                VESKSystemdReloadNoBlock, false),
        JobVerb("reload-or-restart", "reload units that can be, restart or start the others",
                "reloaded or restarted", VESKSystemdReloadOrRestart, VESKSystemdReloadOrRestartNoBlock, true),
    };
}

} // namespace

Group UnitActionGroup()
{
    Group group{"units", "Start and stop units, and change what starts at boot", JobVerbs()};
    for (const Verb& verb : {
             FileVerb("enable", "have units started at boot", "enabled", VESKSystemdEnable),
             FileVerb("disable", "have units started at boot no more", "disabled", VESKSystemdDisable),
             FileVerb("reenable", "disable and enable units", "reenabled", VESKSystemdReenable),
             MaskVerb("mask", "make units impossible to start", "masked", VESKSystemdMask,
                      VESKSystemdMaskRunTime),
             MaskVerb("unmask", "make units possible to start again", "unmasked", VESKSystemdUnmask,
                      VESKSystemdUnmaskRunTime),
             FileVerb("reset-failed", "clear the failed state of units", "reset", VESKSystemdResetFailed),
             Verb{"daemon-reload", "have systemd read its unit files again", {}, {}, DaemonReload},
             UninstallVerb(),
         }) {
        group.vecVerbs.push_back(verb);
    }
    return group;
}

} // namespace Veskctl
