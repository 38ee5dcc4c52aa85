#pragma once

#include <set>
#include <string>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** What a unit is made of on disk. */
struct UnitPaths {
    Texts vecUnitFiles; // one or none
    Texts vecDropIns;
};

/** The unit's file and drop-ins, as the manager knows them; false when it does not tell. Throws as the door does. */
bool UnitPathsGet(const std::string& strUnit, UnitPaths& paths);

/** VESKSystemdUninstall, which leaves these files where they are. */
bool UninstallExcept(const std::set<std::string>& setKept, const Texts& vecGivenUnits, Texts& vecFailed);

} // namespace VESK::Systemd
