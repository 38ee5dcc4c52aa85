#include "signal_storm.hpp"

#include <atomic>
#include <sys/time.h>

namespace VeskTest
{

namespace
{

std::atomic<int>& Counter()
{
    static std::atomic<int> counter{0};
    return counter;
}

void CountSignal(int)
{
    ++Counter();
}

void SetTimer(suseconds_t period)
{
    const itimerval timer{{0, period}, {0, period}};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

SignalStorm::SignalStorm()
{
    Counter() = 0;
    struct sigaction action {
    };
    action.sa_handler = CountSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, &m_before);
    SetTimer(1000);
}

SignalStorm::~SignalStorm()
{
    SetTimer(0);
    sigaction(SIGALRM, &m_before, nullptr);
}

int SignalStorm::Count()
{
    return Counter();
}

} // namespace VeskTest
