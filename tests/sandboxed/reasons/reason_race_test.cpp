// Many processes at one service's reasons.

#include <algorithm>

#include "children.hpp"
#include "reasons_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAreArray;
using ::testing::Field;

constexpr int kProcesses = 16;
constexpr int kRounds = 5;

std::string Own(int process)
{
    return "own" + std::to_string(process);
}

// Each even process leaves its own reason, each odd one clears it; all also set and clear a common one.
int SetAndClear(int process)
{
    bool result = true;
    for (int round = 0; round < kRounds; ++round) {
        result = VESKSystemdServiceStopByReason(Own(process), "foo") && result;
        result = VESKSystemdServiceStopByReason("common", "foo.service") && result;
        result = VESKSystemdServiceReasonRemove("common", "foo") && result;
        result = VESKSystemdServiceStartByReason(Own(process), "foo") && result;
    }
    const bool left = process % 2 != 0 || VESKSystemdServiceStopByReason(Own(process), "foo");
    return left && result ? 0 : 1;
}

TEST_F(Reasons, OfOneServiceEndAsSixteenProcessesAtOnceLeaveThem)
{
    EXPECT_THAT(RunAtOnce(kProcesses, SetAndClear), Each(Exited(0)));

    Words expected;
    for (int process = 0; process < kProcesses; process += 2) {
        expected.push_back(Own(process));
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), ElementsAreArray(expected));
    EXPECT_THAT(log.Take(), Each(Field(&SyslogLine::level, 6)));
}

} // namespace
} // namespace VeskTest
