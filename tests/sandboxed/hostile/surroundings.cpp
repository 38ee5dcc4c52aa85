#include "surroundings.hpp"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <ostream>
#include <sys/mman.h>
#include <thread>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "holdings.hpp"
#include "process_list.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kFamilies[] = {"VESKCSystemdStart",
                                     "VESKCSystemdStopGroup",
                                     "VESKCSystemdTryRestart",
                                     "VESKCSystemdEnable",
                                     "VESKCSystemdMask",
                                     "VESKCSystemdUninstall",
                                     "VESKCSystemdActiveStatusGet",
                                     "VESKCSystemdEnableStatusGet",
                                     "VESKCSystemdIsJobEnqueued",
                                     "VESKSystemdIntJobGet",
                                     "VESKSystemdShow",
                                     "VESKSystemdSystemctl",
                                     "VESKCSystemdServiceStopByReason",
                                     "VESKCSystemdServiceStartByReason",
                                     "VESK::Systemd::UnlinkReasons",
                                     "VESKCSystemdServiceReasonList",
                                     "VESK::Systemd::SetEnableStatusChanged",
                                     "VESKCSystemdVolumeRegister",
                                     "VESKCSystemdVolumeUnregister",
                                     "VESKCSystemdPackageVolumeRegister",
                                     "VESKSystemdVolumeIsRegisteredByUnit",
                                     "VESKCSystemdVolumeUnmountAction",
                                     "VESKCSystemdServiceListByMntPath",
                                     "VESKSystemdIsolateTarget",
                                     "VESKCSystemdDefaultTargetSet",
                                     "VESKCSystemdNameGet",
                                     "VESKCSystemdFirewallSectionsGet",
                                     "VESK::Systemd::Slice::Slice",
                                     "VESKCSystemdCgroupMonitorSliceMove",
                                     "VESKSystemdKillSlice",
                                     "VESKSystemdCgroupPathnameGet"};

// What the child tells, however little it may do by then.
struct Report {
    bool success = false;
    int error = 0;
};

class SharedReport
{
public:
    SharedReport()
        : m_report(static_cast<Report*>(
              mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
        *m_report = {};
    }
    ~SharedReport() { munmap(m_report, sizeof(Report)); }
    SharedReport(const SharedReport&) = delete;
    SharedReport& operator=(const SharedReport&) = delete;

    Report* operator->() const { return m_report; }

private:
    Report* m_report;
};

// Some throw when they cannot be carried out.
bool Succeeds(const NamedOperation& operation)
{
    try {
        return operation.call("plain");
    } catch (const std::exception&) {
        return false;
    }
}

// What is in a file of processes is the number of a child, another one each time.
Tree WithoutProcesses(Tree changes)
{
    for (auto& [path, shown] : changes) {
        shown = path.rfind("/sys/fs/cgroup/", 0) == 0 ? "" : shown;
    }
    return changes;
}

// 1 when the operation has left something in its process.
int CallWithin(const NamedOperation& operation, const Surroundings& surroundings, const SharedReport& report)
{
    // The first thread makes the C library set a handler for a signal of its own.
    std::thread([] {}).join();
    const Holdings before = Holdings::Now();
    VLIBCErrSetEx(0, "", 0);
    surroundings.within([&] {
        report->success = Succeeds(operation);
        report->error = VLIBCErrGet();
    });
    return Eventually([&] { return Holdings::Now() == before; }, std::chrono::seconds(5)) ? 0 : 1;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Surroundings& surroundings)
{
    return stream << surroundings.name;
}

const NamedOperation& OperationOf(const std::string& function)
{
    const auto& all = NamedOperations();
    return *std::find_if(all.begin(), all.end(), [&](const NamedOperation& operation) {
        return operation.symbol.substr(0, operation.symbol.find('(')) == function;
    });
}

const std::vector<NamedOperation>& FamilyOperations()
{
    static const std::vector<NamedOperation> operations = [] {
        std::vector<NamedOperation> families;
        for (const char* function : kFamilies) {
            families.push_back(OperationOf(function));
        }
        return families;
    }();
    return operations;
}

Outcome RunWithin(HostileGround& ground, const NamedOperation& operation, const Surroundings& surroundings)
{
    const std::vector<pid_t> others = OtherProcessesOfThisProgram();
    ground.Reset("plain");
    surroundings.before();
    const Tree before = TreeNow();
    const SharedReport report;
    EXPECT_EQ(RunInChild([&] { return CallWithin(operation, surroundings, report); }), Exited(0));
    EXPECT_TRUE(Eventually([&] { return OtherProcessesOfThisProgram() == others; }));
    Outcome outcome{report->success, report->error, ground.Calls(),
                    WithoutProcesses(ChangesBetween(before, TreeNow()))};
    surroundings.after();
    return outcome;
}

void ExpectOutcome(const Outcome& outcome, const Outcome& undisturbed, bool mayFail)
{
    if (!mayFail || outcome.success) {
        EXPECT_EQ(outcome.success, undisturbed.success);
        EXPECT_EQ(outcome.calls, undisturbed.calls);
    }
    if (!mayFail) {
        EXPECT_EQ(outcome.changes, undisturbed.changes);
        return;
    }
    for (const Words& call : outcome.calls) {
        EXPECT_THAT(undisturbed.calls, ::testing::Contains(call));
    }
    for (const auto& change : outcome.changes) {
        EXPECT_THAT(undisturbed.changes, ::testing::Contains(change));
    }
}

} // namespace VeskTest
