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

void SetTimer(std::chrono::milliseconds period)
{
    const timeval time{static_cast<time_t>(period.count() / 1000),
                       static_cast<suseconds_t>(period.count() % 1000 * 1000)};
    const itimerval timer{time, time};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

SignalStorm::SignalStorm(std::chrono::milliseconds period)
{
    Counter() = 0;
    struct sigaction action {
    };
    action.sa_handler = CountSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, &m_before);
    SetTimer(period);
}

SignalStorm::~SignalStorm()
{
    SetTimer(std::chrono::milliseconds(0));
    sigaction(SIGALRM, &m_before, nullptr);
}

int SignalStorm::Count()
{
    return Counter();
}

} // namespace VeskTest
