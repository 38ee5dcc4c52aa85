#include <functional>

#include <vesksystemd.hpp>

#include "command.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "refusals.hpp"
#include "shielded.hpp"
#include "unit_state.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

using TargetRun = Exit (*)(const Call&, const std::string&);

/** Runs a verb with the full name of its target; complains of what is none that the manager knows. */
Exit WithTarget(const Call& call, TargetRun run)
{
    const std::string& strGiven = call.vecOperands[0];
    const std::string strTarget = UnitTypeGet(strGiven).empty() ? strGiven + ".target" : strGiven;
    if (UnitTypeGet(strTarget) != "target") {
        Complain(strTarget + ": no target");
        return Exit::WrongUse;
    }
    const UnitState state = UnitStateGet(strTarget);
    if (state.IsKnown()) {
        return run(call, strTarget);
    }
    if (state.strLoad.empty()) {
        Complain(strTarget + ": systemctl did not answer");
        return Exit::Failed;
    }
    Complain(strTarget + ": no such target; 'veskctl list --type target' shows those that there are");
    return Exit::NotFound;
}

std::function<Exit(const Call&)> Targeted(TargetRun run)
{
    return [=](const Call& call) { return WithTarget(call, run); };
}

Exit GetRun(const Call& call)
{
    std::string strTarget;
    if (!VESKSystemdDefaultTargetGet(strTarget)) {
        Complain("the default target cannot be read; 'veskctl target set TARGET' sets one");
        return Exit::Failed;
    }
    Json::Value value;
    value["defaultTarget"] = strTarget;
    call.Has("json") ? PrintJson(value) : Say(strTarget);
    return Exit::Done;
}

Exit SetRun(const Call&, const std::string& strTarget)
{
    if (VESKSystemdDefaultTargetSet(strTarget)) {
        return Exit::Done;
    }
    Complain(strTarget + ": it could not be made the default" + WhyFrom(LastRefusal()));
    return Exit::Failed;
}

Exit CarriesRun(const Call& call)
{
    const std::string& strGiven = call.vecOperands[0];
    const std::string strTarget = UnitTypeGet(strGiven).empty() ? strGiven + ".target" : strGiven;
    Texts vecUnits;
    if (!VESKSystemdTargetCarriesGet(strTarget, vecUnits)) {
        Complain(strTarget + ": no unit file; 'veskctl list --type target' shows those that there are");
        return Exit::NotFound;
    }
    Json::Value value;
    value["target"] = strTarget;
    value["carries"] = JsonList(vecUnits);
    if (call.Has("json")) {
        PrintJson(value);
        return Exit::Done;
    }
    for (const std::string& strUnit : vecUnits) {
        Say(strUnit);
    }
    return Exit::Done;
}

/** Runs the command while the system is isolated, unless interrupted before that. Tells what went wrong. */
bool IsolatedRun(const std::string& strTarget, const Texts& vecCommand)
{
    bool blBegun = false;
    bool blRun = false;
    Progress progress("isolating to " + strTarget);
    const bool blDone = _VESKSystemdIsolateTargetAction(strTarget, [&] {
        blBegun = true;
        progress.Now("");
        blRun = !IsInterrupted() && CommandDone(vecCommand);
        progress.Now("isolating to default.target");
        return blRun;
    });
    if (!blBegun) {
        Complain("the command was not run, since the system could not be isolated to " + strTarget +
                 WhyFrom(RefusalOf(strTarget)));
    } else if (blRun && !blDone) {
        Complain("the system could not come back to default.target" + WhyFrom(RefusalOf("default.target")));
    }
    return blDone;
}

Exit RunRun(const Call& call, const std::string& strTarget)
{
    return Shielded([&] {
        if (IsolatedRun(strTarget, call.vecCommand)) {
            return Exit::Done;
        }
        if (IsInterrupted()) {
            Complain("interrupted");
        }
        return Exit::Failed;
    });
}

const char* WaitText(VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result)
{
    switch (result) {
    case VESK_SYSTEMD_ISOLATE_WAIT_STOP_TIMEOUT:
        return "some units have not stopped yet; 'veskctl jobs' shows which";
    case VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED:
        return "whether all units have stopped could not be read";
    case VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE:
        break;
    }
    return "";
}

Exit IsolateRun(const Call& call, const std::string& strTarget)
{
    IsolateOptions options;
    options.noBlock = call.Has("no-block");
    auto waited = VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE;
    const bool blDone = WithProgress("isolating to " + strTarget,
                                     [&] { return VESKSystemdIsolateTarget(strTarget, options, &waited); });
    if (!blDone) {
        return UnitsFailed("isolate", {strTarget});
    }
    if (*WaitText(waited) != '\0') {
        Complain(WaitText(waited));
        return Exit::Failed;
    }
    return Exit::Done;
}

} // namespace

Group TargetGroup()
{
    const Operand target{"TARGET", Kind::Target};
    return {
        "target",
        "Choose what the system runs",
        {
            {"target get", "show the target that the system boots to", {}, {JsonOption()}, GetRun},
            {"target set",
             "set the target that the system boots to",
             {target},
             {},
             Targeted(SetRun),
             "",
             Tail::None,
             For::Root},
            {"target carries", "show the units that a target carries", {target}, {JsonOption()}, CarriesRun},
            {"target run",
             "run a command while the system is isolated to a target",
             {target},
             {},
             Targeted(RunRun),
             "Afterwards, and when it is interrupted, the system comes back to default.target.",
             Tail::Required,
             For::Root},
            {"isolate",
             "start a target and stop all that it does not need",
             {target},
             {{"no-block", "queue the jobs and do not wait for them"}},
             Targeted(IsolateRun),
             "",
             Tail::None,
             For::Root},
        }};
}

} // namespace Veskctl
