#pragma once

#include <string>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** The unit that stands for this one when services are stopped and started. */
std::string MasterUnitGet(const std::string& strUnit);

/** Whether the unit declares a dependency that concerns one of the volumes. */
bool DependsOnVolumes(const std::string& strUnit, const Texts& vecVolumes);

} // namespace VESK::Systemd
