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
    const Process process(nPid);
    std::string strUnit;
    std::string strPath;
    VESKSystemdGetByPid(nPid, strUnit);
    VESKSystemdCgroupPathnameGet(nPid, "name=systemd", strPath);
    Json::Value value;
    value["pid"] = nPid;
    value["name"] = process.NameGet();
    value["unit"] = strUnit;
    value["slice"] = CgroupSliceGet(SystemdTree(), Pieces(strPath, "/"));
    value["cgroup"] = strPath;
    value["cpuSeconds"] = process.CPUTimeGet();
    value["memoryKiB"] = Json::UInt64(process.MemoryPssGet());
    return value;
}

std::string Seconds(double seconds)
{
    char szText[32];
    snprintf(szText, sizeof szText, "%.2f", seconds);
    return szText;
}

void ProcessPrint(const Json::Value& value)
{
    Table table({"PID", "NAME", "UNIT", "SLICE", "CPU SECONDS", "MEMORY KIB"});
    table.Row({value["pid"].asString(), value["name"].asString(), value["unit"].asString(),
               value["slice"].asString(), Seconds(value["cpuSeconds"].asDouble()),
               value["memoryKiB"].asString()});
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

Verb PidVerb()
{
    return {"pid",
            "show the unit and the slice that hold a process",
            {{"PID", Kind::Pid}},
            {JsonOption()},
            PidRun};
}

} // namespace Veskctl
