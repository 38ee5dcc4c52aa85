#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <ostream>
#include <sys/types.h>
#include <vector>

namespace VeskTest
{

// The children of this process, zombies included.
struct Children {
    std::vector<pid_t> running;
    std::vector<pid_t> zombies;
};
Children ListChildren();

// How a child ended.
struct Ending {
    enum class Kind { Exited, Signalled, TimedOut };
    Kind kind = Kind::TimedOut;
    int number = 0; // the exit code or the signal
};

bool operator==(const Ending& left, const Ending& right);
bool operator!=(const Ending& left, const Ending& right);
std::ostream& operator<<(std::ostream& stream, const Ending& ending);

Ending Exited(int code);
Ending Signalled(int signal);

// Runs FUNCTION in a forked child, beside the test; the function's result is its exit code (an exception is
// 99), and none of this process's exit handlers runs. It is killed and reaped at the end.
class OtherProcess
{
public:
    explicit OtherProcess(const std::function<int()>& function);
    ~OtherProcess();
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    pid_t Pid() const { return m_pid; }

    // Kills it with SIGKILL and leaves it as a zombie.
    void Kill() const;

    // Waits for its end and reaps it.
    Ending Wait(std::chrono::milliseconds limit = std::chrono::seconds(30));

private:
    pid_t m_pid;
    bool m_reaped = false;
};

// Runs FUNCTION in such a child to its end. One that takes longer than the limit is killed and reported as
// timed out.
Ending RunInChild(const std::function<int()>& function,
                  std::chrono::milliseconds limit = std::chrono::seconds(30));

// Runs FUNCTION with 0 to COUNT - 1 in as many forked children at the same time, and waits for all.
std::vector<Ending> RunAtOnce(int count, const std::function<int(int)>& function,
                              std::chrono::milliseconds limit = std::chrono::seconds(30));

// Waits until CONDITION holds; false when it does not within the limit.
bool Eventually(const std::function<bool()>& condition,
                std::chrono::milliseconds limit = std::chrono::seconds(30));

} // namespace VeskTest
