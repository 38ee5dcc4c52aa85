#include "live_system.hpp"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <optional>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "error.hpp"
#include "live_channel.hpp"
#include "live_report.hpp"
#include "namespaces.hpp"
#include "systemctl_adapter.hpp"

namespace VeskGround
{

namespace
{

using Clock = std::chrono::steady_clock;

// A boot takes well below a second; a machine with much else to do may need more.
constexpr std::chrono::seconds kBootLimit(60);

constexpr int kExitNotExecutable = 126;
constexpr int kExitNotFound = 127;

// The children that the caller forks while this exists are born into another pid namespace.
class ChildrenInNamespaceOf
{
public:
    explicit ChildrenInNamespaceOf(const Descriptor& pidfd)
        : m_own(Require(open("/proc/self/ns/pid", O_RDONLY | O_CLOEXEC), "open", "/proc/self/ns/pid"))
    {
        Require(setns(pidfd.Get(), CLONE_NEWPID), "enter", "the system's pid namespace");
    }
    ~ChildrenInNamespaceOf() { setns(m_own.Get(), CLONE_NEWPID); }
    ChildrenInNamespaceOf(const ChildrenInNamespaceOf&) = delete;
    ChildrenInNamespaceOf& operator=(const ChildrenInNamespaceOf&) = delete;
    ChildrenInNamespaceOf(ChildrenInNamespaceOf&&) = delete;
    ChildrenInNamespaceOf& operator=(ChildrenInNamespaceOf&&) = delete;

private:
    Descriptor m_own;
};

// Ctrl-C is for the command; vesk-live lives on to take the system down.
class KeyboardSignalsIgnored
{
public:
    KeyboardSignalsIgnored()
        : m_interrupt(std::signal(SIGINT, SIG_IGN))
        , m_quit(std::signal(SIGQUIT, SIG_IGN))
    {
    }
    ~KeyboardSignalsIgnored()
    {
        static_cast<void>(std::signal(SIGINT, m_interrupt));
        static_cast<void>(std::signal(SIGQUIT, m_quit));
    }
    KeyboardSignalsIgnored(const KeyboardSignalsIgnored&) = delete;
    KeyboardSignalsIgnored& operator=(const KeyboardSignalsIgnored&) = delete;
    KeyboardSignalsIgnored(KeyboardSignalsIgnored&&) = delete;
    KeyboardSignalsIgnored& operator=(KeyboardSignalsIgnored&&) = delete;

private:
    void (*m_interrupt)(int);
    void (*m_quit)(int);
};

void Execute(const std::vector<std::string>& command)
{
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    const int exitCode = error == ENOENT ? kExitNotFound : kExitNotExecutable;
    throw Error(command[0] + ": " + std::generic_category().message(error), exitCode);
}

int WaitForChild(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            ThrowErrno("wait for", "the command");
        }
    }
    return status;
}

void ReturnTo(const std::string& folder)
{
    if (folder.empty() || chdir(folder.c_str()) != 0) {
        Require(chdir("/"), "enter", "/");
    }
}

} // namespace

LiveSystem::LiveSystem(LivePlan plan)
    : m_plan(std::move(plan))
    , m_keeper(StartLiveKeeper(m_plan))
{
    try {
        AwaitStart();
        AwaitReady();
    } catch (const std::exception&) {
        AwaitGone();
        throw;
    }
}

LiveSystem::~LiveSystem()
{
    try {
        AwaitGone();
    } catch (
        const std::exception&) { // NOLINT(bugprone-empty-catch): TakeDown is there for those who want to know
    }
}

void LiveSystem::AwaitStart()
{
    std::optional<LiveMessage> message = ReceiveLiveMessage(m_keeper);
    if (message && message->event == LiveEvent::Failed) {
        ThrowFailure(message->text);
    }
    if (!message || message->event != LiveEvent::Started) {
        throw Error("the keeper of the system died", kExitSetupFailed);
    }
    m_init = std::stoi(message->text);
    m_initPidfd = std::move(message->descriptors.at(0));
    const auto folders = std::next(message->descriptors.begin());
    m_cgroups.assign(std::make_move_iterator(folders), std::make_move_iterator(message->descriptors.end()));
}

bool LiveSystem::IsDown(int milliseconds) const
{
    pollfd end = {m_initPidfd.Get(), POLLIN, 0};
    return poll(&end, 1, milliseconds) > 0;
}

void LiveSystem::AwaitReady() const
{
    const auto end = Clock::now() + kBootLimit;
    while (!IsReady()) {
        if (IsDown(0)) {
            throw Error("systemd ended while it booted", kExitSetupFailed);
        }
        if (Clock::now() > end) {
            throw Error("systemd did not get ready\n" + LastWords(), kExitSetupFailed);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

bool LiveSystem::IsReady() const
{
    const std::string bus = "/proc/" + std::to_string(m_init) + "/root/run/systemd/private";
    if (access(bus.c_str(), F_OK) != 0) {
        return false;
    }
    const Answer state = Ask({kRealSystemctl, "is-system-running", "--wait"});
    if (state.output == "degraded\n" || state.output == "maintenance\n") {
        throw Error("the system booted into the state " + state.output + LastWords(), kExitSetupFailed);
    }
    return state.output == "running\n";
}

std::string LiveSystem::LastWords() const
{
    return Ask({"/bin/sh", "-c",
                std::string(kRealSystemctl) + " --failed --no-pager --no-legend; " + kRealSystemctl +
                    " list-jobs --no-pager; journalctl -n 30 --no-pager"})
        .output;
}

LiveSystem::Answer LiveSystem::Ask(const std::vector<std::string>& command) const
{
    Pipe output = MakePipe();
    std::vector<std::string> limited = {"/usr/bin/timeout", "--kill-after=1", "60"};
    limited.insert(limited.end(), command.begin(), command.end());
    const pid_t child = Start(limited, output.write.Get());
    output.write.Close();
    Answer answer;
    answer.output = ReadAll(output.read.Get());
    answer.exitCode = ExitCodeOf(WaitForChild(child));
    return answer;
}

// From a child that already is in the system's pid namespace.
void LiveSystem::Enter() const
{
    std::error_code error;
    const std::string folder = std::filesystem::current_path(error);
    EnterCgroups(m_cgroups);
    Require(
        setns(m_initPidfd.Get(), CLONE_NEWCGROUP | CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWNET),
        "enter", "the system's namespaces");
    DropMachineRights();
    ReturnTo(folder);
}

// OUTPUT is the command's standard output and error, -1 for the caller's own.
pid_t LiveSystem::Start(const std::vector<std::string>& command, int output) const
{
    Pipe report = MakePipe();
    const ChildrenInNamespaceOf inside(m_initPidfd);
    const pid_t child = Require(fork(), "fork into", "the system");
    if (child == 0) {
        const auto steps = [&] {
            Enter();
            if (output >= 0) {
                dup2(output, STDOUT_FILENO);
                dup2(output, STDERR_FILENO);
            }
            Execute(command);
        };
        ReportFailureOf(steps, report.write);
        _exit(kExitSetupFailed);
    }
    report.write.Close();
    try {
        ThrowReported(report.read);
    } catch (const Error&) {
        WaitForChild(child);
        throw;
    }
    return child;
}

int LiveSystem::Wait(pid_t child) const
{
    const int status = WaitForChild(child);
    const bool killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (killed && IsDown(500)) {
        throw Error("the system went down while the command ran", kExitSetupFailed);
    }
    return ExitCodeOf(status);
}

int LiveSystem::Run(const std::vector<std::string>& command) const
{
    const pid_t child = Start(command, -1);
    const KeyboardSignalsIgnored ignored;
    return Wait(child);
}

void LiveSystem::TakeDown()
{
    AwaitGone();
}

void LiveSystem::AwaitGone()
{
    if (m_keeper.Get() < 0) {
        return;
    }
    m_cgroups.clear(); // an open folder would keep its hierarchy alive
    shutdown(m_keeper.Get(), SHUT_WR);
    std::optional<LiveMessage> message;
    do {
        message = ReceiveLiveMessage(m_keeper);
    } while (message && message->event != LiveEvent::Gone);
    m_keeper.Close();
    if (!message) {
        if (m_init > 0) {
            syscall(SYS_pidfd_send_signal, m_initPidfd.Get(), SIGKILL, nullptr, 0);
        }
        CleanUpForKeeper(m_plan.cgroups);
    } else if (!message->text.empty()) {
        throw Error(message->text, kExitSetupFailed);
    }
}

} // namespace VeskGround
