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

} // namespace VESK::Systemd
