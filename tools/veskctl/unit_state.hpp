#pragma once

/** What the manager knows of a unit, and why one is not as it should be. */

#include <map>
#include <string>

#include "command.hpp"

namespace Veskctl
{

using Properties = std::map<std::string, std::string>;

/** The properties of a unit with one question; all of them for an empty list. False when there is no answer. */
bool PropertiesGet(const std::string& strUnit, const Texts& vecNames, Properties& mapProperties);

struct UnitState {
    std::string strUnit; ///< with its type
    std::string strLoad;
    std::string strActive;
    std::string strSub;
    /** Why it is in that state, in systemd's words; empty when there is nothing to tell. */
    std::string strReason;
    /** Whether systemctl has told all this. */
    bool blTold = false;

    bool IsKnown() const { return !strLoad.empty() && strLoad != "not-found"; }
    bool IsActive() const { return strActive == "active" || strActive == "reloading"; }
};

UnitState UnitStateGet(const std::string& strUnit);

/** "failed (exit-code, status 3): SENTENCE" or the like, with what systemctl said when it refused the unit. */
std::string Described(const UnitState& state, const std::string& strRefusal);

/** The reasons that hold a service; none for other units. */
Texts ReasonsOf(const std::string& strUnit);

/** Complains of units that are not as they should be; the exit code for them. */
Exit UnitsFailed(const std::string& strWhat, const Texts& vecFailed);

} // namespace Veskctl
