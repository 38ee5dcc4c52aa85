#include "children.hpp"

#include <cctype>
#include <csignal>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <list>
#include <ostream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "error.hpp"
#include "fields.hpp"

namespace VeskTest
{

namespace
{

constexpr int kThrewException = 99;

// Reads "PID (NAME) STATE PARENT ..."; the name may contain anything.
void AddIfChild(pid_t pid, Children& children)
{
    const std::string stat = VeskGround::ReadFile("/proc/" + std::to_string(pid) + "/stat");
    const std::size_t nameEnd = stat.rfind(") ");
    if (nameEnd == std::string::npos || VeskGround::LeadingNumber(stat.substr(nameEnd + 4)) != getpid()) {
        return;
    }
    (stat[nameEnd + 2] == 'Z' ? children.zombies : children.running).push_back(pid);
}

int CallSafely(const std::function<int()>& function)
{
    try {
        return function();
    } catch (const std::exception&) {
        return kThrewException;
    }
}

Ending EndingOf(int status)
{
    return WIFEXITED(status) ? Exited(WEXITSTATUS(status)) : Signalled(WTERMSIG(status));
}

} // namespace

Children ListChildren()
{
    Children children;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (std::isdigit(static_cast<unsigned char>(name[0])) != 0) {
            AddIfChild(VeskGround::LeadingNumber(name), children);
        }
    }
    return children;
}

bool operator==(const Ending& left, const Ending& right)
{
    return left.kind == right.kind && left.number == right.number;
}

bool operator!=(const Ending& left, const Ending& right)
{
    return !(left == right);
}

std::ostream& operator<<(std::ostream& stream, const Ending& ending)
{
    switch (ending.kind) {
    case Ending::Kind::Exited:
        return stream << "exited with " << ending.number;
    case Ending::Kind::Signalled:
        return stream << "killed by signal " << ending.number;
    case Ending::Kind::TimedOut:
        break;
    }
    return stream << "timed out";
}

Ending Exited(int code)
{
    return {Ending::Kind::Exited, code};
}

Ending Signalled(int signal)
{
    return {Ending::Kind::Signalled, signal};
}

OtherProcess::OtherProcess(const std::function<int()>& function)
    : m_pid(VeskGround::Require(fork(), "fork for", "a test's child"))
{
    if (m_pid == 0) {
        _exit(CallSafely(function));
    }
}

OtherProcess::~OtherProcess()
{
    if (!m_reaped) {
        Kill();
        waitpid(m_pid, nullptr, 0);
    }
}

void OtherProcess::Kill() const
{
    kill(m_pid, SIGKILL);
}

Ending OtherProcess::Wait(std::chrono::milliseconds limit)
{
    int status = 0;
    m_reaped = Eventually([&] { return waitpid(m_pid, &status, WNOHANG) == m_pid; }, limit);
    if (!m_reaped) {
        return {Ending::Kind::TimedOut, 0};
    }
    return EndingOf(status);
}

std::vector<Ending> RunAtOnce(int count, const std::function<int(int)>& function,
                              std::chrono::milliseconds limit)
{
    std::list<OtherProcess> children;
    for (int number = 0; number < count; ++number) {
        children.emplace_back([&function, number] { return function(number); });
    }
    std::vector<Ending> endings;
    for (OtherProcess& child : children) {
        endings.push_back(child.Wait(limit));
    }
    return endings;
}

Ending RunInChild(const std::function<int()>& function, std::chrono::milliseconds limit)
{
    return OtherProcess(function).Wait(limit);
}

bool Eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

} // namespace VeskTest
