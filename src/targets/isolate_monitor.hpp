#pragma once

#include <sys/types.h>

namespace VESK::Systemd
{

/** Exists while an isolation has been started and has not finished. */
constexpr const char* kIsolateFlag = "/run/vesksystemd/isolate-not-finish-flag";

/**
 * Waits, in a forked child of the isolation, until systemctl is seen to isolate, or the isolation has ended,
 * or its process has died; false when two minutes have passed without any of that. First closes the
 * descriptors above 2 that the child has inherited, except those of the isolate lock.
 */
bool IsolateMonitorWait(pid_t nParent);

} // namespace VESK::Systemd
