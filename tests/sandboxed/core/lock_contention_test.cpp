#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vesksystemd.hpp>

#include "checks.hpp"
#include "children.hpp"
#include "files.hpp"
#include "signal_storm.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using VESK::Systemd::FileLock;

constexpr const char* kPath = "/run/vesksystemd/locks/test.lock";
constexpr const char* kEvents = "/tmp/events";
constexpr bool kExclusive = true;
constexpr bool kShared = false;

void Note(const std::string& event)
{
    std::ofstream(kEvents, std::ios::app) << event << "\n";
}

// Another process that holds the lock from the end of the constructor to the call of Release(), or to its
// death.
class OtherHolder
{
public:
    explicit OtherHolder(bool mode)
    {
        std::array<int, 2> go{};
        std::array<int, 2> held{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, go.data()), 0);
        EXPECT_EQ(pipe(held.data()), 0);
        m_child = fork();
        if (m_child == 0) {
            close(go[1]);
            Hold(mode, go[0], held[1]);
        }
        close(go[0]);
        close(held[1]);
        m_go = go[1];
        EXPECT_EQ(ReadByte(held[0]), 'y');
        close(held[0]);
    }
    ~OtherHolder() { Release(); }
    OtherHolder(const OtherHolder&) = delete;
    OtherHolder& operator=(const OtherHolder&) = delete;

    // Lets go and waits for the process.
    void Release()
    {
        if (m_child > 0) {
            LetGo();
            close(m_go);
            EXPECT_GT(waitpid(std::exchange(m_child, -1), nullptr, 0), 0);
        }
    }

    // The holder may be gone already.
    void LetGo() const { send(m_go, "x", 1, MSG_NOSIGNAL); }
    void Kill() const { kill(m_child, SIGKILL); }

private:
    [[noreturn]] static void Hold(bool mode, int go, int held)
    {
        FileLock lock(kPath, mode, 0);
        const char answer = lock.Acquire() ? 'y' : 'n';
        if (write(held, &answer, 1) == 1) {
            ReadByte(go);
        }
        Note("the other lets go");
        lock.Release();
        _exit(0);
    }

    static char ReadByte(int descriptor)
    {
        char byte = 0;
        while (read(descriptor, &byte, 1) < 0 && errno == EINTR) {
        }
        return byte;
    }

    pid_t m_child = -1;
    int m_go = -1;
};

bool CanTake(bool mode)
{
    return FileLock(kPath, mode, 0).Acquire();
}

TEST(LockContention, LetsNobodyInBesideAnExclusiveHolder)
{
    OtherHolder holder(kExclusive);
    for (const bool mode : {kExclusive, kShared}) {
        SyslogCapture log;
        EXPECT_FALSE(CanTake(mode));
        EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_LOCK);
        EXPECT_THAT(log.Take(),
                    ElementsAre(Error("lock.cpp", std::string("vesksystemd: failed to get lock [") + kPath +
                                                      "] [0x0C00 " + VLIBCErrorGetFile() + ":" +
                                                      std::to_string(VLIBCErrorGetLine()) + "]")));
    }
    holder.Release();
    EXPECT_TRUE(CanTake(kExclusive));
    EXPECT_TRUE(CanTake(kShared));
}

TEST(LockContention, LetsOnlySharersInBesideASharer)
{
    OtherHolder holder(kShared);
    EXPECT_TRUE(CanTake(kShared));
    EXPECT_FALSE(CanTake(kExclusive));
    OtherHolder another(kShared);
    holder.Release();
    EXPECT_FALSE(CanTake(kExclusive)) << "the other sharer is still there";
    another.Release();
    EXPECT_TRUE(CanTake(kExclusive));
}

TEST(LockContention, HoldsBetweenTwoLocksOfOneProcessToo)
{
    FileLock first(kPath, kExclusive, 0);
    FileLock second(kPath, kExclusive, 0);
    EXPECT_TRUE(first.Acquire());
    EXPECT_FALSE(second.Acquire());
    first.Release();
    EXPECT_TRUE(second.Acquire());
    EXPECT_FALSE(first.Acquire());
}

TEST(LockContention, GivesUpWhenTheTimeIsOver)
{
    const OtherHolder holder(kExclusive);
    EXPECT_FALSE(FileLock(kPath, kExclusive, 1).Acquire());
    EXPECT_FALSE(Exists(kEvents)) << "the other still holds it";
}

TEST(LockContention, GivesUpWhenTheTimeIsOverWhileItsCallsAreInterrupted)
{
    const OtherHolder holder(kExclusive);
    const SignalStorm storm;
    EXPECT_FALSE(FileLock(kPath, kExclusive, 1).Acquire());
    EXPECT_GT(SignalStorm::Count(), 0);
}

TEST(LockContention, WaitsUntilTheHolderLetsGo)
{
    const OtherHolder holder(kExclusive);
    ExpectInChild([&] {
        FileLock lock(kPath, kExclusive, 60);
        EXPECT_FALSE(CanTake(kExclusive)) << "so that this one has to wait";
        holder.LetGo();
        EXPECT_TRUE(lock.Acquire());
        Note("this one has it");
    });
    EXPECT_EQ(ReadText(kEvents), "the other lets go\nthis one has it\n");
}

TEST(LockContention, EndsWithAHolderThatIsKilled)
{
    const OtherHolder holder(kExclusive);
    EXPECT_FALSE(CanTake(kExclusive));
    holder.Kill();
    EXPECT_TRUE(FileLock(kPath, kExclusive, 60).Acquire());
}

TEST(LockContention, IsNotKeptByAProgramThatWasStartedMeanwhile)
{
    FileLock lock(kPath, kExclusive, 0);
    ASSERT_TRUE(lock.Acquire());
    std::string program = "/bin/cat";
    std::string argument = "/tmp/pipe";
    ASSERT_EQ(mkfifo(argument.c_str(), 0600), 0);
    std::array<char*, 3> argv{program.data(), argument.data(), nullptr};
    FILE* stream = VLIBCPopenv(program.c_str(), "r", argv.data());
    ASSERT_NE(stream, nullptr);
    lock.CloseFd();
    EXPECT_TRUE(CanTake(kExclusive)) << "the program still runs";
    WriteText(argument, "x");
    EXPECT_EQ(fgetc(stream), 'x');
    EXPECT_EQ(VLIBCPclose(stream), 0);
}

TEST(LockContention, IsNotKeptByAProgramThatAForkedChildRuns)
{
    FileLock lock(kPath, kExclusive, 0);
    ASSERT_TRUE(lock.Acquire());
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", "echo >/tmp/started; exec sleep 1000", nullptr);
        _exit(1);
    }
    EXPECT_TRUE(Eventually([] { return Exists("/tmp/started"); }));
    lock.CloseFd();
    EXPECT_TRUE(CanTake(kExclusive)) << "the program still runs";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST(LockContention, IsKeptByAForkedChildUntilThatEnds)
{
    FileLock lock(kPath, kExclusive, 0);
    ASSERT_TRUE(lock.Acquire());
    std::array<int, 2> go{};
    ASSERT_EQ(pipe(go.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(go[1]);
        char byte = 0;
        _exit(static_cast<int>(read(go[0], &byte, 1)));
    }
    lock.CloseFd();
    EXPECT_FALSE(CanTake(kExclusive)) << "closing is not enough while a child shares it";
    close(go[1]);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(CanTake(kExclusive));
}

TEST(LockContention, EndsForAllWhenACopyInAForkedChildIsReleased)
{
    FileLock lock(kPath, kExclusive, 0);
    ASSERT_TRUE(lock.Acquire());
    ExpectInChild([&] {
        FileLock copy(lock);
        copy.CloseFd();
    });
    EXPECT_FALSE(CanTake(kExclusive)) << "the child closed its own descriptor only";
    ExpectInChild([&] {
        FileLock copy(lock);
        copy.Release();
    });
    EXPECT_TRUE(CanTake(kExclusive));
}

TEST(LockContention, LetsOneProcessAtATimeIn)
{
    constexpr int kProcesses = 8;
    constexpr int kRounds = 20;
    WriteText("/tmp/counter", "0");
    std::array<pid_t, kProcesses> children{};
    for (pid_t& child : children) {
        child = fork();
        if (child == 0) {
            for (int round = 0; round < kRounds; ++round) {
                FileLock lock(kPath, kExclusive, 60);
                if (!lock.Acquire()) {
                    _exit(1);
                }
                std::ofstream("/tmp/next") << std::stoi(ReadText("/tmp/counter")) + 1;
                WriteText("/tmp/counter", ReadText("/tmp/next"));
            }
            _exit(0);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(ReadText("/tmp/counter"), std::to_string(kProcesses * kRounds));
}

} // namespace
} // namespace VeskTest
