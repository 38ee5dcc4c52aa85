#include "core/pause.hpp"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <unistd.h>

namespace VESK::Systemd
{
namespace
{

using Clock = std::chrono::steady_clock;

void SleepUntil(Clock::time_point end)
{
    const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(end.time_since_epoch());
    timespec until{};
    until.tv_sec = static_cast<time_t>(since.count() / 1000000000);
    until.tv_nsec = static_cast<long>(since.count() % 1000000000);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

} // namespace

void PauseSecond()
{
    const auto end = Clock::now() + std::chrono::seconds(1);
    errno = 0;
    if (sleep(1) != 0 || errno == EINTR) {
        SleepUntil(end);
    }
}

void PauseHalfSecond()
{
    const auto end = Clock::now() + std::chrono::milliseconds(500);
    if (usleep(500000) != 0) {
        SleepUntil(end);
    }
}

} // namespace VESK::Systemd
