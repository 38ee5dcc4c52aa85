#include "volume_unmount.hpp"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <unistd.h>

#include <vesksystemd.hpp>

#include "core/paths.hpp"
#include "core/pause.hpp"
#include "mount_table.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "refusals.hpp"
#include "shielded.hpp"
#include "unit_state.hpp"
#include "volume_plan.hpp"
#include "volume_recover.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

Texts FirstWords(const Texts& vecLines)
{
    Texts vecWords;
    for (const std::string& strLine : vecLines) {
        const std::string strTrimmed = Trimmed(strLine);
        if (!strTrimmed.empty()) {
            vecWords.push_back(strTrimmed.substr(0, strTrimmed.find(' ')));
        }
    }
    return vecWords;
}

/** The units that are active, of the types that an action can stop; throws when they cannot be listed. */
Texts ActiveUnits()
{
    const Texts vecOptions{"--no-legend", "--plain", "--full", "--state=active",
                           "--type=service,socket,timer,path"};
    Texts vecUnits;
    bool blListed = false;
    try {
        blListed =
            VESKSystemdSystemctl("list-units", vecOptions, {}, [&](int nExitCode, const Texts& vecLines) {
                vecUnits = FirstWords(vecLines);
                return nExitCode == 0;
            });
    } catch (const std::exception&) {
        blListed = false;
    }
    if (!blListed) {
        throw std::runtime_error("the active units cannot be listed; systemctl did not answer");
    }
    return vecUnits;
}

/** Those of the units that are not active, and are not about to be. */
std::vector<UnitState> NotActive(const Texts& vecUnits)
{
    const Texts vecActive = ActiveUnits();
    std::vector<UnitState> vecStates;
    for (const std::string& strUnit : vecUnits) {
        if (std::count(vecActive.begin(), vecActive.end(), strUnit) == 0) {
            const UnitState state = UnitStateGet(strUnit);
            if (!state.IsActive() && state.strActive != "activating") {
                vecStates.push_back(state);
            }
        }
    }
    return vecStates;
}

/**
 * Starts what is inactive now: some of it was stopped because it needs what the action has stopped, and the action starts
 * its own alone.
 */
void NeedingStart(const Texts& vecBefore)
{
    Texts vecInactive;
    for (const UnitState& state : NotActive(vecBefore)) {
        if (state.strActive == "inactive") {
            vecInactive.push_back(state.strUnit);
        }
    }
    Texts vecFailed;
    if (!vecInactive.empty()) {
        VESKSystemdStart(vecInactive, vecFailed);
    }
}

/** Names the units that were active before and are not now. */
bool IsAllBack(const Texts& vecBefore)
{
    const std::vector<UnitState> vecStates = NotActive(vecBefore);
    for (const UnitState& state : vecStates) {
        Complain(state.strUnit + ": was active before and is now " +
                 Described(state, RefusalOf(state.strUnit)) + "; see: journalctl -u " + state.strUnit);
    }
    return vecStates.empty();
}

/** Why this process must not unmount the volumes; empty when it may. */
std::string OwnUse(const Plan& plan)
{
    for (const Holder& holder : plan.vecHolders) {
        if (holder.nPid == getpid()) {
            return "this process itself uses " + holder.strVolume + " (" + holder.strHow + " " +
                   holder.strPath + "); start it from elsewhere";
        }
    }
    std::string strOwn;
    VESKSystemdGetByPid(getpid(), strOwn);
    const Texts vecUnits = UnitsOf(plan);
    if (!strOwn.empty() && std::count(vecUnits.begin(), vecUnits.end(), strOwn) != 0) {
        return "veskctl runs in " + strOwn + ", which would be stopped; start it from elsewhere";
    }
    return "";
}

/** Whether no other action runs; waits for that unless it is interrupted. */
bool OthersAwait()
{
    const Progress progress("another unmount action");
    while (IsActionRunning()) {
        if (IsInterrupted()) {
            return false;
        }
        PauseSecond();
    }
    return true;
}

/** Runs umount; tells who holds a volume that is busy. */
bool Unmount(const std::string& strVolume)
{
    if (CommandRun({"umount", strVolume}) == 0) {
        Say(strVolume, "unmounted");
        return true;
    }
    const Holders vecHolders = HoldersGet({strVolume});
    Complain(strVolume + ": not unmounted" + (vecHolders.empty() ? "" : "; these hold it:"));
    HoldersPrint(vecHolders);
    return false;
}

/** The action itself, which is not begun after an interruption. */
bool Act(const Call& call, const Texts& vecVolumes)
{
    if (IsInterrupted()) {
        return false;
    }
    if (!call.vecCommand.empty()) {
        return CommandDone(call.vecCommand);
    }
    // A volume that is mounted below another one goes before that.
    Texts vecOrdered = vecVolumes;
    std::sort(vecOrdered.begin(), vecOrdered.end(), std::greater<>());
    return std::all_of(vecOrdered.begin(), vecOrdered.end(), Unmount);
}

/** The action between the stop and the start of the units. Tells what went wrong. */
bool ActionRun(const Call& call, const Texts& vecVolumes)
{
    bool blBegun = false;
    bool blActed = false;
    Progress progress("stopping the units that use " + Joined(vecVolumes));
    const bool blDone = _VESKSystemdVolumeUnmountAction(vecVolumes, [&] {
        progress.Now("");
        blBegun = true;
        blActed = Act(call, vecVolumes);
        progress.Now("starting the units again");
        return blActed;
    });
    if (!blBegun) {
        Complain("nothing was done with " + Joined(vecVolumes) + WhyFrom(RefusalOf(kUnmountBeginTarget)));
    } else if (blActed && !blDone) {
        Complain("not all units could be started again" + WhyFrom(RefusalOf(kUnmountEndTarget)));
    }
    return blDone;
}

/** All from the recovery of what others have left to the comparison of what is active. */
Exit WholeRun(const Call& call, const Texts& vecVolumes)
{
    if (!OthersAwait()) {
        Complain("interrupted; nothing was done");
        return Exit::Failed;
    }
    if (Recover() != Exit::Done) {
        Complain("nothing was begun: what an earlier action has left stopped does not start");
        return Exit::Failed;
    }
    if (IsInterrupted()) {
        Complain("interrupted; nothing was begun");
        return Exit::Failed;
    }
    const Texts vecBefore = ActiveUnits();
    if (!ActiveNote(vecBefore)) {
        Complain("nothing was begun: the way back cannot be noted below /run/vesksystemd");
        return Exit::Failed;
    }
    const bool blDone = ActionRun(call, vecVolumes);
    WithProgress("starting the units again", [&] { NeedingStart(vecBefore); });
    const bool blBack = IsAllBack(vecBefore);
    ActiveNoteRemove();
    if (IsInterrupted()) {
        Complain("interrupted");
    }
    return blDone && blBack && !IsInterrupted() ? Exit::Done : Exit::Failed;
}

Exit UnmountRun(const Call& call)
{
    if (call.Has("json") && !call.Has("dry-run")) {
        Complain("--json goes with --dry-run");
        return Exit::WrongUse;
    }
    Texts vecVolumes;
    const Exit resolved = VolumesResolve(call.vecOperands, call.Has("force"), vecVolumes);
    if (resolved != Exit::Done) {
        return resolved;
    }
    const Plan plan = PlanGet(vecVolumes);
    call.Has("json") ? PrintJson(PlanJson(plan)) : PlanPrint(plan);
    const std::string strOwnUse = OwnUse(plan);
    if (!strOwnUse.empty()) {
        Complain(strOwnUse);
        return Exit::Failed;
    }
    return call.Has("dry-run") ? Exit::Done : Shielded([&] { return WholeRun(call, vecVolumes); });
}

} // namespace

Verb UnmountVerb()
{
    return {"volume unmount",
            "unmount volumes, or run a command, while their users are stopped",
            {{"VOLUME", Kind::Volume, false, true}},
            {{"dry-run", "only show which units would be stopped, and why"},
             {"force", "also for a path that is no mount point"},
             {"json", "print the plan of a dry run as JSON"}},
            UnmountRun,
            "Stops the services that use the volumes and the units that depend on them, unmounts the volumes "
            "or runs "
            "the command, and starts the units again whatever came of it, also after an interruption "
            "(Ctrl-C). What an "
            "earlier action that was killed has left stopped is started first.\n\n"
            "Afterwards every unit that was active before is active again, or is named with its state and "
            "the reason, "
            "and the exit code is 1.",
            Tail::Optional,
            For::Root};
}

} // namespace Veskctl
