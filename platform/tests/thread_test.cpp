#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <veskcore.h>

#include "children.hpp"
#include "descriptors.hpp"
#include "forking_threads.hpp"
#include "run_program.hpp"

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;

void InSixteenThreads(const std::function<void(int)>& work)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < 16; ++number) {
        threads.emplace_back([&work, number] { work(number); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Threads, StartChildrenSideBySide)
{
    const auto before = OpenDescriptors();
    InSixteenThreads([](int number) {
        for (int round = 0; round < 30; ++round) {
            const std::string text = std::to_string(number * 100 + round);
            const Result result = RunScript("echo " + text + "; exit " + std::to_string(number));
            EXPECT_EQ(result.output, text + "\n");
            EXPECT_EQ(result.status, ExitStatus(number));
            EXPECT_EQ(VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr), 0);
            EXPECT_FALSE(RunProgram({"/none"}).started);
            EXPECT_EQ(ErrorRecord(), "0x0300 children.cpp");
        }
    });
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_THAT(ListChildren().zombies, IsEmpty());
}

// The list of variables grows, moves and shrinks while it is read for a child.
TEST(Threads, SetVariablesWhileOthersStartChildren)
{
    setenv("VESK_KEPT", "kept", 1);
    std::atomic<bool> isDone{false};
    std::thread setter([&] {
        while (!isDone) {
            for (int number = 0; number < 50; ++number) {
                setenv(("VESK_" + std::to_string(number)).c_str(), "value", 1);
            }
            for (int number = 0; number < 50; ++number) {
                unsetenv(("VESK_" + std::to_string(number)).c_str());
            }
        }
    });
    for (int round = 0; round < 1000; ++round) {
        const Result result = RunProgram({"/usr/bin/printenv", "VESK_KEPT"});
        ASSERT_TRUE(result.started) << strerror(errno);
        ASSERT_EQ(result.output, "kept\n") << round;
    }
    isDone = true;
    setter.join();
}

// A pipe end that another thread's child had inherited would keep this thread's stream from ending.
TEST(Threads, DoNotHoldEachOthersPipes)
{
    std::atomic<bool> isDone{false};
    std::thread sleeper([&] {
        while (!isDone) {
            VLIBCExec("/bin/sleep", "0.2", nullptr, nullptr, nullptr);
        }
    });
    FILE* blocked = OpenProgram({"/bin/sh", "-c", "exec sleep 1000"});
    ASSERT_NE(blocked, nullptr);
    for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(RunScript("echo text").output, "text\n");
    }
    isDone = true;
    sleeper.join();
    kill(ListChildren().running.at(0), SIGKILL);
    EXPECT_EQ(VLIBCPclose(blocked), SIGKILL);
}

TEST(Threads, ForkWhileOthersStartChildren)
{
    VESK_NEED_FORKING_THREADS();
    std::atomic<int> forks{0};
    InSixteenThreads([&](int number) {
        for (int round = 0; round < 10; ++round) {
            if (number % 4 != 0) {
                EXPECT_EQ(RunScript("echo text").output, "text\n");
                continue;
            }
            const int pid = VLIBCProcForkEx(0);
            if (pid == 0) {
                _exit(RunScript("echo text; exit 3").status == ExitStatus(3) ? 0 : 1);
            }
            int status = -1;
            EXPECT_EQ(waitpid(pid, &status, 0), pid);
            EXPECT_EQ(status, 0);
            EXPECT_GT(VLIBCProcForkEx(VLIBC_FORK_DETACH | VLIBC_FORK_CLOSE_DESCRIPTORS) == 0 ? (_exit(0), 0)
                                                                                             : 1,
                      0);
            ++forks;
        }
    });
    EXPECT_EQ(forks, 40);
}

TEST(Threads, ReadAndReplaceSectionsSideBySide)
{
    InSixteenThreads([](int number) {
        const std::string path = "/run/file" + std::to_string(number % 4);
        VLIBCSzHash* hash = VLIBCSzHashAlloc(0);
        VLIBCSzHashSetValue(&hash, "Key", "value");
        for (int round = 0; round < 50; ++round) {
            EXPECT_EQ(VLIBCFileAddSection(path.c_str(), "X", hash, 0), 0);
            char buffer[16];
            EXPECT_EQ(VLIBCFileGetSectionValue(path.c_str(), "X", "Key", buffer, sizeof buffer), 0);
            EXPECT_STREQ(buffer, "value");
        }
        VLIBCSzHashFree(hash);
    });
}

} // namespace
} // namespace VeskTest
