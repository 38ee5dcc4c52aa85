#include "unit_process.hpp"

#include <climits>
#include <cstdio>

#include <vesksystemd.hpp>

#include "number.hpp"
#include "output.hpp"
#include "resource/cgroup_layout.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

/** What is told of a process; throws when it is not there. */
Json::Value ProcessGet(int nPid)
{
    std::string strPath;
    VESKSystemdCgroupPathnameGet(nPid, "name=systemd", strPath);
    Json::Value value = ProcessJson(Process(nPid));
    value["slice"] = CgroupSliceGet(SystemdTree(), Pieces(strPath, "/"));
    value["cgroup"] = strPath;
    return value;
}

void ProcessPrint(const Json::Value& value)
{
    Table table({"PID", "NAME", "UNIT", "SLICE", "CPU SECONDS", "MEMORY KIB"});
    table.Row({value["pid"].asString(), value["name"].asString(), value["unit"].asString(),
               value["slice"].asString(), SecondsText(value), value["memoryKiB"].asString()});
    table.Print();
}

Exit PidRun(const Call& call)
{
    const int nPid = NumberOf(call.vecOperands[0], INT_MAX);
    if (nPid == 0) {
        Complain("'" + call.vecOperands[0] + "' is no process id");
        return Exit::WrongUse;
    }
    try {
        const Json::Value value = ProcessGet(nPid);
        call.Has("json") ? PrintJson(value) : ProcessPrint(value);
        return Exit::Done;
    } catch (const std::exception&) {
        Complain(std::to_string(nPid) + ": no such process, or none that you may look at; root may at all");
        return Exit::NotFound;
    }
}

} // namespace

Json::Value ProcessJson(const Process& process)
{
    std::string strUnit;
    VESKSystemdGetByPid(process.PidGet(), strUnit);
    Json::Value value;
    value["pid"] = process.PidGet();
    value["name"] = process.NameGet();
    value["unit"] = strUnit;
    value["cpuSeconds"] = process.CPUTimeGet();
    value["memoryKiB"] = Json::UInt64(process.MemoryPssGet());
    return value;
}

std::string SecondsText(const Json::Value& process)
{
    char szText[32];
    snprintf(szText, sizeof szText, "%.2f", process["cpuSeconds"].asDouble());
    return szText;
}

Verb PidVerb()
{
    return {"pid",
            "show the unit and the slice that hold a process",
            {{"PID", Kind::Pid}},
            {JsonOption()},
            PidRun};
}

} // namespace Veskctl
