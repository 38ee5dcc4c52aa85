// Every call of an operation that can fail, failing: the first, the second and so on, each alone and with all that
// follow, until the operation passes. Without VESK_TEST_FAULTS each operation has a part of them.
#include <algorithm>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <new>
#include <set>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "../hostile/hostile_ground.hpp"
#include "error.hpp"
#include "faulty_run.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "holdings.hpp"
#include "paths.hpp"
#include "platform_spy.hpp"
#include "process_list.hpp"
#include "swept_operations.hpp"

namespace VeskTest
{
namespace
{

constexpr Fault kNoFault{Calls::Memory, 0, false};

// What the process with the faults tells, in memory that it shares.
struct Report {
    pid_t pid;
    char came[512];  // what the operation came to, empty when it failed
    char left[2048]; // what it left behind
};

void Tell(char* place, std::size_t size, const std::string& text)
{
    std::snprintf(place, size, "%s", text.c_str());
}

Report& SharedReport()
{
    static void* const place =
        mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) {
        VeskGround::ThrowErrno("map", "a report");
    }
    return *static_cast<Report*>(place);
}

std::string CallFaulty(const SweptOperation& operation)
{
    std::string came;
    FaultsBegin();
    try {
        came = operation.call();
    } catch (const std::exception&) {
        came.clear();
    }
    FaultsEnd();
    return came;
}

std::string Differences(const Holdings& before)
{
    Holdings after;
    const auto isSame = [&] {
        // Somebody else was said to have waited for them.
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        after = Holdings::Now();
        return after == before;
    };
    if (Eventually(isSame)) {
        return "";
    }
    std::ostringstream text;
    text << "before:\n" << before << "after:\n" << after;
    return text.str();
}

void CallAndTell(const SweptOperation& operation)
{
    Report& report = SharedReport();
    report.pid = getpid();
    const Holdings before = Holdings::Now();
    const std::string came = CallFaulty(operation);
    Tell(report.came, sizeof report.came, came);
    Tell(report.left, sizeof report.left, Differences(before));
}

bool Begins(const std::string& text, const std::string& beginning)
{
    return text.rfind(beginning, 0) == 0;
}

bool IsLock(const std::string& path)
{
    return Begins(path, kLockFolder) || path == kExitLock || path == kRunFolder;
}

// Files of the kernel's, which take what is written at once, and keep none of it.
bool IsKernels(const std::string& path)
{
    return Begins(path, "/sys/");
}

// What is written of a process is not the same for each.
std::string WithoutPid(std::string text, pid_t pid)
{
    const std::string number = std::to_string(pid);
    const std::size_t place = text.rfind(number);
    return place == std::string::npos ? text : text.replace(place, number.size(), "PID");
}

// Whoever cannot see the queue goes on as if nothing were queued.
std::vector<std::string> WithoutLooks(std::vector<std::string> calls)
{
    const auto isLook = [](const std::string& call) { return Begins(call, "list-jobs"); };
    calls.erase(std::remove_if(calls.begin(), calls.end(), isLook), calls.end());
    return calls;
}

struct Trial {
    FaultyRun run;
    std::string came;
    std::string left;
    Tree changes;
    std::vector<std::string> calls;
};

constexpr std::size_t kParts = 6;
constexpr int kStride = 5;

// Each operation has its part of the kinds, so that together they have them all.
bool IsInPart(Calls calls, const std::string& symbol)
{
    return HasAllFaults() ||
           (static_cast<std::size_t>(calls) + std::hash<std::string>()(symbol)) % kParts == 0;
}

class FaultSweep : public ::testing::TestWithParam<SweptOperation>
{
protected:
    FaultSweep()
    {
        m_spy.StopTheClock();
        m_ground.Systemctl().OnLeading({"list-unit-files"}).Stdout("a.service enabled\nb.service static\n");
        m_ground.Systemctl().OnLeading({"get-default"}).Stdout("multi-user.target\n");
    }

    Trial Try(const Fault& fault)
    {
        m_ground.Reset("plain");
        GetParam().prepare();
        std::memset(&SharedReport(), 0, sizeof(Report));
        const Tree before = TreeNow();
        Trial trial;
        trial.run = RunWithFault(fault, [] { CallAndTell(GetParam()); });
        EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); }));
        trial.came = SharedReport().came;
        trial.left = SharedReport().left;
        for (const auto& [path, shown] : ChangesBetween(before, TreeNow())) {
            trial.changes[path] = IsKernels(path) ? WithoutPid(shown, SharedReport().pid) : shown;
        }
        trial.calls = m_ground.Systemctl().Arguments();
        return trial;
    }

    // That of an isolation stays when it cannot be removed.
    static bool IsFlagThatStays(const std::string& path, Calls calls)
    {
        return path == kFlag && calls == Calls::Unlink;
    }

    static bool MayLackKeys(Calls calls) { return GetParam().mayLackKeys && calls == Calls::Memory; }

    // The old state or the new one, in each file, and nothing beside.
    void ExpectOldOrNew(const Trial& trial, Calls calls, bool isDone)
    {
        for (const auto& [path, shown] : trial.changes) {
            const auto expected = m_right.changes.find(path);
            const bool isNew = expected != m_right.changes.end() && expected->second == shown;
            EXPECT_TRUE(isNew || IsLock(path) || (IsKernels(path) && !isDone) ||
                        IsFlagThatStays(path, calls) || MayLackKeys(calls))
                << path << " became: " << shown;
        }
        if (isDone && !GetParam().passesOverSteps) {
            for (const auto& [path, shown] : m_right.changes) {
                const bool isPassedOver = IsLock(path) || Begins(path, kMarks) || path == kStateFolder;
                EXPECT_TRUE(isPassedOver || trial.changes.count(path) != 0)
                    << path << " did not become " << shown;
            }
        }
    }

    void Expect(const Trial& trial, Calls calls)
    {
        EXPECT_EQ(trial.run.ending, Exited(0));
        EXPECT_EQ(trial.left, "");
        EXPECT_TRUE(trial.came.empty() || trial.came == m_right.came || trial.came == GetParam().unread)
            << "it came to " << trial.came << ", not to " << m_right.came;
        const bool isDone = !trial.came.empty();
        ExpectOldOrNew(trial, calls, isDone);
        if (isDone && !GetParam().passesOverSteps) {
            EXPECT_EQ(WithoutLooks(trial.calls), WithoutLooks(m_right.calls));
        }
        for (const char* lock : {kOperationLock, kActionLock, kIsolateLock, kRegisterLock, kExitLock}) {
            EXPECT_TRUE(Eventually([&] { return IsLockFree(lock); })) << lock;
        }
    }

    void Sweep(Calls calls, bool onwards)
    {
        bool struck = true;
        for (int number = 1; struck && !HasFailure(); number += HasAllFaults() ? 1 : kStride) {
            SCOPED_TRACE(NameOf(calls) + " " + std::to_string(number) +
                         (onwards ? " and all that follow" : ""));
            const Trial trial = Try({calls, number, onwards});
            struck = trial.run.struck;
            m_faults += struck ? 1 : 0;
            Expect(trial, calls);
        }
    }

    HostileGround m_ground;
    PlatformSpy m_spy;
    Trial m_right;
    int m_faults = 0;
};

TEST_P(FaultSweep, EndsInFailureOrInTheRightOutcomeWhateverCallFails)
{
    m_right = Try(kNoFault);
    ASSERT_EQ(m_right.run.ending, Exited(0));
    ASSERT_EQ(m_right.left, "");
    for (const Calls calls : AllCalls()) {
        const bool isSpared = GetParam().needsMemory && (calls == Calls::Memory || calls == Calls::Map);
        if (!isSpared && IsInPart(calls, GetParam().symbol)) {
            Sweep(calls, false);
            Sweep(calls, true);
        }
    }
    std::cout << GetParam().symbol << ": " << m_faults << " faults\n";
    EXPECT_TRUE(m_faults > 0 || !HasAllFaults());
}

TEST(SweptOperations, AreAllExportedFunctionsButThoseThatOnlyCompute)
{
    std::set<std::string> known = ComputingFunctions();
    for (const SweptOperation& operation : SweptOperations()) {
        EXPECT_EQ(ComputingFunctions().count(operation.symbol), 0U) << operation.symbol;
        known.insert(operation.symbol);
    }
    std::set<std::string> exported;
    std::istringstream symbols(ReadText(VESK_EXPORTED_SYMBOLS));
    for (std::string symbol; std::getline(symbols, symbol);) {
        exported.insert(symbol);
    }
    EXPECT_EQ(known, exported);
}

std::string TestName(const ::testing::TestParamInfo<SweptOperation>& info)
{
    std::string name = info.param.symbol.substr(0, info.param.symbol.find('('));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return name + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(Every, FaultSweep, ::testing::ValuesIn(SweptOperations()), TestName);

} // namespace
} // namespace VeskTest
