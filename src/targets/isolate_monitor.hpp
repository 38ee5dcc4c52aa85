#pragma once

#include <sys/types.h>

#include "vesksystemd.hpp"

namespace VESK::Systemd
{

/** Exists while an isolation has been started and has not finished. */
constexpr const char* kIsolateFlag = "/run/vesksystemd/isolate-not-finish-flag";

constexpr const char* kIsolateLock = "/run/vesksystemd/locks/isolate-and-volume-unmount-action.lock";

/**
 * Runs in a forked child of the isolation: releases the isolate lock, which it shares with its parent, as
 * soon as systemctl is seen to isolate, so that what systemd stops meanwhile can take the lock; or else when
 * the isolation has ended, its process has died, or two minutes have passed.
 */
void IsolateMonitorRun(const FileLock& lock, pid_t nParent);

} // namespace VESK::Systemd
