// Many processes and threads that mix all operations for as long as VESK_TEST_SECONDS says: nothing is lost, nothing
// hangs, and nothing grows.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <gmock/gmock.h>
#include <malloc.h>
#include <random>
#include <set>
#include <thread>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "descriptors.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "forking_threads.hpp"
#include "paths.hpp"
#include "process_list.hpp"
#include "surroundings.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr int kProcesses = 64;
constexpr int kThreads = 16;
constexpr int kServices = 4;
constexpr int kVolumes = 3;
constexpr std::chrono::seconds kPatience(150);
constexpr const char* kShared = "shared";

std::chrono::seconds Length()
{
    const char* text = std::getenv("VESK_TEST_SECONDS");
    return std::chrono::seconds(text != nullptr ? std::atoi(text) : 2);
}

std::string Own(int number)
{
    return "p" + std::to_string(number);
}

std::string Volume(int number, int index)
{
    return "/volume-" + std::to_string(number) + "-" + std::to_string(index);
}

std::string Service(int index)
{
    return "service" + std::to_string(index);
}

// What forks the calling program, and what one at a time can do: in one call of many.
bool IsSeldom(const NamedOperation& operation)
{
    return operation.names == Names::Target || operation.names == Names::MountPath;
}

// Whose result depends on what the same caller has done before.
bool Varies(const NamedOperation& operation)
{
    return operation.names == Names::Queried || OperationName(operation) == "VESKCSystemdServiceReasonList";
}

// One of those that mix the operations: what it has registered and recorded must be there at any time, whatever
// the others do with what theirs is.
class Mixer
{
public:
    Mixer(int number, const std::string& registered, const std::vector<bool>& expected)
        : m_number(number)
        , m_registered(registered)
        , m_expected(expected)
        , m_random(static_cast<unsigned>(number) + 1)
    {
    }

    void LeaveSeldomOut() { m_seldom = false; }

    // Where the first thing that was wrong is told; empty for nothing.
    std::string Run(Clock::time_point end)
    {
        while (Clock::now() < end && m_wrong.empty()) {
            Step();
            ++m_steps;
        }
        return m_wrong;
    }

    int Steps() const { return m_steps; }

    // What it leaves behind.
    std::set<std::string> Volumes() const { return m_volumes; }
    std::set<int> Held() const { return m_held; }

private:
    int Draw(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }

    void Check(bool holds, const std::string& what)
    {
        if (!holds && m_wrong.empty()) {
            m_wrong = Own(m_number) + ": " + what + ", error " + std::to_string(VLIBCErrGet());
        }
    }

    void Step()
    {
        switch (Draw(4)) {
        case 0:
            return ChangeVolume(Volume(m_number, Draw(kVolumes)));
        case 1:
            return ChangeReason(Draw(kServices));
        default:
            return CallFamily(static_cast<std::size_t>(Draw(static_cast<int>(m_expected.size()))));
        }
    }

    // Another change at the same time makes one fail at once.
    bool Repeated(const std::function<bool()>& change)
    {
        const Clock::time_point end = Clock::now() + kPatience;
        while (!change()) {
            if (Clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(Draw(10)));
        }
        return true;
    }

    void ChangeVolume(const std::string& volume)
    {
        if (m_volumes.count(volume) == 0) {
            Check(Repeated([&] { return VESKSystemdVolumeRegister(m_registered, volume); }), "register");
            m_volumes.insert(volume);
        } else {
            Check(Repeated([&] { return VESKSystemdVolumeUnregister(m_registered, volume); }), "unregister");
            m_volumes.erase(volume);
        }
        Check(VESKSystemdVolumeIsRegisteredByUnit(m_registered, {volume}) == (m_volumes.count(volume) != 0),
              "registry of " + volume);
    }

    void ChangeReason(int index)
    {
        const std::string service = Service(index);
        if (m_held.insert(index).second) {
            Check(VESKSystemdServiceStopByReason(Own(m_number), service), "stop by reason");
        } else {
            m_held.erase(index);
            Check(VESKSystemdServiceStartByReason(Own(m_number), service), "start by reason");
        }
        Words reasons;
        Check(VESKSystemdServiceReasonList(service, reasons), "list reasons");
        const bool isListed = std::find(reasons.begin(), reasons.end(), Own(m_number)) != reasons.end();
        Check(isListed == (m_held.count(index) != 0), "reason of " + service);
    }

    void CallFamily(std::size_t index)
    {
        const NamedOperation& operation = FamilyOperations()[index];
        if (IsSeldom(operation) && (!m_seldom || Draw(20) != 0)) {
            return;
        }
        const auto call = [&] { return operation.call(Own(m_number)) == m_expected[index]; };
        if (operation.names == Names::RegisteredUnit || operation.names == Names::Package) {
            Check(Repeated(call), operation.symbol);
        } else {
            Check(call() || Varies(operation), operation.symbol);
        }
    }

    int m_number;
    std::string m_registered;
    const std::vector<bool>& m_expected;
    std::minstd_rand m_random;
    bool m_seldom = true;
    int m_steps = 0;
    std::string m_wrong;
    std::set<std::string> m_volumes;
    std::set<int> m_held;
};

class Soak : public ::testing::Test
{
protected:
    Soak()
    {
        m_ground.Reset(Own(0));
        for (int number = 0; number < kProcesses; ++number) {
            m_ground.MakeOwner(Own(number));
        }
        for (const NamedOperation& operation : FamilyOperations()) {
            m_expected.push_back(operation.call(Own(0)));
        }
        RemoveAll(kRunFolder);
        RemoveAll(kRegister);
    }

    // What systemctl records of its calls would fill the memory.
    void ForgetCallsUntil(const std::atomic<bool>& isOver)
    {
        while (!isOver) {
            m_ground.ForgetCalls();
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }

    HostileGround m_ground;
    std::vector<bool> m_expected;
};

// What a process leaves, told in a file.
void Tell(const std::string& path, const Mixer& mixer)
{
    std::string text;
    for (const std::string& volume : mixer.Volumes()) {
        text += "volume " + volume + "\n";
    }
    for (const int index : mixer.Held()) {
        text += "held " + Service(index) + "\n";
    }
    WriteText(path, text + "steps " + std::to_string(mixer.Steps()) + "\n");
}

struct Left {
    std::set<std::string> volumes;
    std::map<std::string, std::set<std::string>> reasons;
    int steps = 0;
};

void AddTold(const std::string& text, const std::string& reason, Left& left)
{
    std::istringstream lines(text);
    for (std::string kind, name; lines >> kind >> name;) {
        if (kind == "volume") {
            left.volumes.insert(name);
        } else if (kind == "held") {
            left.reasons[name].insert(reason);
        } else {
            left.steps += std::stoi(name);
        }
    }
}

void ExpectNothingLost(const Left& left)
{
    Words all;
    for (int number = 0; number < kProcesses; ++number) {
        for (int index = 0; index < kVolumes; ++index) {
            all.push_back(Volume(number, index));
        }
    }
    for (const std::string& volume : all) {
        EXPECT_EQ(VESKSystemdVolumeIsRegisteredByUnit(kShared, {volume}), left.volumes.count(volume) != 0)
            << volume;
    }
    for (int index = 0; index < kServices; ++index) {
        Words reasons;
        VESKSystemdServiceReasonList(Service(index), reasons);
        const auto expected = left.reasons.find(Service(index));
        EXPECT_EQ(std::set<std::string>(reasons.begin(), reasons.end()),
                  expected != left.reasons.end() ? expected->second : std::set<std::string>());
    }
}

void ExpectNothingHeld()
{
    EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); }, kPatience));
    for (const char* lock : {kOperationLock, kIsolateLock, kActionLock, kRegisterLock, kExitLock}) {
        EXPECT_TRUE(!Exists(lock) || Eventually([&] { return IsLockFree(lock); })) << lock;
    }
    EXPECT_FALSE(Exists(kFlag));
    for (const std::string& name : ListFolder(kRegister)) {
        EXPECT_EQ(VESK::Systemd::UnitTypeGet(name), "service") << name;
    }
}

TEST_F(Soak, ProcessesThatMixAllOperationsLoseNothingAndAllComeToAnEnd)
{
    const Clock::time_point end = Clock::now() + Length();
    // Forked before there are threads.
    std::vector<std::unique_ptr<OtherProcess>> processes;
    for (int number = 0; number < kProcesses; ++number) {
        processes.push_back(std::make_unique<OtherProcess>([&, number] {
            Mixer mixer(number, kShared, m_expected);
            const std::string wrong = mixer.Run(end);
            Tell("/run/soak/" + Own(number), mixer);
            std::fprintf(stderr, "%s", wrong.empty() ? "" : (wrong + "\n").c_str());
            return wrong.empty() ? 0 : 1;
        }));
    }
    std::atomic<bool> isOver{false};
    std::thread cleaner([&] { ForgetCallsUntil(isOver); });
    Left left;
    for (int number = 0; number < kProcesses; ++number) {
        EXPECT_EQ(processes[static_cast<std::size_t>(number)]->Wait(Length() + kPatience), Exited(0));
        AddTold(ReadText("/run/soak/" + Own(number)), Own(number), left);
    }
    isOver = true;
    cleaner.join();
    std::printf("soak: %d operations of %d processes\n", left.steps, kProcesses);
    EXPECT_GT(left.steps, kProcesses);
    ExpectNothingLost(left);
    ExpectNothingHeld();
}

TEST_F(Soak, ThreadsThatMixAllOperationsDoNotDisturbEachOther)
{
    const Clock::time_point end = Clock::now() + Length();
    const auto before = OpenDescriptors();
    std::vector<std::string> wrong(kThreads);
    std::atomic<int> steps{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            // Locks keep processes apart, not threads: each has a registry of its own.
            Mixer mixer(number, "own" + Own(number), m_expected);
            mixer.LeaveSeldomOut();
            wrong[static_cast<std::size_t>(number)] = mixer.Run(end);
            steps += mixer.Steps();
        });
    }
    std::atomic<bool> isOver{false};
    std::thread cleaner([&] { ForgetCallsUntil(isOver); });
    for (std::thread& thread : threads) {
        thread.join();
    }
    isOver = true;
    cleaner.join();
    std::printf("soak: %d operations of %d threads\n", steps.load(), kThreads);
    EXPECT_EQ(wrong, std::vector<std::string>(kThreads));
    EXPECT_GT(steps, kThreads);
    EXPECT_EQ(OpenDescriptors(), before);
    ExpectNothingHeld();
}

// What the C library has handed out and not got back.
std::size_t MemoryInUse()
{
    return mallinfo2().uordblks;
}

TEST_F(Soak, MemoryAndDescriptorsStayAsTheyAreOverManyOperations)
{
    constexpr std::size_t kTolerance = 64UL * 1024;
    constexpr int kOperationsASecond = 500;
    const auto rounds = std::max<long>(1, Length().count() * kOperationsASecond / 31);
    long operations = 0;
    const auto callAll = [&] {
        for (const NamedOperation& operation : FamilyOperations()) {
            if (!IsSeldom(operation) || operations % 7 == 0) {
                operation.call(Own(0));
            }
            ++operations;
        }
        m_ground.ForgetCalls();
    };
    callAll();
    callAll();
    operations = 0;
    const auto descriptors = OpenDescriptors();
    const std::size_t memory = MemoryInUse();
    for (long round = 0; round < rounds; ++round) {
        callAll();
    }
    const std::size_t after = MemoryInUse();
    std::printf("soak: %ld operations, memory %zu before, %zu after\n", operations, memory, after);
    EXPECT_LT(after, memory + kTolerance);
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_THAT(ListChildren().zombies, ::testing::IsEmpty());
    ExpectNothingHeld();
}

} // namespace
} // namespace VeskTest
