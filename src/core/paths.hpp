#pragma once

namespace VESK::Systemd
{

/** Holds an empty file for each unit whose enable state was changed. */
constexpr const char* kEnableStatusChangedDirectory = "/usr/vesk/etc/vesksystemd/enable-status-changed/";

/** Holds a folder for each service that was ever stopped by a reason, and in it an empty file for each
 * reason. */
constexpr const char* kReasonsDirectory = "/run/vesksystemd/reasons/";

/** Held exclusively by an isolation and shared by a volume unmount action, so that the two never overlap. */
constexpr const char* kIsolateLock = "/run/vesksystemd/locks/isolate-and-volume-unmount-action.lock";

} // namespace VESK::Systemd
