// The library's pauses, which the spies of the sandboxed tests stand in for.

#include <chrono>
#include <gtest/gtest.h>

#include "core/pause.hpp"
#include "signal_storm.hpp"

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

INSTANTIATE_TEST_SUITE_P(, Pause,
                         ::testing::Values(PauseRow{"Second", PauseSecond, 1000ms},
                                           PauseRow{"HalfSecond", PauseHalfSecond, 500ms}),
                         [](const auto& row) { return row.param.name; });

} // namespace
} // namespace VeskTest
