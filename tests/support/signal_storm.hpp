#pragma once

#include <csignal>

namespace VeskTest
{

// While it lives, SIGALRM arrives every millisecond at a handler that was set without SA_RESTART, so that
// every call of this process that blocks is interrupted again and again. One at a time.
class SignalStorm
{
public:
    SignalStorm();
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
