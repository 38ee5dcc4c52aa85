#pragma once

#include <string>
#include <unordered_set>

#include "volumes/mount_path_scan.hpp"

namespace VESK::Systemd
{

/**
 * Adds the services that hold the users of a mount path, with a line in the log for each user. False when descriptors or
 * memory ended before all processes were looked at, which sets the error; what was found until then stays added.
 */
bool MountPathServicesAdd(const MountPathUsers& users, std::unordered_set<std::string>& setServices);

/**
 * The unit of the system that holds a process; empty when there is none. False when it cannot be told. All is
 * taken from one look at the process, which may move meanwhile.
 */
bool SystemUnitGet(int nPid, std::string& strUnit);

/** Whether a unit is a service that does not ask to be left out. */
bool IsListedForMountPath(const std::string& strUnit);

} // namespace VESK::Systemd
