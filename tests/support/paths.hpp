// Where the library, and the platform around it, keep what tests look at.
#pragma once

#include <string>

namespace VeskTest
{

// Until the next boot.
constexpr const char* kRunFolder = "/run/vesksystemd";
constexpr const char* kLockFolder = "/run/vesksystemd/locks";
constexpr const char* kOperationLock = "/run/vesksystemd/locks/system-operation.lock";
constexpr const char* kActionLock = "/run/vesksystemd/locks/volume-unmount-action.lock";
constexpr const char* kIsolateLock = "/run/vesksystemd/locks/isolate-and-volume-unmount-action.lock";
constexpr const char* kRegisterLock = "/run/vesksystemd/locks/volume-register.lock";
constexpr const char* kExitLock = "/run/vesksystemd/status_monitor.exit.lock";
constexpr const char* kFlag = "/run/vesksystemd/isolate-not-finish-flag";
constexpr const char* kReasons = "/run/vesksystemd/reasons";
constexpr const char* kBootStep = "/run/veskbootseq/step";

// From boot to boot.
constexpr const char* kStateFolder = "/usr/vesk/etc/vesksystemd";
constexpr const char* kMarks = "/usr/vesk/etc/vesksystemd/enable-status-changed";
constexpr const char* kRegister = "/usr/vesk/etc/vesksystemd/volume-register";
constexpr const char* kPackages = "/var/packages";

// The folders of unit files, first the one that is looked at last.
constexpr const char* kUsrLocalUnits = "/usr/local/lib/systemd/system";
constexpr const char* kUsrUnits = "/usr/lib/systemd/system";
constexpr const char* kEtcUnits = "/etc/systemd/system";
constexpr const char* kRunUnits = "/run/systemd/system";

constexpr const char* kEventLogProgram = "/usr/vesk/bin/vesklogset";
constexpr const char* kMonitorScript = "/usr/vesk/lib/systemd/scripts/vesk-systemd-status-monitor.sh";

// A service's reasons, a unit's mark, its registry, and a package's.
inline std::string ReasonsOf(const std::string& service)
{
    return std::string(kReasons) + "/" + service;
}

inline std::string MarkOf(const std::string& unit)
{
    return std::string(kMarks) + "/" + unit;
}

inline std::string RegisterOf(const std::string& unit)
{
    return std::string(kRegister) + "/" + unit;
}

inline std::string PackageRegisterFolder(const std::string& package)
{
    return std::string(kPackages) + "/" + package + "/etc/veskpkg_conf";
}

} // namespace VeskTest
