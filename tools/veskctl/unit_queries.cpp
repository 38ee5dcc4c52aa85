#include <algorithm>
#include <optional>
#include <set>

#include <vesksystemd.hpp>

#include "command.hpp"
#include "core/unit_names.hpp"
#include "output.hpp"
#include "unit_keys.hpp"
#include "unit_process.hpp"
#include "unit_state.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

const char* EnableWord(VESK_SYSTEMD_ENABLE_STATUS status)
{
    switch (status) {
    case VESK_SYSTEMD_ENABLE_STATUS_DISABLED:
        return "disabled";
    case VESK_SYSTEMD_ENABLE_STATUS_ENABLED:
        return "enabled";
    case VESK_SYSTEMD_ENABLE_STATUS_STATIC:
        return "static";
    case VESK_SYSTEMD_ENABLE_STATUS_MASKED:
        return "masked";
    case VESK_SYSTEMD_ENABLE_STATUS_LINKED:
        return "linked";
    case VESK_SYSTEMD_ENABLE_STATUS_UNKNOWN:
        break;
    }
    return "unknown";
}

std::string DisplayName(const std::string& strUnit)
{
    std::string strName;
    VESKSystemdNameGet(strUnit, strName);
    return strName;
}

std::string TypeWord(const JobInfo& job)
{
    std::string strWord = "other";
    JobStringMap::TypeToString(job.type, strWord);
    return strWord;
}

std::string StateWord(const JobInfo& job)
{
    std::string strWord = "unknown";
    JobStringMap::StateToString(job.state, strWord);
    return strWord;
}

Json::Value JobJson(const JobInfo& job)
{
    Json::Value value;
    value["id"] = job.id;
    value["unit"] = job.unit;
    value["type"] = TypeWord(job);
    value["state"] = StateWord(job);
    return value;
}

/** All that status tells of a unit. */
struct Status {
    UnitState state;
    std::string strName;
    std::string strEnabled;
    Texts vecReasons;
    std::optional<JobInfo> job;
};

Status StatusGet(const std::string& strUnit)
{
    Status status{UnitStateGet(strUnit), "", "", {}, {}};
    if (!status.state.IsKnown()) {
        return status;
    }
    status.strName = DisplayName(strUnit);
    status.strEnabled = EnableWord(VESKSystemdEnableStatusGet(strUnit));
    status.vecReasons = ReasonsOf(strUnit);
    JobInfo job;
    if (VESKSystemdIntJobGet(status.state.strUnit, job)) {
        status.job = job;
    }
    return status;
}

Json::Value StatusJson(const Status& status)
{
    Json::Value value;
    value["unit"] = status.state.strUnit;
    value["name"] = status.strName;
    value["load"] = status.state.strLoad;
    value["active"] = status.state.strActive;
    value["sub"] = status.state.strSub;
    value["why"] = status.state.strReason;
    value["enabled"] = status.strEnabled;
    value["heldBy"] = JsonList(status.vecReasons);
    value["job"] = status.job ? JobJson(*status.job) : Json::Value();
    return value;
}

std::vector<Cell> StatusRow(const Status& status)
{
    const std::string strJob = status.job ? TypeWord(*status.job) + " " + StateWord(*status.job) : "";
    return {status.state.strUnit,
            status.strName,
            StateCell(status.state.strLoad),
            StateCell(status.state.strActive),
            status.state.strSub,
            StateCell(status.strEnabled),
            {Joined(status.vecReasons), Colour::Notice},
            strJob,
            status.state.strReason};
}

Exit MissingTold(const Texts& vecMissing)
{
    for (const std::string& strUnit : vecMissing) {
        Complain(strUnit + ": no such unit; 'veskctl list' shows those that there are");
    }
    return vecMissing.empty() ? Exit::Done : Exit::NotFound;
}

/** Whether systemctl answered, which is complained of if not. */
bool IsAnswered(const UnitState& state)
{
    if (state.strLoad.empty()) {
        Complain(state.strUnit + ": systemctl did not answer");
    }
    return !state.strLoad.empty();
}

Exit StatusRun(const Call& call)
{
    Json::Value list(Json::arrayValue);
    Table table({"UNIT", "NAME", "LOAD", "ACTIVE", "SUB", "ENABLED", "HELD FOR", "JOB", "WHY"});
    Texts vecMissing;
    bool blAnswered = true;
    for (const std::string& strUnit : call.vecOperands) {
        const Status status = StatusGet(strUnit);
        blAnswered = IsAnswered(status.state) && blAnswered;
        list.append(StatusJson(status));
        table.Row(StatusRow(status));
        if (status.state.strLoad == "not-found") {
            vecMissing.push_back(strUnit);
        }
    }
    call.Has("json") ? PrintJson(list) : table.Print();
    const Exit missing = MissingTold(vecMissing);
    return blAnswered ? missing : Exit::Failed;
}

Exit ShowPrint(const Call& call, const Properties& mapProperties)
{
    Json::Value value;
    value["unit"] = NormalizedUnitNameGet(call.vecOperands[0]);
    value["properties"] = Json::Value(Json::objectValue);
    for (const auto& [strName, strValue] : mapProperties) {
        value["properties"][strName] = strValue;
    }
    if (call.Has("json")) {
        PrintJson(value);
        return Exit::Done;
    }
    for (const std::string& strName : value["properties"].getMemberNames()) {
        Say(std::string(strName).append("=").append(mapProperties.at(strName)));
    }
    return Exit::Done;
}

Exit ShowRun(const Call& call)
{
    const std::string& strUnit = call.vecOperands[0];
    Texts vecNames(call.vecOperands.begin() + 1, call.vecOperands.end());
    const bool blAll = vecNames.empty();
    const bool blLoad = std::count(vecNames.begin(), vecNames.end(), "LoadState") != 0;
    if (!blAll && !blLoad) {
        vecNames.emplace_back("LoadState");
    }
    Properties mapProperties;
    if (!PropertiesGet(strUnit, vecNames, mapProperties)) {
        Complain(strUnit + ": systemctl did not answer");
        return Exit::Failed;
    }
    if (mapProperties["LoadState"] == "not-found") {
        return MissingTold({strUnit});
    }
    if (!blAll && !blLoad) {
        mapProperties.erase("LoadState");
    }
    return ShowPrint(call, mapProperties);
}

Exit JobsRun(const Call& call)
{
    std::map<unsigned int, JobInfo> mapJobs;
    if (!VESKSystemdIntJobList(mapJobs)) {
        Complain("the queue of jobs cannot be read; 'systemctl status' tells whether the manager answers");
        return Exit::Failed;
    }
    Json::Value list(Json::arrayValue);
    Table table({"ID", "UNIT", "TYPE", "STATE"});
    for (const auto& [nId, job] : mapJobs) {
        list.append(JobJson(job));
        table.Row({std::to_string(nId), job.unit, TypeWord(job), StateWord(job)});
    }
    call.Has("json") ? PrintJson(list) : table.Print();
    return Exit::Done;
}

Exit ListRun(const Call& call)
{
    const std::string strType = call.Value("type");
    if (!strType.empty() && UnitTypes().count(strType) == 0) {
        Complain("'" + strType + "' is no type of units; those are: " +
                 Joined(Texts(UnitTypes().begin(), UnitTypes().end())));
        return Exit::WrongUse;
    }
    Texts vecUnits;
    if (!VESKSystemdListUnits(vecUnits, strType)) {
        Complain("the units cannot be listed; systemctl did not answer");
        return Exit::Failed;
    }
    std::sort(vecUnits.begin(), vecUnits.end());
    Json::Value list(Json::arrayValue);
    Table table({"UNIT", "NAME", "HELD FOR"});
    for (const std::string& strUnit : vecUnits) {
        const Texts vecReasons = ReasonsOf(strUnit);
        Json::Value value;
        value["unit"] = strUnit;
        value["name"] = DisplayName(strUnit);
        value["heldBy"] = JsonList(vecReasons);
        table.Row({strUnit, value["name"].asString(), {Joined(vecReasons), Colour::Notice}});
        list.append(value);
    }
    call.Has("json") ? PrintJson(list) : table.Print();
    return Exit::Done;
}

} // namespace

Group UnitQueryGroup()
{
    const Operand unit{"UNIT", Kind::Unit};
    const Operand units{"UNIT", Kind::Unit, false, true};
    const Operand properties{"PROPERTY", Kind::Property, true, true};
    const Option type{"type", "only units of this type, as service or slice", "TYPE", Kind::Type};
    return {"queries",
            "Look at units",
            {
                {"status",
                 "show whether units run and are enabled, and why not",
                 {units},
                 {JsonOption()},
                 StatusRun},
                {"show", "show the properties of a unit", {unit, properties}, {JsonOption()}, ShowRun},
                {"jobs", "list what systemd has queued", {}, {JsonOption()}, JobsRun},
                {"list", "list the units that have files", {}, {type, JsonOption()}, ListRun},
                KeysVerb(),
                PidVerb(),
            }};
}

} // namespace Veskctl
