#include "volume_recover.hpp"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <set>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

#include <veskcore.h>
#include <vesksystemd.hpp>

#include "core/file_text.hpp"
#include "core/lock_release.hpp"
#include "core/paths.hpp"
#include "core/pause.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "shielded.hpp"
#include "unit_state.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

constexpr const char* kNote = "/run/vesksystemd/veskctl-unmount";

/** For what is left over has to be known before it is forgotten. */
[[noreturn]] void UntoldThrow(const std::string& strWhat)
{
    throw std::runtime_error(strWhat + ", so it is not known what an earlier action has left stopped");
}

/** The state of a unit; throws when it is not told. */
UnitState ToldState(const std::string& strUnit)
{
    UnitState state = UnitStateGet(strUnit);
    if (!state.blTold) {
        UntoldThrow("systemctl did not answer about " + strUnit);
    }
    return state;
}

/** The services of the last action of all, if what stops them is still in force: it gives way to their start. */
void ActionServicesAdd(std::set<std::string>& setUnits)
{
    const std::string strActive = ToldState(kUnmountBeginTarget).strActive;
    if (strActive != "active" && strActive != "activating") {
        return;
    }
    Properties mapProperties;
    if (!PropertiesGet(kUnmountEndTarget, {"Wants"}, mapProperties)) {
        UntoldThrow("systemctl did not answer about " + std::string(kUnmountEndTarget));
    }
    for (const std::string& strUnit : Pieces(mapProperties["Wants"], " ")) {
        setUnits.insert(strUnit);
    }
}

void NotedAdd(std::set<std::string>& setUnits)
{
    std::string strText;
    if (!FileRead(kNote, strText) && errno != ENOENT) {
        UntoldThrow(std::string(kNote) + " cannot be read");
    }
    Lines lines(strText);
    for (std::string_view svLine; lines.Next(svLine);) {
        setUnits.insert(std::string(svLine));
    }
}

/** The jobs of a killed action go on; they cannot be replaced, so their end is waited for. */
void StopAwait()
{
    const Progress progress("the stop that the killed action has queued");
    while (!IsInterrupted() && VESKSystemdIsJobEnqueued(kUnmountBeginTarget)) {
        PauseSecond();
    }
}

Exit RecoverRun(const Call&)
{
    if (IsActionRunning()) {
        Complain("an unmount action is running; it starts again what it has stopped");
        return Exit::Failed;
    }
    return Recover();
}

} // namespace

bool IsActionRunning()
{
    FileLock lock(kUnmountActionLock, true, 0);
    const LockRelease release(lock);
    return !lock.Acquire();
}

Texts LeftoverGet()
{
    std::set<std::string> setUnits;
    ActionServicesAdd(setUnits);
    NotedAdd(setUnits);
    setUnits.erase("");
    Texts vecLeft;
    for (const std::string& strUnit : setUnits) {
        // What was uninstalled or masked meanwhile is not to come back.
        const UnitState state = ToldState(strUnit);
        if (state.strLoad == "loaded" && !state.IsActive() && state.strActive != "activating") {
            vecLeft.push_back(strUnit);
        }
    }
    return vecLeft;
}

Exit Recover()
{
    if (!LeftoverGet().empty()) {
        StopAwait();
    }
    const Texts vecUnits = LeftoverGet();
    Texts vecFailed;
    const bool blDone = vecUnits.empty() || WithProgress("start " + Joined(vecUnits, " "), [&] {
                            return VESKSystemdStart(vecUnits, vecFailed);
                        });
    for (const std::string& strUnit : vecUnits) {
        if (std::count(vecFailed.begin(), vecFailed.end(), strUnit) == 0) {
            Say(strUnit + ": started again after an unmount action that was killed");
        }
    }
    if (!blDone) {
        return UnitsFailed("start", vecFailed);
    }
    ActiveNoteRemove();
    return Exit::Done;
}

bool ActiveNote(const Texts& vecUnits)
{
    mkdir("/run/vesksystemd", 0755);
    std::ofstream note(kNote);
    note << Joined(vecUnits, "\n") << '\n' << std::flush;
    return note.good();
}

void ActiveNoteRemove()
{
    unlink(kNote);
}

Verb RecoverVerb()
{
    return {"volume recover",
            "start what an unmount action that was killed has left stopped",
            {},
            {},
            RecoverRun,
            "'volume unmount' does this first by itself.",
            Tail::None,
            For::Root};
}

} // namespace Veskctl
