#pragma once

/** What an unmount action that was killed has left stopped, and the way back. */

#include "command.hpp"

namespace Veskctl
{

/** Whether an unmount action is running: then nothing that is stopped is left over. */
bool IsActionRunning();

/** The units that are stopped since an action was killed. */
Texts LeftoverGet();

/** Starts what is left over, and tells so. Failed when something does not start. */
Exit Recover();

/** Notes the units that an action must leave active, for whoever recovers from it; false when it cannot be noted. */
bool ActiveNote(const Texts& vecUnits);
void ActiveNoteRemove();

Verb RecoverVerb();

} // namespace Veskctl
