#pragma once

#include <string>

namespace VESK::Systemd
{

/** Whether a unit may have reasons: a service whose name stays in the folder of all reasons. */
bool MayHaveReasons(const std::string& strUnit);

/** The folder of a service's reasons, without a slash at its end. */
std::string ReasonFolder(const std::string& strService);

} // namespace VESK::Systemd
