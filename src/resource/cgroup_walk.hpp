#pragma once

#include <functional>
#include <string>

namespace VESK::Systemd
{

/** Whether an error tells that there is no such group: it never was, is gone, or has a name that none can have. */
bool IsNoGroup(int nError);

/**
 * Visits the control groups below a folder, each before those in it, in the order of the folders. False when not
 * all of it could be searched.
 */
bool CgroupsBelow(const std::string& strFolder,
                  const std::function<void(const std::string& strGroup)>& visit);

} // namespace VESK::Systemd
