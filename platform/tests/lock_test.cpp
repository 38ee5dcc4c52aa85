#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <veskcore.h>

#include "checks.hpp"
#include "children.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "run_program.hpp"
#include "signal_storm.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

const std::string kPath = "/run/locks/a.lock";

/** A lock, dropped with VLIBCFileUnlockByFile at the end. */
class Lock
{
public:
    Lock(bool isExclusive, int timeout, const std::string& path = kPath)
        : m_isHeld(VLIBCFileLockTimeByFile(path.c_str(), isExclusive, timeout, &m_descriptor) != 0)
    {
    }
    ~Lock() { Drop(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    bool IsHeld() const { return m_isHeld; }
    int Descriptor() const { return m_descriptor; }
    void Drop()
    {
        if (std::exchange(m_isHeld, false)) {
            EXPECT_EQ(VLIBCFileUnlockByFile(m_descriptor), 0);
        }
    }

private:
    int m_descriptor = -7;
    bool m_isHeld;
};

/** A process that holds a lock until it is told to let go or is killed. */
class Holder
{
public:
    explicit Holder(bool isExclusive)
    {
        int ready[2];
        if (pipe2(ready, O_CLOEXEC) != 0) {
            return;
        }
        m_pid = fork();
        if (m_pid == 0) {
            Lock lock(isExclusive, 0);
            const char isHeld = lock.IsHeld() ? 1 : 0;
            if (write(ready[1], &isHeld, 1) == 1) {
                pause();
            }
            _exit(0);
        }
        close(ready[1]);
        char isHeld = 0;
        m_isHeld = read(ready[0], &isHeld, 1) == 1 && isHeld != 0;
        close(ready[0]);
    }
    ~Holder() { Kill(); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    bool IsHeld() const { return m_isHeld; }
    pid_t Pid() const { return m_pid; }
    void Kill()
    {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
            }
            m_pid = -1;
        }
    }

private:
    pid_t m_pid = -1;
    bool m_isHeld = false;
};

class FileLock : public ::testing::Test
{
protected:
    void SetUp() override
    {
        MakeFolder("/run/locks");
        VLIBCErrSetEx(0, "", 0);
    }
};

TEST_F(FileLock, CreatesItsFileAndLeavesIt)
{
    {
        const Lock lock(true, 0);
        EXPECT_TRUE(lock.IsHeld());
    }
    EXPECT_EQ(ReadText(kPath), "");
    EXPECT_EQ(Mode(kPath), 0600U);
}

TEST_F(FileLock, IsForItsOwnerAloneWhateverTheUmask)
{
    for (const mode_t mask : {0000U, 0022U, 0777U}) {
        EXPECT_EQ(RunInChild([&] {
                      umask(mask);
                      const bool isNew = Lock(true, 0).IsHeld();
                      return isNew && Lock(true, 0).IsHeld() && umask(mask) == mask ? 0 : 1;
                  }),
                  Exited(0));
        EXPECT_EQ(Mode(kPath), 0600U) << mask;
        RemoveAll(kPath);
    }
}

TEST_F(FileLock, NarrowsAFileThatOthersMayOpen)
{
    for (const unsigned mode : {0644U, 0666U, 0777U, 0000U}) {
        WriteText(kPath, "content", mode);
        ASSERT_EQ(chmod(kPath.c_str(), mode), 0);
        EXPECT_TRUE(Lock(false, 0).IsHeld());
        EXPECT_EQ(Mode(kPath), 0600U) << mode;
        EXPECT_EQ(ReadText(kPath), "content");
    }
}

TEST_F(FileLock, LeavesTheModeOfAFileOfSomebodyElse)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    WriteText(kPath, "", 0644);
    ASSERT_EQ(chown(kPath.c_str(), 54321, 54321), 0);
    EXPECT_TRUE(Lock(true, 0).IsHeld());
    EXPECT_EQ(Mode(kPath), 0644U);
}

TEST_F(FileLock, IsNotTakenThroughALink)
{
    WriteText("/run/locks/target", "", 0644);
    for (const char* target : {"/run/locks/target", "/run/locks/none"}) {
        VLIBCErrSetEx(0, "", 0);
        ASSERT_EQ(symlink(target, kPath.c_str()), 0);
        EXPECT_FALSE(Lock(true, 10).IsHeld());
        EXPECT_EQ(errno, ELOOP);
        EXPECT_EQ(ErrorRecord(), "0x0900 locks.cpp");
        ASSERT_EQ(unlink(kPath.c_str()), 0);
    }
    EXPECT_EQ(Mode("/run/locks/target"), 0644U);
    EXPECT_FALSE(Exists("/run/locks/none"));
}

TEST_F(FileLock, IsClosedOnExecAndAboveTwo)
{
    const Lock lock(true, 0);
    EXPECT_GT(lock.Descriptor(), STDERR_FILENO);
    EXPECT_EQ(fcntl(lock.Descriptor(), F_GETFD), FD_CLOEXEC);
}

TEST_F(FileLock, IsAboveTwoWithTheStandardDescriptorsClosed)
{
    EXPECT_EQ(RunInChild([] {
                  close(0);
                  close(1);
                  close(2);
                  const Lock lock(true, 0);
                  const bool isRight = lock.IsHeld() && lock.Descriptor() > STDERR_FILENO &&
                                       fcntl(lock.Descriptor(), F_GETFD) == FD_CLOEXEC;
                  return isRight && fcntl(0, F_GETFD) < 0 && fcntl(1, F_GETFD) < 0 && fcntl(2, F_GETFD) < 0
                             ? 0
                             : 1;
              }),
              Exited(0));
}

TEST_F(FileLock, ExclusiveKeepsEverybodyOut)
{
    const Holder holder(true);
    ASSERT_TRUE(holder.IsHeld());
    const auto before = OpenDescriptors();
    for (const bool isExclusive : {true, false}) {
        VLIBCErrSetEx(0, "", 0);
        const Lock lock(isExclusive, 0);
        EXPECT_FALSE(lock.IsHeld());
        EXPECT_EQ(errno, EWOULDBLOCK);
        EXPECT_EQ(lock.Descriptor(), -7);
        EXPECT_EQ(ErrorRecord(), "0x0C00 locks.cpp");
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(FileLock, SharedLetsOthersShare)
{
    const Holder holder(false);
    ASSERT_TRUE(holder.IsHeld());
    EXPECT_TRUE(Lock(false, 0).IsHeld());
    EXPECT_FALSE(Lock(true, 0).IsHeld());
}

TEST_F(FileLock, KeepsASecondOneOfTheSameProcessOut)
{
    const Lock first(true, 0);
    EXPECT_FALSE(Lock(true, 0).IsHeld());
}

TEST_F(FileLock, IsTakenWhenItsHolderIsKilled)
{
    Holder holder(true);
    ASSERT_TRUE(holder.IsHeld());
    EXPECT_EQ(RunInChild([&] {
                  const pid_t killer = fork();
                  if (killer == 0) {
                      usleep(200000);
                      kill(holder.Pid(), SIGKILL);
                      _exit(0);
                  }
                  return Lock(true, 30).IsHeld() ? 0 : 1;
              }),
              Exited(0));
}

TEST_F(FileLock, WaitsAsLongAsAskedAndNoLess)
{
    const Holder holder(true);
    ASSERT_TRUE(holder.IsHeld());
    const auto start = Clock::now();
    EXPECT_FALSE(Lock(true, 1).IsHeld());
    EXPECT_GE(Clock::now() - start, seconds(1));
    EXPECT_EQ(ErrorRecord(), "0x0C00 locks.cpp");
}

/** How often the process has gone to sleep. */
long Sleeps()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

TEST_F(FileLock, SleepsBetweenTriesForLongerAndLonger)
{
    const Holder holder(true);
    ASSERT_TRUE(holder.IsHeld());
    const long before = Sleeps();
    EXPECT_FALSE(Lock(true, 2).IsHeld());
    // Some 45 on an idle machine: 1, 2, 4, 8, 16, 32 and then 50 milliseconds each.
    EXPECT_GT(Sleeps() - before, 5);
    EXPECT_LT(Sleeps() - before, 100);
}

TEST_F(FileLock, WaitsThroughInterruptions)
{
    Holder holder(true);
    ASSERT_TRUE(holder.IsHeld());
    const SignalStorm storm;
    const auto start = Clock::now();
    EXPECT_FALSE(Lock(true, 1).IsHeld());
    EXPECT_GE(Clock::now() - start, seconds(1));
    EXPECT_GT(SignalStorm::Count(), 0);
    holder.Kill();
    EXPECT_TRUE(Lock(true, 0).IsHeld());
}

TEST_F(FileLock, GoesToOneWaiterAtATime)
{
    const auto countUp = [] {
        for (int round = 0; round < 20; ++round) {
            const Lock lock(true, 60);
            if (!lock.IsHeld()) {
                return 1;
            }
            const int number = std::stoi(ReadText("/run/locks/number"));
            WriteText("/run/locks/number", std::to_string(number + 1));
        }
        return 0;
    };
    WriteText("/run/locks/number", "0");
    pid_t pids[4];
    for (pid_t& pid : pids) {
        pid = fork();
        if (pid == 0) {
            _exit(countUp());
        }
    }
    for (const pid_t pid : pids) {
        int status = -1;
        waitpid(pid, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(ReadText("/run/locks/number"), "80");
}

TEST_F(FileLock, ReachesNoChild)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    const Lock lock(true, 0);
    RunProgram({"/usr/bin/systemctl"});
    VLIBCExec("/usr/bin/systemctl", nullptr, nullptr, nullptr, nullptr);
    for (const Call& call : systemctl.Calls()) {
        EXPECT_THAT(call.descriptors, ::testing::SizeIs(3));
    }
}

TEST_F(FileLock, IsNotKeptByAChildThatLivesOn)
{
    Lock lock(true, 0);
    FILE* stream = OpenProgram({"/bin/sleep", "1000"});
    ASSERT_NE(stream, nullptr);
    // Closing, not unlocking, which would free it in any case.
    close(lock.Descriptor());
    EXPECT_EQ(RunInChild([] { return Lock(true, 0).IsHeld() ? 0 : 1; }), Exited(0));
    ASSERT_EQ(open("/dev/null", O_RDONLY | O_CLOEXEC), lock.Descriptor());
    kill(ListChildren().running.at(0), SIGKILL);
    VLIBCPclose(stream);
}

TEST_F(FileLock, IsDroppedForEveryProcessThatSharesIt)
{
    Lock lock(true, 0);
    ASSERT_TRUE(lock.IsHeld());
    EXPECT_EQ(RunInChild([&] { return VLIBCFileUnlockByFile(lock.Descriptor()) == 0 ? 0 : 1; }), Exited(0));
    EXPECT_EQ(RunInChild([] { return Lock(true, 0).IsHeld() ? 0 : 1; }), Exited(0));
}

TEST_F(FileLock, IsClosedWhenItIsDropped)
{
    const auto before = OpenDescriptors();
    Lock lock(true, 0);
    const int descriptor = lock.Descriptor();
    lock.Drop();
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_LT(VLIBCFileUnlockByFile(descriptor), 0);
    EXPECT_EQ(ErrorRecord(), "0x0D00 locks.cpp");
}

TEST_F(FileLock, FailsWithoutItsFolder)
{
    EXPECT_FALSE(Lock(true, 0, "/run/none/a.lock").IsHeld());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ErrorRecord(), "0x0900 locks.cpp");
    EXPECT_FALSE(Lock(true, 0, "/run/locks").IsHeld());
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(Lock(true, 0, "").IsHeld());
}

TEST_F(FileLock, FailsAtOnceWithoutADescriptor)
{
    EXPECT_EQ(RunInChild([] {
                  const rlimit few{16, 16};
                  setrlimit(RLIMIT_NOFILE, &few);
                  while (dup(STDIN_FILENO) >= 0) {
                  }
                  const Lock lock(true, 10);
                  return !lock.IsHeld() && errno == EMFILE && VLIBCErrGet() == VLIBC_ERR_OPEN ? 0 : 1;
              }),
              Exited(0));
}

TEST_F(FileLock, IsNotThereForAnotherUserAndDoesNotKeepHimWaiting)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    EXPECT_TRUE(Lock(true, 0).IsHeld());
    ExpectAsUser(54321, [] {
        const auto start = Clock::now();
        EXPECT_FALSE(Lock(true, 3600).IsHeld());
        EXPECT_LT(Clock::now() - start, seconds(10));
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(ErrorRecord(), "0x0900 locks.cpp");
    });
}

TEST_F(FileLock, IsThereForAUserInHisOwnFolder)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "this sandbox knows one user only";
    }
    ASSERT_EQ(chown("/run/locks", 54321, 54321), 0);
    ExpectAsUser(54321, [] { EXPECT_TRUE(Lock(true, 0).IsHeld()); });
    EXPECT_EQ(Mode(kPath), 0600U);
}

TEST_F(FileLock, DoesNotHangOnAPipeUnderItsName)
{
    ASSERT_EQ(mkfifo("/run/locks/pipe", 0600), 0);
    EXPECT_FALSE(Lock(true, 10, "/run/locks/pipe").IsHeld());
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(ErrorRecord(), "0x0900 locks.cpp");
}

} // namespace
} // namespace VeskTest
