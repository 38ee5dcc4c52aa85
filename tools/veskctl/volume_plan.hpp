#pragma once

/** What an unmount action will stop. */

#include <map>
#include <string>
#include <vector>

#include <json/value.h>

#include "command.hpp"
#include "volume_holders.hpp"

namespace Veskctl
{

/** A unit that declares a dependency on volumes. */
struct Dependent {
    std::string strUnit;
    bool blAll = false; ///< on all volumes; else on those registered for it
    std::string strActive;
    std::string strMaster; ///< the unit that is stopped for it, as a rule itself
};

/** Throws when the units cannot be listed. */
std::vector<Dependent> DependentsGet(const Texts& vecVolumes);

struct Plan {
    struct Stop {
        Texts vecWhy;
        /** Active units that systemd stops with it, since they need it. */
        Texts vecNeededBy;
    };
    Texts vecVolumes;
    /** The units that will be stopped and started again. */
    std::map<std::string, Stop> mapStops;
    /** What holds the volumes and will not be stopped. */
    Holders vecLeft;
    Holders vecHolders;
};

Plan PlanGet(const Texts& vecVolumes);
Json::Value PlanJson(const Plan& plan);
void PlanPrint(const Plan& plan);

/** All units that will be stopped, directly or since they need one that is. */
Texts UnitsOf(const Plan& plan);

} // namespace Veskctl
