// What isolations and unmounts of volumes may not leave behind.
#pragma once

namespace VeskTest
{

constexpr const char* kFlag = "/run/vesksystemd/isolate-not-finish-flag";
constexpr const char* kOperationLock = "/run/vesksystemd/locks/system-operation.lock";
constexpr const char* kActionLock = "/run/vesksystemd/locks/volume-unmount-action.lock";
constexpr const char* kIsolateLock = "/run/vesksystemd/locks/isolate-and-volume-unmount-action.lock";
constexpr const char* kExitLock = "/run/vesksystemd/status_monitor.exit.lock";

// No flag is there, every lock is free, and neither a forked process nor the status monitor's script runs on.
// The script and the processes around it, which see the end of the operation by its exit lock, have time to
// end.
void ExpectTargetsAtRest();

} // namespace VeskTest
