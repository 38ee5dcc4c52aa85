#include "swept_operations.hpp"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <memory>
#include <ostream>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "../hostile/named_operations.hpp"
#include "c_list.hpp"
#include "checks.hpp"
#include "error.hpp"
#include "files.hpp"
#include "paths.hpp"
#include "unit_files.hpp"
#include "words.hpp"

namespace VeskTest
{

namespace
{

using namespace VESK::Systemd;

constexpr const char* kDone = "done";
constexpr uid_t kUser = 1001;

std::string Told(bool success, const std::string& what = kDone)
{
    return success ? what : "";
}

// A list with its brackets, so that an empty one is not a failure.
std::string Told(bool success, const Words& words)
{
    return Told(success, "[" + Joined(words, ", ") + "]");
}

// The words in an order of their own.
std::string ToldSorted(bool success, Words words)
{
    std::sort(words.begin(), words.end());
    return Told(success, words);
}

std::string PlainName(Names names)
{
    return names == Names::Volume || names == Names::QueriedVolume ? "/plain" : "plain";
}

// Their steps may fail one by one; what they tell is whether the last or the whole worked.
bool PassesOverSteps(const NamedOperation& operation)
{
    static const Words families{
        "Uninstall", "Unmount", "Isolate", "KillSlice", "ByReason", "ReasonRemove", "SetEnableStatusChanged"};
    return std::any_of(families.begin(), families.end(), [&](const std::string& family) {
        return operation.symbol.find(family) != std::string::npos;
    });
}

SweptOperation Swept(const NamedOperation& operation)
{
    const std::string name = PlainName(operation.names);
    // A service of which it is not known counts as one that has reasons.
    const bool isHasReason = operation.symbol.find("CheckServiceHasReason") != std::string::npos;
    return {operation.symbol, [operation, name] { return Told(operation.call(name)); }, [] {},
            PassesOverSteps(operation), isHasReason ? kDone : ""};
}

using Rows = std::vector<SweptOperation>;

void AddLists(Rows& rows)
{
    const auto reasons = [] {
        WriteText(ReasonsOf("plain.service") + "/a", "");
        WriteText(ReasonsOf("plain.service") + "/b", "");
        WriteText(ReasonsOf("owner.service") + "/c", "");
    };
    rows.push_back({"VESK::Systemd::ListServicesWithReason(std::vector<std::string>&)",
                    [] {
                        Words services;
                        return ToldSorted(ListServicesWithReason(services), services);
                    },
                    reasons});
    rows.push_back({"VESKSystemdServiceReasonList(std::string const&, std::vector<std::string>&)",
                    [] {
                        Words list;
                        return ToldSorted(VESKSystemdServiceReasonList("plain", list), list);
                    },
                    reasons});
    rows.push_back({"VESKCSystemdServiceReasonList",
                    [] {
                        CList list;
                        const bool success = VESKCSystemdServiceReasonList("plain", list.Address()) == 1;
                        return success ? ToldSorted(true, list.Items()) : "";
                    },
                    reasons});
    rows.push_back({"VESKSystemdListUnits(std::vector<std::string>&, std::string const&)", [] {
                        Words units;
                        return Told(VESKSystemdListUnits(units, ""), units);
                    }});
    rows.push_back({"VESKSystemdServiceList(std::vector<std::string>&)", [] {
                        Words services;
                        return Told(VESKSystemdServiceList(services), services);
                    }});
    rows.push_back({"VESKCSystemdServiceList", [] {
                        CList services;
                        const bool success = VESKCSystemdServiceList(services.Address()) == 1;
                        return success ? Told(true, services.Items()) : "";
                    }});
    rows.push_back({"VESKSystemdSliceList(std::vector<std::string>&)", [] {
                        Words slices;
                        return ToldSorted(VESKSystemdSliceList(slices), slices);
                    }});
    rows.push_back({"VESKCSystemdSliceList", [] {
                        CList services;
                        const bool success = VESKCSystemdSliceList(services.Address()) == 1;
                        return success ? Told(true, services.Items()) : "";
                    }});
    rows.push_back({"VESKSystemdIntJobList(std::map<unsigned int, VESK::Systemd::JobInfo>&)", [] {
                        std::map<unsigned int, JobInfo> jobs;
                        const bool success = VESKSystemdIntJobList(jobs);
                        std::string text = "jobs:";
                        for (const auto& entry : jobs) {
                            text += " " + entry.second.ToString();
                        }
                        return Told(success, text);
                    }});
    rows.push_back({"VESKSystemdIntJobGet(std::string const&, VESK::Systemd::JobInfo&)", [] {
                        JobInfo job;
                        const bool success = VESKSystemdIntJobGet("plain", job);
                        return success ? Told(true, job.ToString()) : "";
                    }});
}

void AddValues(Rows& rows)
{
    const std::string list = "(std::string const&, std::vector<std::string>&)";
    using List = bool(const std::string&, Words&);
    const std::map<std::string, List*> keys{
        {"VESKSystemdFirewallSectionsGet", VESKSystemdFirewallSectionsGet},
        {"VESKSystemdBelongsToGet", VESKSystemdBelongsToGet},
        {"VESKSystemdPackedInGet", VESKSystemdPackedInGet},
        {"VESKSystemdTargetCarriesGet", VESKSystemdTargetCarriesGet}};
    for (const auto& entry : keys) {
        rows.push_back({entry.first + list,
                        [get = entry.second] {
                            Words words;
                            return Told(get("plain", words), words);
                        },
                        [] {}, false, "[]"});
    }
    const std::string text = "(std::string const&, std::string&)";
    using Text = bool(const std::string&, std::string&);
    const std::map<std::string, Text*> texts{{"VESKSystemdNameGet", VESKSystemdNameGet},
                                             {"VESKSystemdNameI18nGet", VESKSystemdNameI18nGet}};
    for (const auto& entry : texts) {
        rows.push_back({entry.first + text, [get = entry.second] {
                            std::string value;
                            return Told(get("plain", value), "<" + value + ">");
                        }});
    }
    rows.push_back({"VESKSystemdShow(std::string const&, std::string const&, std::string&)", [] {
                        std::string value;
                        return Told(VESKSystemdShow("plain", "ActiveState", value), "<" + value + ">");
                    }});
    const std::string state = "(std::string const&)";
    rows.push_back({"VESKSystemdActiveStatusGet" + state, [] {
                        const int status = VESKSystemdActiveStatusGet("plain");
                        return Told(status != -1, std::to_string(status));
                    }});
    rows.push_back({"VESKSystemdEnableStatusGet" + state, [] {
                        const int status = VESKSystemdEnableStatusGet("plain");
                        return Told(status != -1, std::to_string(status));
                    }});
    const auto target = [] {
        std::string value;
        return Told(VESKSystemdDefaultTargetGet(value), "<" + value + ">");
    };
    rows.push_back({"VESKSystemdDefaultTargetGet(std::string&)", target});
    rows.push_back({"VESKCSystemdDefaultTargetGet", [] {
                        char value[256] = "";
                        return Told(VESKCSystemdDefaultTargetGet(value, sizeof value) == 1, value);
                    }});
    rows.push_back({"VESKSystemdCgroupMonitorSliceGet(std::string&)", [] {
                        std::string value;
                        return Told(VESKSystemdCgroupMonitorSliceGet(value), "<" + value + ">");
                    }});
    rows.push_back({"VESKCSystemdCgroupMonitorSliceGet", [] {
                        char value[256] = "";
                        return Told(VESKCSystemdCgroupMonitorSliceGet(value, sizeof value) == 1, value);
                    }});
    rows.push_back({"VESKSystemdGetByPid(int, std::string&)", [] {
                        std::string value;
                        return Told(VESKSystemdGetByPid(getpid(), value), "<" + value + ">");
                    }});
}

void AddRegistry(Rows& rows)
{
    // Two volumes, of which one goes or is looked for.
    const auto prepare = [] {
        WriteText(RegisterOf("plain.service"), "[\n\t\"/volume1\",\n\t\"/volume2\"\n]\n");
        WriteText(PackageRegisterFolder("plain") + "/reg_volume", "[\n\t\"/volume1\",\n\t\"/volume2\"\n]\n");
    };
    const std::string change = "(std::string const&, std::string const&)";
    rows.push_back({"VESKSystemdVolumeRegister" + change,
                    [] { return Told(VESKSystemdVolumeRegister("plain", "/volume3")); }, prepare});
    rows.push_back({"VESKSystemdVolumeUnregister" + change,
                    [] { return Told(VESKSystemdVolumeUnregister("plain", "/volume1")); }, prepare});
    rows.push_back({"VESKSystemdPackageVolumeRegister" + change,
                    [] { return Told(VESKSystemdPackageVolumeRegister("plain", "/volume3")); }, prepare});
    rows.push_back({"VESKSystemdPackageVolumeUnregister" + change,
                    [] { return Told(VESKSystemdPackageVolumeUnregister("plain", "/volume1")); }, prepare});
    const std::string query = "(std::string const&, std::vector<std::string> const&)";
    rows.push_back({"VESKSystemdVolumeIsRegisteredByUnit" + query,
                    [] { return Told(VESKSystemdVolumeIsRegisteredByUnit("plain", {"/volume2"})); },
                    prepare});
    rows.push_back({"VESKSystemdVolumeIsRegisteredByPackage" + query,
                    [] { return Told(VESKSystemdVolumeIsRegisteredByPackage("plain", {"/volume2"})); },
                    prepare});
}

void AddFiles(Rows& rows)
{
    rows.push_back(
        {"VESK::Systemd::AddUnitSection(std::string const&, std::string const&, std::string const&, "
         "std::map<std::string, std::string> const&)",
         [] {
             return Told(AddUnitSection("/run/systemd/system", "plain.service", "Unit",
                                        {{"After", "a.service"}, {"Wants", "b.service"}}));
         },
         [] {
             WriteUnitFile(UnitFolder::Run, "plain.service",
                           "[Unit]\nAfter=old.service\n[Service]\nType=simple\n");
         }});
    rows.back().mayLackKeys = true;
    rows.push_back(
        {"VESK::Systemd::LinkVeskReason(std::string const&, std::string const&)",
         [] { return Told(LinkVeskReason("/run/systemd/system/plain.service.d/", "/tmp/reason")); },
         [] { WriteText("/tmp/reason", "[Unit]\n"); }});
    const auto uninstall = [] {
        WriteUnitFile(UnitFolder::Run, "plain.service", "[Unit]\n");
        WriteDropIn(UnitFolder::Run, "plain.service", "a.conf", "[Unit]\n");
        WriteText(MarkOf("plain.service"), "");
        WriteText(ReasonsOf("plain.service") + "/a", "");
    };
    rows.push_back({"VESKSystemdUninstall(std::string const&)",
                    [] { return Told(VESKSystemdUninstall("removed")); }, uninstall, true});
}

void AddProcesses(Rows& rows)
{
    const std::string counters = "(int, unsigned long long&, unsigned long long&)";
    rows.push_back({"VESK::Systemd::Process::CPUTickGet" + counters, [] {
                        unsigned long long process = 0;
                        unsigned long long system = 0;
                        return Told(Process::CPUTickGet(getpid(), process, system));
                    }});
    rows.push_back({"VESK::Systemd::Process::IOGet" + counters, [] {
                        unsigned long long read = 0;
                        unsigned long long written = 0;
                        return Told(Process::IOGet(getpid(), read, written));
                    }});
    rows.push_back({"VESK::Systemd::Process::PssGet(int, unsigned long long&)", [] {
                        unsigned long long pss = 0;
                        return Told(Process::PssGet(getpid(), pss));
                    }});
    rows.push_back({"VESK::Systemd::Process::NameGet(int, std::string&)", [] {
                        std::string name;
                        return Told(Process::NameGet(getpid(), name), name);
                    }});
    rows.push_back({"VESK::Systemd::Process::Process(int)", [] {
                        const Process process(getpid());
                        return process.NameGet();
                    }});
    // A counter that cannot be read counts nothing.
    rows.push_back({"VESK::Systemd::Process::CPUTimeGet() const", [] {
                        const Process process(getpid());
                        return Told(process.CPUTimeGet() >= 0);
                    }});
    rows.push_back({"VESK::Systemd::Process::CPUUtilizationGet() const", [] {
                        const Process process(getpid());
                        return Told(process.CPUUtilizationGet() >= 0);
                    }});
    rows.push_back({"VESK::Systemd::Process::IOUtilizationGet() const", [] {
                        const Process process(getpid());
                        return Told(process.IOUtilizationGet().first >= 0);
                    }});
    rows.push_back({"VESK::Systemd::Process::MemoryPssGet() const", [] {
                        const Process process(getpid());
                        process.MemoryPssGet();
                        return std::string(kDone);
                    }});
}

void AddOwnRuns(Rows& rows)
{
    rows.push_back(
        {"VESK::Systemd::Executor::Execute(std::string const&, std::vector<std::string> const&)", [] {
             Executor executor;
             const auto code = executor.Execute("/usr/bin/systemctl", {"show", "--property", "Job"});
             // What cannot be read of the output is logged, and no failure of the program.
             return Told(code == 0);
         }});
    rows.push_back({"VESK::Systemd::Executor::ReadOutput(_IO_FILE*)", [] {
                        const std::unique_ptr<FILE, int (*)(FILE*)> stream(
                            std::fopen("/usr/lib/systemd/system/plain.service", "re"),
                            [](FILE* open) { return open != nullptr ? std::fclose(open) : 0; });
                        Executor executor;
                        // It tells of a stream that is there alone, not of one that cannot be read.
                        return Told(executor.ReadOutput(stream.get()));
                    }});
    rows.push_back({"VESK::Systemd::ForkAndRun(std::function<void ()>, unsigned long long)",
                    [] { return Told(ForkAndRun([] {}, 0)); }});
    rows.push_back({"VESK::Systemd::FileLock::Acquire()", [] {
                        FileLock lock("/run/vesksystemd/locks/own.lock", true, 1);
                        const bool success = lock.Acquire();
                        lock.Release();
                        return Told(success);
                    }});
    // What only lets go is called by those that hold, and has nothing to fail with.
    for (const char* symbol : {"VESK::Systemd::FileLock::Release()", "VESK::Systemd::FileLock::CloseFd()",
                               "VESK::Systemd::FileLock::~FileLock()"}) {
        rows.push_back({symbol, [] {
                            FileLock lock("/run/vesksystemd/locks/own.lock", true, 1);
                            const bool success = lock.Acquire();
                            FileLock copy = lock;
                            copy.Release();
                            lock.CloseFd();
                            return Told(success);
                        }});
    }
    for (const char* symbol :
         {"VESK::Systemd::StatusMonitor::Start()", "VESK::Systemd::StatusMonitor::~StatusMonitor()"}) {
        rows.push_back({symbol,
                        [] {
                            StatusMonitor monitor;
                            return Told(monitor.Start());
                        },
                        [] {}, true});
    }
    rows.push_back(
        {"VESKSystemdLogAction(int, bool, std::vector<std::string> const&, std::vector<std::string> const&)",
         [] {
             VESKSystemdLogAction(1, true, {"plain"}, {});
             return std::string(kDone);
         }});
    rows.push_back({"VESKSystemdDaemonReload()", [] { return Told(VESKSystemdDaemonReload()); }});
    rows.push_back({"VESKCSystemdDaemonReload", [] { return Told(VESKCSystemdDaemonReload() == 1); }});
    rows.push_back({"VESKSystemdRunAsSystemProcess()", [] { return Told(VESKSystemdRunAsSystemProcess()); }});
    rows.push_back(
        {"VESKCSystemdRunAsSystemProcess", [] { return Told(VESKCSystemdRunAsSystemProcess() == 1); }});
    rows.push_back({"VESKSystemdPutEnvByPAMSystemd()",
                    [] {
                        VeskGround::Require(setresuid(kUser, kUser, kUser), "become", "another user");
                        VESKSystemdPutEnvByPAMSystemd();
                        return std::string(kDone);
                    },
                    [] {
                        AddUser("alice", kUser);
                        // The C library's own first look-up of a user does not survive without memory.
                        VeskGround::Require(getpwuid(kUser) != nullptr ? 0 : -1, "find", "alice");
                    }});
    // That of PAM asks for functions of modules that it could not load.
    rows.back().needsMemory = true;
    rows.push_back({"VESKSystemdIsolateToDefaultTarget()",
                    [] { return Told(VESKSystemdIsolateToDefaultTarget()); }, [] {}, true});
    rows.push_back({"VESKCSystemdIsolateToDefaultTarget",
                    [] { return Told(VESKCSystemdIsolateToDefaultTarget() == 1); }, [] {}, true});
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const SweptOperation& operation)
{
    return stream << operation.symbol;
}

const std::vector<SweptOperation>& SweptOperations()
{
    static const Rows operations = [] {
        Rows rows;
        AddLists(rows);
        AddValues(rows);
        AddRegistry(rows);
        AddFiles(rows);
        AddProcesses(rows);
        AddOwnRuns(rows);
        for (const NamedOperation& operation : NamedOperations()) {
            rows.push_back(Swept(operation));
        }
        return rows;
    }();
    return operations;
}

const std::set<std::string>& ComputingFunctions()
{
    static const std::set<std::string> functions{
        "VESK::Systemd::CommandOptions::CommandOptions()",
        "VESK::Systemd::CommandOptions::CommandOptions(VESK::Systemd::CommandOptions&&)",
        "VESK::Systemd::CommandOptions::GetImp() const",
        "VESK::Systemd::CommandOptions::SetNoReload()",
        "VESK::Systemd::CommandOptions::SetRunTime()",
        "VESK::Systemd::CommandOptions::operator=(VESK::Systemd::CommandOptions&&)",
        "VESK::Systemd::CommandOptions::~CommandOptions()",
        "VESK::Systemd::Executor::GetCommandLine[abi:cxx11]() const",
        "VESK::Systemd::Executor::GetOutput[abi:cxx11]() const",
        "VESK::Systemd::FailedUnitsCopy(std::vector<std::string> const&, std::vector<std::string>&)",
        "VESK::Systemd::FailedUnitsGet(std::vector<std::string> const&, std::vector<std::string> const&, "
        "std::vector<std::string>&)",
        "VESK::Systemd::FileLock::FileLock(std::string const&, bool, int)",
        "VESK::Systemd::FileLock::LogLockFailed(std::string)",
        "VESK::Systemd::FileLock::LogLockFailed(std::vector<std::string>)",
        "VESK::Systemd::FileLock::PathGet[abi:cxx11]()",
        "VESK::Systemd::FileLock::operator=(VESK::Systemd::FileLock const&)",
        "VESK::Systemd::GetEnableDisableOptions(VESK::Systemd::CommandOptions const&, "
        "std::vector<std::string>&)",
        "VESK::Systemd::JobInfo::ToString[abi:cxx11]() const",
        "VESK::Systemd::JobInfoParse(std::string const&, VESK::Systemd::JobInfo&)",
        "VESK::Systemd::JobStringMap::StateToString(VESK::Systemd::JobState, std::string&)",
        "VESK::Systemd::JobStringMap::StringToState(std::string const&, VESK::Systemd::JobState&)",
        "VESK::Systemd::JobStringMap::StringToType(std::string const&, VESK::Systemd::JobType&)",
        "VESK::Systemd::JobStringMap::TypeToString(VESK::Systemd::JobType, std::string&)",
        "VESK::Systemd::NormalizedUnitNameGet(std::string const&)",
        "VESK::Systemd::Process::NameGet[abi:cxx11]() const",
        "VESK::Systemd::Process::PidGet() const",
        "VESK::Systemd::Process::operator<(VESK::Systemd::Process const&) const",
        "VESK::Systemd::Slice::IconGet() const",
        "VESK::Systemd::Slice::NameGet[abi:cxx11]() const",
        "VESK::Systemd::Slice::NameI18nGet[abi:cxx11]() const",
        "VESK::Systemd::Slice::ProcessesGet() const",
        "VESK::Systemd::Slice::UnitNameGet[abi:cxx11]() const",
        "VESK::Systemd::Split(std::string const&, std::vector<std::string>&, std::string const&)",
        "VESK::Systemd::SystemOperationLock::SystemOperationLock()",
        "VESK::Systemd::SystemctlOptsBuilder::Build() const",
        "VESK::Systemd::SystemctlOptsBuilder::SetCalRunTime(bool)",
        "VESK::Systemd::SystemctlOptsBuilder::SetCmdOpts(std::vector<std::string> const*)",
        "VESK::Systemd::SystemctlOptsBuilder::SetForceSystem(bool)",
        "VESK::Systemd::UnitNameWithoutFileExtensionGet(std::string const&)",
        "VESK::Systemd::UnitTypeGet(std::string const&)",
    };
    return functions;
}

} // namespace VeskTest
