// Many processes, and threads, that register and unregister at the same time.

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iostream>
#include <random>
#include <sstream>
#include <thread>
#include <unistd.h>

#include "children.hpp"
#include "error.hpp"
#include "file_calls.hpp"
#include "long_test.hpp"
#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::AnyOf;
using ::testing::Each;
using ::testing::Field;
using ::testing::StartsWith;

constexpr int kProcesses = 32;
constexpr const char* kOrder = "/tmp/order";
constexpr const char* kKept = "/kept";

std::string OwnVolume(int process)
{
    return "/volume" + std::to_string(process);
}

std::string Report(int process)
{
    return "/tmp/report-" + std::to_string(process);
}

// What a process says at its end.
struct Own {
    bool registered = false; // by its last successful call
    int registers = 0;
    int unregisters = 0;
};

Own ReadReport(int process)
{
    Own own;
    std::istringstream(ReadText(Report(process))) >> own.registered >> own.registers >> own.unregisters;
    return own;
}

void WriteReport(int process, const Own& own)
{
    WriteText(Report(process), std::to_string(static_cast<int>(own.registered)) + " " +
                                   std::to_string(own.registers) + " " + std::to_string(own.unregisters));
}

// Registers and unregisters a volume of its own by turns; a call that fails is made again.
Own ChangeOwnVolume(int process, const Deadline& deadline)
{
    Own own;
    while (!deadline.IsOver()) {
        const bool change = !own.registered;
        if (change ? VESKSystemdVolumeRegister("foo", OwnVolume(process))
                   : VESKSystemdVolumeUnregister("foo", OwnVolume(process))) {
            own.registered = change;
            ++(change ? own.registers : own.unregisters);
        }
    }
    return own;
}

int ChangeAndReport(int process, const Deadline& deadline)
{
    WriteReport(process, ChangeOwnVolume(process, deadline));
    return 0;
}

int AskForKeptVolume(const Deadline& deadline)
{
    while (!deadline.IsOver()) {
        if (!VESKSystemdVolumeIsRegisteredByUnit("foo", {"/none", kKept})) {
            return 2;
        }
    }
    return 0;
}

// Registers and unregisters volumes that all processes share, in the order of a die.
int ChangeSharedVolumes(int process, const Deadline& deadline)
{
    Own own;
    std::mt19937 random(static_cast<unsigned>(process));
    FileCalls calls;
    bool registers = false;
    std::string volume;
    // The lock is held here, so the notes are in the order of the changes.
    calls.Before([&](const std::string& call) {
        if (call.rfind("rename", 0) == 0) {
            const std::string note = std::to_string(process) + (registers ? " + " : " - ") + volume + "\n";
            const int notes =
                VeskGround::Require(open(kOrder, O_WRONLY | O_APPEND | O_CLOEXEC), "open", kOrder);
            VeskGround::Require(write(notes, note.data(), note.size()), "write", kOrder);
            close(notes);
        }
    });
    while (!deadline.IsOver()) {
        registers = random() % 2 == 0;
        volume = OwnVolume(static_cast<int>(random() % 6));
        if (registers ? VESKSystemdVolumeRegister("foo", volume)
                      : VESKSystemdVolumeUnregister("foo", volume)) {
            ++(registers ? own.registers : own.unregisters);
        }
        calls.Take();
    }
    WriteReport(process, own);
    return 0;
}

// What the notes make of an empty file, and how many there are of each process and kind.
struct Replay {
    Words volumes;
    std::vector<Own> written = std::vector<Own>(kProcesses);
};

Replay ReplayOrder()
{
    Replay replay;
    std::ifstream notes(kOrder);
    int process = 0;
    char kind = 0;
    for (std::string volume; notes >> process >> kind >> volume;) {
        Own& own = replay.written.at(static_cast<std::size_t>(process));
        const auto place = std::find(replay.volumes.begin(), replay.volumes.end(), volume);
        if (kind == '+') {
            EXPECT_EQ(place, replay.volumes.end()) << volume << " was there already";
            replay.volumes.push_back(volume);
            ++own.registers;
        } else {
            replay.volumes.erase(place, place == replay.volumes.end() ? place : place + 1);
            ++own.unregisters;
        }
    }
    return replay;
}

class RegistryContention : public RegistryGround
{
protected:
    // No call failed but for the lock.
    void ExpectOnlyLockFailures()
    {
        EXPECT_THAT(
            log.Take(),
            Each(AnyOf(NotAvailable(),
                       ::testing::AllOf(Field(&SyslogLine::file, "lock.cpp"),
                                        Field(&SyslogLine::message,
                                              StartsWith(std::string("vesksystemd: failed to get lock [") +
                                                         kLock + "] [0x0C00 "))))));
    }

    // Runs until the deadline, and a little while to end.
    static std::vector<Ending> RunAll(int count, const std::function<int(int)>& function)
    {
        return RunAtOnce(count, function, Deadline::Length() + std::chrono::seconds(30));
    }

    // The file holds the kept volume and those that were registered last.
    void ExpectWhatTheySay(const std::vector<Own>& owns) const
    {
        Words expected = {kKept};
        Words found = {kKept};
        int changes = 0;
        for (std::size_t number = 0; number < owns.size(); ++number) {
            const std::string volume = OwnVolume(static_cast<int>(number));
            changes += owns[number].registers + owns[number].unregisters;
            if (owns[number].registered) {
                expected.push_back(volume);
            }
            if (VESKSystemdVolumeIsRegisteredByUnit("foo", {volume})) {
                found.push_back(volume);
            }
        }
        EXPECT_EQ(found, expected);
        EXPECT_EQ(ReadText(file).size(), Volumes(expected).size()) << "each once, and nothing else";
        EXPECT_THAT(ListFolder(kUnitFolder), ::testing::ElementsAre("foo.service"));
        EXPECT_GT(changes, 10);
        std::cout << changes << " successful changes\n";
    }

    const std::string file = UnitFile("foo.service");
};

TEST_F(RegistryContention, OfThirtyTwoProcessesLeavesWhatTheirLastSuccessfulCallsSay)
{
    ASSERT_TRUE(VESKSystemdVolumeRegister("foo", kKept));
    const Deadline deadline;
    const std::vector<Ending> endings = RunAll(kProcesses + 2, [&](int process) {
        return process < kProcesses ? ChangeAndReport(process, deadline) : AskForKeptVolume(deadline);
    });
    EXPECT_THAT(endings, Each(Exited(0)));
    std::vector<Own> reports;
    for (int process = 0; process < kProcesses; ++process) {
        reports.push_back(ReadReport(process));
    }
    ExpectWhatTheySay(reports);
    ExpectOnlyLockFailures();
}

TEST_F(RegistryContention, OfThreadsOfOneProcessLeavesWhatTheirLastSuccessfulCallsSay)
{
    // The C library sets a signal's handler with the first thread.
    std::thread([] {}).join();
    before = Holdings::Now();
    ASSERT_TRUE(VESKSystemdVolumeRegister("foo", kKept));
    const Deadline deadline;
    std::vector<Own> owns(4);
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < owns.size(); ++number) {
        threads.emplace_back(
            [&, number] { owns[number] = ChangeOwnVolume(static_cast<int>(number), deadline); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ExpectWhatTheySay(owns);
    ExpectOnlyLockFailures();
}

TEST_F(RegistryContention, OfThirtyTwoProcessesOverTheSameVolumesIsASequence)
{
    WriteText(kOrder, "");
    MakeFolder(kUnitFolder);
    const Deadline deadline;
    EXPECT_THAT(RunAll(kProcesses, [&](int process) { return ChangeSharedVolumes(process, deadline); }),
                Each(Exited(0)));
    const Replay replay = ReplayOrder();
    EXPECT_EQ(ReadText(file), Volumes(replay.volumes));
    int changes = 0;
    for (int process = 0; process < kProcesses; ++process) {
        const Own own = ReadReport(process);
        const Own& written = replay.written[static_cast<std::size_t>(process)];
        EXPECT_EQ(own.unregisters, written.unregisters) << "each unregistration writes";
        EXPECT_GE(own.registers, written.registers) << "a registration writes what is not there";
        changes += written.registers + written.unregisters;
    }
    EXPECT_GT(changes, 10);
    ExpectOnlyLockFailures();
    std::cout << changes << " changes in order\n";
}

} // namespace
} // namespace VeskTest
