#pragma once

#include <set>
#include <string>

namespace VESK::Systemd
{

/** The eleven suffixes that name a unit's type. */
const std::set<std::string>& UnitTypes();

} // namespace VESK::Systemd
