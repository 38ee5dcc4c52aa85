#pragma once

#include <chrono>
#include <csignal>

namespace VeskTest
{

// While it lives, SIGALRM arrives again and again, every millisecond if nothing else is said, at a handler that
// was set without SA_RESTART, so that every call of this process that blocks is interrupted. One at a time.
class SignalStorm
{
public:
    explicit SignalStorm(std::chrono::milliseconds period = std::chrono::milliseconds(1));
    ~SignalStorm();
    SignalStorm(const SignalStorm&) = delete;
    SignalStorm& operator=(const SignalStorm&) = delete;

    // How many signals have arrived: to show that there was a storm.
    static int Count();

private:
    struct sigaction m_before {
    };
};

} // namespace VeskTest
