// Callers in several threads at once.
#include <atomic>
#include <pthread.h>
#include <thread>

#include "action_test.hpp"
#include "children.hpp"
#include "files.hpp"

namespace VeskTest
{
namespace
{

TEST(Threads, GetTheirOwnResultsFailedUnitsAndErrorRecords)
{
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-jobs"}).Exit(1);
    systemctl.OnLeading({"restart"});
    systemctl.OnLeading({"reload-or-restart"}).Stderr("Job for bad.service failed.\n").Exit(1);
    const auto succeed = [] {
        for (int round = 0; round < 10; ++round) {
            Words failed;
            EXPECT_TRUE(VESKSystemdRestart({"good"}, failed));
            EXPECT_EQ(failed, Words{});
            EXPECT_EQ(VLIBCErrGet(), 0);
        }
    };
    const auto fail = [] {
        for (int round = 0; round < 10; ++round) {
            Words failed;
            EXPECT_FALSE(VESKSystemdReloadOrRestart({"bad", "other"}, failed));
            EXPECT_EQ(failed, Words{"bad"});
            EXPECT_FALSE(VESKSystemdRestart(Words{}, failed));
            EXPECT_EQ(VLIBCErrGet(), 0x0D00);
        }
    };
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back(index % 2 == 0 ? std::function<void()>(succeed) : fail);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Threads, AreCancelledAfterTheCallThatTheyAreIn)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny().CreateFile("/tmp/systemctl-runs").Delay(300);
    std::atomic<int> result{-1};
    std::atomic<bool> isStillThere{false};
    std::thread thread([&] {
        result = VESKCSystemdStart("foo");
        pthread_testcancel();
        isStillThere = true;
    });
    ASSERT_TRUE(Eventually([] { return Exists("/tmp/systemctl-runs"); }));
    EXPECT_EQ(pthread_cancel(thread.native_handle()), 0);
    thread.join();
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(isStillThere);
    EXPECT_THAT(ListChildren().running, ::testing::IsEmpty());
    EXPECT_THAT(ListChildren().zombies, ::testing::IsEmpty());
}

} // namespace
} // namespace VeskTest
