#pragma once

namespace VESK::Systemd
{

/** Holds an empty file for each unit whose enable state was changed. */
constexpr const char* kEnableStatusChangedDirectory = "/usr/vesk/etc/vesksystemd/enable-status-changed/";

/** Holds a folder for each service that was ever stopped by a reason, and in it an empty file for each
 * reason. */
constexpr const char* kReasonsDirectory = "/run/vesksystemd/reasons/";

} // namespace VESK::Systemd
