#include "sandbox_init.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "error.hpp"
#include "marker.hpp"
#include "namespaces.hpp"
#include "syslog_collector.hpp"

namespace VeskGround
{

namespace
{

sigset_t OnlySigchld()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    return set;
}

[[noreturn]] void Execute(const std::vector<std::string>& command, const sigset_t& mask)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    // Whatever the launcher itself was started with stays outside.
    close_range(3, UINT_MAX, CLOSE_RANGE_CLOEXEC);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    PrintError("vesk-sandbox: run " + command.front() + ": " + std::strerror(error));
    _exit(error == ENOENT ? 127 : 126);
}

// Reaps all children that have ended; true, with its wait status, when the one looked for was among them.
bool Reap(pid_t wanted, int& waitStatus)
{
    bool found = false;
    int status = 0;
    for (pid_t child = waitpid(-1, &status, WNOHANG); child > 0; child = waitpid(-1, &status, WNOHANG)) {
        if (child == wanted) {
            waitStatus = status;
            found = true;
        }
    }
    return found;
}

int Serve(pid_t command, SyslogCollector& collector, const Descriptor& childEvents)
{
    std::array<pollfd, 2> events = {{{collector.Socket(), POLLIN, 0}, {childEvents.Get(), POLLIN, 0}}};
    int status = 0;
    while (!Reap(command, status)) {
        poll(events.data(), events.size(), -1);
        collector.Collect();
        signalfd_siginfo info{};
        [[maybe_unused]] const ssize_t count = read(childEvents.Get(), &info, sizeof info);
    }
    return ExitCodeOf(status);
}

} // namespace

int RunAsInit(const std::vector<std::string>& command)
{
    WriteMarker("sandboxed");
    SyslogCollector collector;
    const sigset_t sigchld = OnlySigchld();
    sigset_t before;
    Require(sigprocmask(SIG_BLOCK, &sigchld, &before), "block", "SIGCHLD");
    const Descriptor childEvents(
        Require(signalfd(-1, &sigchld, SFD_CLOEXEC | SFD_NONBLOCK), "make", "a signal descriptor"));
    DropMachineRights();
    const pid_t child = Require(fork(), "fork for", command.front());
    if (child == 0) {
        Execute(command, before);
    }
    return Serve(child, collector, childEvents);
}

} // namespace VeskGround
