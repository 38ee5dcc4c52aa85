#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
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

// Runs FUNCTION in a forked child, which ends with its result as exit code (an exception is 99) and without
// this process's exit handlers. A child that takes longer than the limit is killed and reported as timed out.
Ending RunInChild(const std::function<int()>& function,
                  std::chrono::milliseconds limit = std::chrono::seconds(30));

// Waits until CONDITION holds; false when it does not within the limit.
bool Eventually(const std::function<bool()>& condition,
                std::chrono::milliseconds limit = std::chrono::seconds(30));

} // namespace VeskTest
