// A process that registers and unregisters again and again and is killed at any instant.

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <new>
#include <random>
#include <sys/mman.h>
#include <thread>

#include "children.hpp"
#include "error.hpp"
#include "file_locks.hpp"
#include "long_test.hpp"
#include "registry_ground.hpp"

namespace VeskTest
{
namespace
{

constexpr int kVolumes = 4;
constexpr int kStates = 2 * kVolumes;

std::string Volume(int number)
{
    return "/volume" + std::to_string(number);
}

// The states follow each other in a ring: the volumes are registered in their order, then unregistered.
std::string State(int state)
{
    Words volumes;
    for (int number = 0; number < kVolumes; ++number) {
        if (number < state && number + kVolumes >= state) {
            volumes.push_back(Volume(number));
        }
    }
    return Volumes(volumes);
}

bool Step(int state)
{
    return state < kVolumes ? VESKSystemdVolumeRegister("foo", Volume(state))
                            : VESKSystemdVolumeUnregister("foo", Volume(state - kVolumes));
}

int FindState(const std::string& text)
{
    int state = 0;
    while (state < kStates && State(state) != text) {
        ++state;
    }
    return state;
}

// Makes steps from that state on until it is killed, and counts those that are done.
int StepForever(int state, std::atomic<int>& done)
{
    for (; Step(state % kStates); ++state) {
        ++done;
    }
    return 1;
}

TEST_F(RegistryGround, HoldsAStateOfTheSequenceWheneverAProcessIsKilled)
{
    void* place =
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(place, MAP_FAILED);
    auto& done = *new (place) std::atomic<int>(0);
    std::mt19937 random(7); // the same instants, as far as they can be the same
    const std::string file = UnitFile("foo.service");
    WriteText(file, State(0));
    int state = 0;
    int kills = 0;
    int steps = 0;
    int betweenFileAndCount = 0;
    for (const Deadline deadline; !deadline.IsOver() && !HasFailure(); ++kills) {
        done = 0;
        OtherProcess process([&] { return StepForever(state, done); });
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
        process.Kill();
        ASSERT_EQ(process.Wait(), Signalled(SIGKILL));

        const int counted = (state + done) % kStates;
        const int found = FindState(ReadText(file));
        EXPECT_TRUE(found == counted || found == (counted + 1) % kStates) << ReadText(file);
        betweenFileAndCount += found == counted ? 0 : 1;
        // A program that it was about to start may still be on its way out.
        EXPECT_TRUE(Eventually([] { return IsLockFree(kLock); }));
        ASSERT_LT(found, kStates);
        EXPECT_TRUE(Step(found)) << "the next one is not disturbed";
        state = (found + 1) % kStates;
        EXPECT_EQ(ReadText(file), State(state));
        steps += done + 1;
    }
    EXPECT_THAT(log.Take(), ::testing::IsEmpty());
    munmap(place, sizeof(std::atomic<int>));
    EXPECT_GT(kills, 10);
    std::cout << kills << " kills, " << steps << " steps, " << betweenFileAndCount
              << " kills after a rename and before the step was counted\n";
}

} // namespace
} // namespace VeskTest
