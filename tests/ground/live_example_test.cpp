#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "journal_capture.hpp"
#include "live_units.hpp"

using namespace VeskTest;
using ::testing::Contains;

TEST(LiveExample, StartsAUnitAndLogsIt)
{
    AddUnit("foo.service", RunningService());
    JournalCapture journal;
    std::vector<std::string> failed;

    EXPECT_TRUE(VESKSystemdStart({"foo"}, failed));

    EXPECT_EQ(ActiveState("foo.service"), "active");
    EXPECT_THAT(journal.Take(), Contains(Info("systemd_start.cpp", "vesksystemd: [foo] started.")));
}
