// Many processes at one service's reasons.

#include <algorithm>
#include <sys/wait.h>
#include <unistd.h>

#include "children.hpp"
#include "reasons_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAreArray;

constexpr int kProcesses = 16;
constexpr int kRounds = 5;

// Each even process leaves its own reason, each odd one clears it; all also set and clear a common one.
bool SetAndClear(int process)
{
    const std::string own = "own" + std::to_string(process);
    bool result = true;
    for (int round = 0; round < kRounds; ++round) {
        result = VESKSystemdServiceStopByReason(own, "foo") && result;
        result = VESKSystemdServiceStopByReason("common", "foo.service") && result;
        result = VESKSystemdServiceReasonRemove("common", "foo") && result;
        result = VESKSystemdServiceStartByReason(own, "foo") && result;
    }
    return (process % 2 != 0 || VESKSystemdServiceStopByReason(own, "foo")) && result;
}

TEST_F(Reasons, OfOneServiceEndAsSixteenProcessesAtOnceLeaveThem)
{
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(SetAndClear(process) ? 0 : 1);
        }
        children.push_back(child);
    }
    Words expected;
    for (int process = 0; process < kProcesses; process += 2) {
        expected.push_back("own" + std::to_string(process));
    }
    std::sort(expected.begin(), expected.end());
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_THAT(ListFolder(ReasonFolder("foo.service")), ElementsAreArray(expected));
    EXPECT_THAT(log.Take(), Each(::testing::Field(&SyslogLine::level, 6)));
}

} // namespace
} // namespace VeskTest
