#pragma once

#include <string>
#include <unordered_set>

namespace VESK::Systemd
{

/**
 * Adds the services that use files on a mount path. False when descriptors or memory ended before all processes
 * were looked at, which sets the error; what was found until then stays added.
 */
bool MountPathServicesAdd(const std::string& strMntPath, std::unordered_set<std::string>& setServices);

/**
 * The unit of the system that holds a process; empty when there is none. False when it cannot be told. All is
 * taken from one look at the process, which may move meanwhile.
 */
bool SystemUnitGet(int nPid, std::string& strUnit);

/** Whether a unit is a service that does not ask to be left out. */
bool IsListedForMountPath(const std::string& strUnit);

} // namespace VESK::Systemd
