#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <unistd.h>

#include <vesksystemd.hpp>

#include "command.hpp"
#include "core/file_system.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "resource/cgroup_layout.hpp"
#include "shielded.hpp"
#include "slice_usage.hpp"
#include "unit_process.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

std::string SliceName(const std::string& strGiven)
{
    return UnitTypeGet(strGiven) == "slice" ? strGiven : strGiven + ".slice";
}

/** The processes of a slice; false, with a complaint, when there is no such slice. */
bool ProcessesGet(const std::string& strSlice, Processes& setProcesses)
{
    if (Slice::ProcessList(strSlice, setProcesses)) {
        return true;
    }
    Complain(strSlice + ": no such slice; 'veskctl slice list' shows those that there are");
    return false;
}

Exit ListRun(const Call& call)
{
    SliceUsages vecUsages = SliceSamples().UsagesGet();
    Sort(vecUsages, "name");
    Json::Value list(Json::arrayValue);
    Table table({"SLICE", "NAME", "PROCESSES", "MEMORY"});
    for (const SliceUsage& usage : vecUsages) {
        Json::Value value;
        value["slice"] = usage.strSlice;
        value["name"] = usage.strName;
        value["processes"] = Json::UInt64(usage.nProcesses);
        value["memoryKiB"] = Json::UInt64(usage.ullMemoryKiB);
        list.append(value);
        table.Row({usage.strSlice, usage.strName, std::to_string(usage.nProcesses),
                   Quantity(static_cast<double>(usage.ullMemoryKiB) * 1024)});
    }
    call.Has("json") ? PrintJson(list) : table.Print();
    return Exit::Done;
}

Exit ShowRun(const Call& call)
{
    const std::string strSlice = SliceName(call.vecOperands[0]);
    Processes setProcesses;
    if (!ProcessesGet(strSlice, setProcesses)) {
        return Exit::NotFound;
    }
    Json::Value list(Json::arrayValue);
    Table table({"PID", "NAME", "UNIT", "CPU SECONDS", "MEMORY"});
    for (const Process& process : setProcesses) {
        const Json::Value value = ProcessJson(process);
        table.Row({value["pid"].asString(), value["name"].asString(), value["unit"].asString(),
                   SecondsText(value), Quantity(value["memoryKiB"].asDouble() * 1024)});
        list.append(value);
    }
    Json::Value value;
    value["slice"] = strSlice;
    value["processes"] = list;
    call.Has("json") ? PrintJson(value) : table.Print();
    return Exit::Done;
}

/** Whether systemd has the slice, which is complained of if not. */
bool IsThere(const std::string& strSlice)
{
    if (IsDirectory(CgroupSliceFolder(SystemdTree(), strSlice))) {
        return true;
    }
    Complain(strSlice + ": no such slice; 'veskctl slice list' shows those that there are");
    return false;
}

bool IsOwn(const std::string& strSlice)
{
    std::string strPath;
    VESKSystemdCgroupPathnameGet(getpid(), "name=systemd", strPath);
    const Texts vecFolders = Pieces(strPath, "/");
    return std::count(vecFolders.begin(), vecFolders.end(), strSlice) != 0;
}

Exit KillRun(const Call& call)
{
    const std::string strSlice = SliceName(call.vecOperands[0]);
    if (!IsThere(strSlice)) {
        return Exit::NotFound;
    }
    if (IsOwn(strSlice)) {
        Complain(strSlice + ": veskctl runs in it; start it from elsewhere");
        return Exit::Failed;
    }
    if (!WithProgress("ending everything in " + strSlice, [&] { return VESKSystemdKillSlice(strSlice); })) {
        Complain(strSlice + ": not all of it could be killed; the system log tells why");
        return Exit::Failed;
    }
    Say(strSlice + ": killed");
    return Exit::Done;
}

/** Becomes the command; comes back only when that cannot be run. */
Exit Become(const Texts& vecCommand)
{
    const std::vector<char*> vecArguments = ArgumentsOf(vecCommand);
    std::cout << std::flush;
    execvp(vecArguments[0], vecArguments.data());
    Complain(vecCommand[0] + ": " + strerror(errno));
    return Exit::Failed;
}

Exit EnterRun(const Call& call)
{
    const std::string strSlice = SliceName(call.vecOperands[0]);
    if (!IsThere(strSlice)) {
        return Exit::NotFound;
    }
    if (!VESKSystemdCgroupSystemdSliceMove(strSlice)) {
        Complain(strSlice +
                 ": cannot be entered; with cgroup v2 a slice whose units have controllers takes no "
                 "process of its own");
        return Exit::Failed;
    }
    const char* szShell = getenv("SHELL");
    const Texts vecShell{szShell == nullptr || *szShell == '\0' ? "/bin/sh" : szShell};
    return Become(call.vecCommand.empty() ? vecShell : call.vecCommand);
}

} // namespace

Group SliceGroup()
{
    const Operand slice{"SLICE", Kind::Slice};
    return {"slice",
            "Watch slices and their processes",
            {
                {"slice list", "list the slices", {}, {JsonOption()}, ListRun},
                {"slice show", "show the processes of a slice", {slice}, {JsonOption()}, ShowRun},
                {"slice top",
                 "watch what the slices use",
                 {},
                 {{"sort", "what to sort by: cpu, memory, io or name", "KEY", Kind::Key},
                  {"interval", "how long each measurement takes", "SECONDS"},
                  {"once", "measure and print once, as always without a terminal"},
                  {"json", "measure once and print JSON"}},
                 TopRun,
                 "The keys c, m, i and n sort by CPU, memory, I/O and name; q quits. The bars show the share "
                 "of the "
                 "whole machine, those of I/O the share of the largest."},
                {"slice kill",
                 "end everything in a slice",
                 {slice},
                 {},
                 KillRun,
                 "Stops its units, then sends SIGTERM to what is left, and at last SIGKILL.",
                 Tail::None,
                 For::Root},
                {"slice enter",
                 "run a command, or a shell, in a slice",
                 {slice},
                 {},
                 EnterRun,
                 "",
                 Tail::Optional,
                 For::Root},
            }};
}

} // namespace Veskctl
