#include "volume_plan.hpp"

#include <algorithm>
#include <set>
#include <stdexcept>

#include <vesksystemd.hpp>

#include "output.hpp"
#include "unit_state.hpp"
#include "volumes/unmount_services.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

/** The properties that name the units which systemd stops together with a unit. */
const Texts kNeeding{"RequiredBy", "RequisiteOf", "BoundBy", "ConsistsOf"};

bool IsRunningState(const std::string& strActive)
{
    return strActive == "active" || strActive == "activating" || strActive == "reloading";
}

/** The active units that need this one. */
Texts NeededBy(const std::string& strUnit)
{
    Properties mapProperties;
    PropertiesGet(strUnit, kNeeding, mapProperties);
    std::set<std::string> setUnits;
    for (const auto& [strName, strUnits] : mapProperties) {
        for (const std::string& strNeeding : Pieces(strUnits, " ")) {
            if (!strNeeding.empty() && IsRunningState(UnitStateGet(strNeeding).strActive)) {
                setUnits.insert(strNeeding);
            }
        }
    }
    return {setUnits.begin(), setUnits.end()};
}

std::string Quantity(size_t nFiles, const std::string& strPath)
{
    return nFiles == 1 ? strPath : strPath + " and " + std::to_string(nFiles - 1) + " more";
}

/** "sleep (57) open /vol/a and 2 more" for each process. */
void UsersAdd(Plan& plan)
{
    std::map<int, std::pair<const Holder*, size_t>> mapProcesses;
    for (const Holder& holder : plan.vecHolders) {
        if (!holder.blStopped) {
            plan.vecLeft.push_back(holder);
            continue;
        }
        auto& [pFirst, nFiles] = mapProcesses[holder.nPid];
        pFirst = nFiles++ == 0 ? &holder : pFirst;
    }
    for (const auto& [nPid, process] : mapProcesses) {
        const Holder& holder = *process.first;
        const std::string strWhy = holder.strProcess + " (" + std::to_string(nPid) + ") " + holder.strHow +
                                   " " + Quantity(process.second, holder.strPath);
        plan.mapStops[MasterUnitGet(holder.strUnit)].vecWhy.push_back(strWhy);
    }
}

} // namespace

std::vector<Dependent> DependentsGet(const Texts& vecVolumes)
{
    Texts vecUnits;
    if (!VESKSystemdListUnits(vecUnits, "")) {
        throw std::runtime_error("the units cannot be listed; systemctl did not answer");
    }
    std::sort(vecUnits.begin(), vecUnits.end());
    std::vector<Dependent> vecDependents;
    for (const std::string& strUnit : vecUnits) {
        if (DependsOnVolumes(strUnit, vecVolumes)) {
            VESK_SYSTEMD_VOLUME_DEPENDENCY dependency = VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE;
            VESKSystemdVolumeDependencyGet(strUnit, dependency);
            vecDependents.push_back({strUnit, dependency == VESK_SYSTEMD_VOLUME_DEPENDENCY_ALL,
                                     UnitStateGet(strUnit).strActive, MasterUnitGet(strUnit)});
        }
    }
    return vecDependents;
}

Plan PlanGet(const Texts& vecVolumes)
{
    Plan plan;
    plan.vecVolumes = vecVolumes;
    plan.vecHolders = HoldersGet(vecVolumes);
    UsersAdd(plan);
    for (const Dependent& dependent : DependentsGet(vecVolumes)) {
        if (IsRunningState(dependent.strActive)) {
            plan.mapStops[dependent.strMaster].vecWhy.push_back(
                (dependent.strMaster == dependent.strUnit ? "" : dependent.strUnit + " ") +
                std::string("depends on ") + (dependent.blAll ? "all volumes" : "registered volumes"));
        }
    }
    for (auto& [strUnit, stop] : plan.mapStops) {
        stop.vecNeededBy = NeededBy(strUnit);
    }
    return plan;
}

Json::Value PlanJson(const Plan& plan)
{
    Json::Value value;
    value["volumes"] = JsonList(plan.vecVolumes);
    value["stops"] = Json::Value(Json::arrayValue);
    for (const auto& [strUnit, stop] : plan.mapStops) {
        Json::Value unit;
        unit["unit"] = strUnit;
        unit["why"] = JsonList(stop.vecWhy);
        unit["neededBy"] = JsonList(stop.vecNeededBy);
        value["stops"].append(unit);
    }
    value["left"] = HoldersJson(plan.vecLeft);
    return value;
}

void PlanPrint(const Plan& plan)
{
    Say("volumes: " + Joined(plan.vecVolumes));
    if (plan.mapStops.empty()) {
        Say("no unit will be stopped");
    }
    Table table({"STOPPED", "WHY", "STOPPED WITH IT"});
    for (const auto& [strUnit, stop] : plan.mapStops) {
        table.Row({strUnit, Joined(stop.vecWhy, "; "), Joined(stop.vecNeededBy)});
    }
    table.Print();
    if (!plan.vecLeft.empty()) {
        Say("these hold a volume and will not be stopped:");
        HoldersPrint(plan.vecLeft);
    }
}

Texts UnitsOf(const Plan& plan)
{
    std::set<std::string> setUnits;
    for (const auto& [strUnit, stop] : plan.mapStops) {
        setUnits.insert(strUnit);
        setUnits.insert(stop.vecNeededBy.begin(), stop.vecNeededBy.end());
    }
    return {setUnits.begin(), setUnits.end()};
}

} // namespace Veskctl
