// The adapter's process. Without a listing it becomes the real systemctl; for one it stays in front of it,
// hands on the signals it gets and ends as the real one does.

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <iostream>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "descriptor.hpp"
#include "error.hpp"
#include "systemctl_adapter.hpp"

namespace
{

using namespace VeskGround;

constexpr int kExitNotExecutable = 126;

sigset_t RelayedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int relayed : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGCONT, SIGWINCH}) {
        sigaddset(&signals, relayed);
    }
    return signals;
}

[[noreturn]] void BecomeReal(char** arguments)
{
    execv(kRealSystemctl, arguments);
    std::perror(kRealSystemctl);
    _exit(kExitNotExecutable);
}

class Relay
{
public:
    Relay(Listing listing, char** arguments)
        : m_stream(listing)
    {
        const sigset_t relayed = RelayedSignals();
        sigprocmask(SIG_BLOCK, &relayed, &m_mask);
        m_signals = Descriptor(Require(signalfd(-1, &relayed, SFD_CLOEXEC), "make a", "signalfd"));
        Start(arguments);
    }

    // The wait status of the real program.
    int Run()
    {
        const Descriptor ended(
            static_cast<int>(Require(syscall(SYS_pidfd_open, m_child, 0), "watch", "systemctl")));
        bool running = true;
        while (running || m_output.Get() >= 0) {
            std::array<pollfd, 3> events = {{{m_output.Get(), POLLIN, 0},
                                             {m_signals.Get(), POLLIN, 0},
                                             {running ? ended.Get() : -1, POLLIN, 0}}};
            poll(events.data(), events.size(), -1);
            if (events[1].revents != 0) {
                HandSignalOn();
            }
            if (events[0].revents != 0) {
                CopyOutput();
            }
            running = running && events[2].revents == 0;
        }
        int status = 0;
        while (waitpid(m_child, &status, 0) < 0 && errno == EINTR) {
        }
        sigprocmask(SIG_SETMASK, &m_mask, nullptr);
        return status;
    }

private:
    void Start(char** arguments)
    {
        Pipe output = MakePipe();
        const pid_t self = getpid();
        m_child = Require(fork(), "fork", "systemctl");
        if (m_child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
            if (getppid() != self) {
                _exit(kExitNotExecutable);
            }
            dup2(output.write.Get(), STDOUT_FILENO);
            sigprocmask(SIG_SETMASK, &m_mask, nullptr);
            BecomeReal(arguments);
        }
        m_output = std::move(output.read);
    }

    void HandSignalOn() const
    {
        signalfd_siginfo info{};
        if (read(m_signals.Get(), &info, sizeof info) == sizeof info) {
            kill(m_child, static_cast<int>(info.ssi_signo));
        }
    }

    void CopyOutput()
    {
        std::array<char, 65536> buffer{};
        const ssize_t count = read(m_output.Get(), buffer.data(), buffer.size());
        if (count > 0) {
            Print(m_stream.Feed(std::string(buffer.data(), static_cast<std::size_t>(count))));
        } else if (count == 0 || errno != EINTR) {
            Print(m_stream.Finish());
            m_output.Close();
        }
    }

    static void Print(const std::string& text) { WriteAll(STDOUT_FILENO, text, "the standard output"); }

    DialectStream m_stream;
    sigset_t m_mask{};
    Descriptor m_signals;
    Descriptor m_output;
    pid_t m_child = -1;
};

int EndAs(Listing listing, int status)
{
    if (WIFSIGNALED(status)) {
        static_cast<void>(std::signal(WTERMSIG(status), SIG_DFL));
        kill(getpid(), WTERMSIG(status));
        return 128 + WTERMSIG(status);
    }
    return ToPlatformExitCode(listing, WEXITSTATUS(status));
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Listing listing = ListingOf(std::vector<std::string>(argv, argv + argc));
        if (listing == Listing::None) {
            BecomeReal(argv);
        }
        return EndAs(listing, Relay(listing, argv).Run());
    } catch (const std::exception& error) {
        std::cerr << "systemctl adapter: " << error.what() << "\n";
        return kExitNotExecutable;
    }
}
