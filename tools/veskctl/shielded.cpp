#include "shielded.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "output.hpp"

namespace Veskctl
{
namespace
{

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// What a signal handler may touch has to be global.
volatile sig_atomic_t signalTaken = 0;
volatile sig_atomic_t childToTell = 0;

void Take(int nSignal)
{
    signalTaken = nSignal;
    if (childToTell != 0) {
        kill(childToTell, nSignal);
    }
}

void SignalsTake()
{
    struct sigaction action {
    };
    action.sa_handler = Take;
    for (const int nSignal : kSignals) {
        sigaction(nSignal, &action, nullptr);
    }
}

/** Waits for a child, and passes on to it what asks this process to end; -1 for one that was not this process's. */
int ChildWait(pid_t nChild)
{
    childToTell = nChild;
    if (signalTaken != 0) {
        kill(nChild, signalTaken);
    }
    int nStatus = 0;
    pid_t nWaited = 0;
    do {
        nWaited = waitpid(nChild, &nStatus, WUNTRACED);
        if (nWaited == nChild && WIFSTOPPED(nStatus)) {
            // Nobody could let it go on.
            kill(-nChild, SIGCONT);
        }
    } while (nWaited == nChild ? WIFSTOPPED(nStatus) : errno == EINTR);
    childToTell = 0;
    if (nWaited != nChild) {
        return -1;
    }
    return WIFSIGNALED(nStatus) ? 128 + WTERMSIG(nStatus) : WEXITSTATUS(nStatus);
}

/** Makes a group the one that the terminal's keys reach, if this process is on a terminal at all. */
void TerminalGive(pid_t nGroup)
{
    if (isatty(STDIN_FILENO) != 0) {
        tcsetpgrp(STDIN_FILENO, nGroup);
    }
}

/** Attributes of a child with a group of its own and the usual signals. */
class SpawnAttributes
{
public:
    SpawnAttributes()
    {
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setflags(&m_attributes,
                                 POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        sigset_t all;
        sigfillset(&all);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&m_attributes, &none);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* Get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

} // namespace

bool IsInterrupted()
{
    return signalTaken != 0;
}

Exit Shielded(const std::function<Exit()>& work)
{
    std::cout << std::flush;
    SignalsTake();
    const pid_t nChild = fork();
    if (nChild < 0) {
        throw std::runtime_error("no child can be made for the work");
    }
    if (nChild == 0) {
        setpgid(0, 0);
        // Who is not in front may change who is, and print.
        signal(SIGTTOU, SIG_IGN);
        // A reader of what this prints that goes away does not end it.
        signal(SIGPIPE, SIG_IGN);
        const Exit result = work();
        std::cout << std::flush;
        _exit(static_cast<int>(result));
    }
    const int nResult = ChildWait(nChild);
    return nResult >= 0 && nResult <= static_cast<int>(Exit::NotPermitted) ? static_cast<Exit>(nResult)
                                                                           : Exit::Failed;
}

std::vector<char*> ArgumentsOf(const Texts& vecCommand)
{
    std::vector<char*> vecArguments;
    for (const std::string& strArgument : vecCommand) {
        vecArguments.push_back(const_cast<char*>(strArgument.c_str()));
    }
    vecArguments.push_back(nullptr);
    return vecArguments;
}

int CommandRun(const Texts& vecCommand)
{
    std::cout << std::flush;
    const std::vector<char*> vecArguments = ArgumentsOf(vecCommand);
    const SpawnAttributes attributes;
    const pid_t nBefore = isatty(STDIN_FILENO) != 0 ? tcgetpgrp(STDIN_FILENO) : -1;
    pid_t nChild = 0;
    const int nError =
        posix_spawnp(&nChild, vecArguments[0], nullptr, attributes.Get(), vecArguments.data(), environ);
    if (nError != 0) {
        Complain(vecCommand[0] + ": " + strerror(nError));
        return 127;
    }
    TerminalGive(nChild);
    kill(-nChild, SIGCONT);
    const int nResult = ChildWait(nChild);
    if (nBefore > 0) {
        TerminalGive(nBefore);
    }
    return nResult;
}

bool CommandDone(const Texts& vecCommand)
{
    const int nExit = CommandRun(vecCommand);
    if (nExit != 0) {
        Complain(vecCommand[0] + " ended with " + std::to_string(nExit));
    }
    return nExit == 0;
}

} // namespace Veskctl
