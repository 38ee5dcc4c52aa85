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

/** Held by a volume unmount action. */
constexpr const char* kUnmountActionLock = "/run/vesksystemd/locks/volume-unmount-action.lock";

/** The targets of a volume unmount action: the start of the first stops the services, that of the second starts them. */
constexpr const char* kUnmountBeginTarget = "unmount-volume-begin.target";
constexpr const char* kUnmountEndTarget = "unmount-volume-end.target";

/** Holds the registry of each unit that uses volumes. */
constexpr const char* kVolumeRegisterDirectory = "/usr/vesk/etc/vesksystemd/volume-register/";

/** Holds a folder for each package, and in that its registry. */
constexpr const char* kPackagesDirectory = "/var/packages/";
constexpr const char* kPackageRegisterFile = "/etc/veskpkg_conf/reg_volume";

} // namespace VESK::Systemd
