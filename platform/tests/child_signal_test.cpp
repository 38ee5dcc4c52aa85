#include <atomic>
#include <csignal>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <veskcore.h>

#include "children.hpp"
#include "run_program.hpp"
#include "signal_storm.hpp"
#include "systemctl_script.hpp"

// Signals: those of the caller stay the caller's, and none disturbs a call.

namespace VeskTest
{
namespace
{

using ::testing::SizeIs;

void Ignore(int) {}

/** Sets a disposition until its end. */
class Disposition
{
public:
    Disposition(int signal, void (*handler)(int), int flags = 0)
        : m_signal(signal)
    {
        struct sigaction action {
        };
        action.sa_handler = handler;
        action.sa_flags = flags;
        sigaction(signal, &action, &m_before);
    }
    ~Disposition() { sigaction(m_signal, &m_before, nullptr); }
    Disposition(const Disposition&) = delete;
    Disposition& operator=(const Disposition&) = delete;

private:
    int m_signal;
    struct sigaction m_before {
    };
};

TEST(ChildSignals, AreDefaultInTheChild)
{
    ScriptedSystemctl systemctl;
    systemctl.OnAny();
    const Disposition ignored(SIGPIPE, SIG_IGN);
    const Disposition ignoredToo(SIGCHLD, SIG_IGN);
    const Disposition handled(SIGTERM, Ignore);
    const Disposition last(SIGRTMAX, SIG_IGN);
    sigset_t blocked;
    sigfillset(&blocked);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    RunProgram({"/usr/bin/systemctl"});
    VLIBCExec("/usr/bin/systemctl", nullptr, nullptr, nullptr, nullptr);
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
    ASSERT_THAT(systemctl.Calls(), SizeIs(2));
    for (const Call& call : systemctl.Calls()) {
        EXPECT_EQ(call.blockedSignals, 0U);
        EXPECT_EQ(call.ignoredSignals, 0U);
        EXPECT_EQ(call.caughtSignals, 0U);
    }
}

TEST(ChildSignals, StayAsTheyWereInTheCaller)
{
    const Disposition handled(SIGTERM, Ignore);
    const Disposition ignored(SIGPIPE, SIG_IGN);
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    const auto snapshot = [] {
        std::vector<void (*)(int)> handlers;
        for (int number = 1; number < NSIG; ++number) {
            struct sigaction action {
            };
            sigaction(number, nullptr, &action);
            handlers.push_back(action.sa_handler);
        }
        return handlers;
    };
    const auto before = snapshot();
    RunProgram({"/bin/true"});
    RunProgram({"/none"});
    VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr);
    VLIBCExec("/none", nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(snapshot(), before);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    for (int number = 1; number < SIGRTMIN; ++number) {
        EXPECT_EQ(sigismember(&after, number), number == SIGUSR2 ? 1 : 0) << number;
    }
}

TEST(ChildSignals, EveryMillisecondDisturbNothing)
{
    const SignalStorm storm;
    while (SignalStorm::Count() < 500) {
        const Result result = RunScript("echo one; sleep 0.02; echo two; sleep 0.01; exit 3");
        ASSERT_EQ(result.output, "one\ntwo\n");
        ASSERT_EQ(result.status, ExitStatus(3));
        ASSERT_EQ(VLIBCExec("/bin/sleep", "0.01", nullptr, nullptr, nullptr), 0);
        ASSERT_FALSE(RunProgram({"/none"}).started);
    }
}

/** What a handler notes down; in memory that every process of the test shares. */
struct HandlerRecord {
    std::atomic<pid_t> caller;
    std::atomic<int> runs;
    std::atomic<int> strangers;
};

HandlerRecord* handlerRecord = nullptr;

void NoteProcess(int)
{
    ++handlerRecord->runs;
    if (getpid() != handlerRecord->caller) {
        ++handlerRecord->strangers;
    }
}

// Signals for the whole process group reach a child too, before it has loaded its program.
TEST(ChildSignals, RunNoHandlerOfTheCallersInTheChild)
{
    void* shared =
        mmap(nullptr, sizeof(HandlerRecord), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    handlerRecord = new (shared) HandlerRecord{};
    EXPECT_EQ(RunInChild([] {
                  setpgid(0, 0);
                  handlerRecord->caller = getpid();
                  const Disposition handled(SIGUSR1, NoteProcess, SA_RESTART);
                  const pid_t group = getpid();
                  const pid_t sender = fork();
                  if (sender == 0) {
                      setpgid(0, 0);
                      while (kill(-group, SIGUSR1) == 0) {
                          usleep(50);
                      }
                      _exit(0);
                  }
                  for (int count = 0; count < 500; ++count) {
                      VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr);
                  }
                  kill(sender, SIGKILL);
                  waitpid(sender, nullptr, 0);
                  return 0;
              }),
              Exited(0));
    EXPECT_GT(handlerRecord->runs, 0);
    EXPECT_EQ(handlerRecord->strangers, 0);
    munmap(shared, sizeof(HandlerRecord));
}

} // namespace
} // namespace VeskTest
