// The library's pauses, which the spies of the sandboxed tests stand in for.

#include <chrono>
#include <ctime>
#include <gtest/gtest.h>

#include "core/pause.hpp"
#include "next_function.hpp"
#include "signal_storm.hpp"

namespace
{

using Moment = std::chrono::steady_clock::time_point;

// When the rest of a pause is to end, and when that was asked for first.
Moment g_restEnd;
Moment g_restAsked;

} // namespace

extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* until, timespec* left)
{
    static const auto next = VeskTest::NextFunction<decltype(clock_nanosleep)>(
        VeskTest::WideName("clock_nanosleep", "__clock_nanosleep_time64"));
    if (g_restAsked == Moment()) {
        g_restAsked = std::chrono::steady_clock::now();
        g_restEnd = Moment(std::chrono::seconds(until->tv_sec) + std::chrono::nanoseconds(until->tv_nsec));
    }
    return next(clock, flags, until, left);
}

namespace VeskTest
{
namespace
{

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using VESK::Systemd::PauseHalfSecond;
using VESK::Systemd::PauseSecond;

struct PauseRow {
    const char* name;
    void (*pause)();
    std::chrono::milliseconds length;
};

void PrintTo(const PauseRow& row, std::ostream* stream)
{
    *stream << row.name;
}

class Pause : public ::testing::TestWithParam<PauseRow>
{
protected:
    static void ExpectWhole()
    {
        const auto begin = steady_clock::now();
        GetParam().pause();
        EXPECT_GE(steady_clock::now() - begin, GetParam().length);
    }
};

TEST_P(Pause, LastsItsWholeTime)
{
    ExpectWhole();
}

TEST_P(Pause, LastsItsWholeTimeThoughSignalsInterruptItAgainAndAgain)
{
    const SignalStorm storm;
    ExpectWhole();
    EXPECT_GT(SignalStorm::Count(), 1);
}

TEST_P(Pause, LastsItsWholeTimeThoughASignalInterruptsItShortlyBeforeItsEnd)
{
    const SignalStorm late(GetParam().length * 4 / 5);
    ExpectWhole();
    EXPECT_GT(SignalStorm::Count(), 0);
}

TEST_P(Pause, LastsNoLongerWhenASignalInterruptsIt)
{
    const auto begin = steady_clock::now();
    g_restAsked = Moment();
    const SignalStorm storm;
    GetParam().pause();
    EXPECT_GE(g_restEnd, begin + GetParam().length);
    EXPECT_LE(g_restEnd, g_restAsked + GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(, Pause,
                         ::testing::Values(PauseRow{"Second", PauseSecond, 1000ms},
                                           PauseRow{"HalfSecond", PauseHalfSecond, 500ms}),
                         [](const auto& row) { return row.param.name; });

} // namespace
} // namespace VeskTest
