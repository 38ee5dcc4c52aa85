#include <algorithm>
#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "files.hpp"
#include "journal_capture.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kFolder = "/run/vesksystemd/reasons/foo.service";

std::ptrdiff_t CountReloads(JournalCapture& journal)
{
    const std::vector<SyslogLine> lines = journal.Take();
    return std::count_if(lines.begin(), lines.end(), [](const SyslogLine& line) {
        return line.message == "vesksystemd: daemon reload success!";
    });
}

TEST(ReasonsLive, AServiceThatIsStoppedUnderTwoReasonsStartsUnderEitherOfThem)
{
    AddUnit("foo.service", RunningService());
    MustSystemctl({"start", "foo.service"});
    JournalCapture journal;

    EXPECT_TRUE(VESKSystemdServiceStopByReason("a", "foo"));
    EXPECT_EQ(ActiveState("foo.service"), "inactive");
    EXPECT_EQ(CountReloads(journal), 1);
    EXPECT_TRUE(VESKSystemdServiceStopByReason("b", "foo"));
    EXPECT_EQ(ActiveState("foo.service"), "inactive");
    EXPECT_THAT(ListFolder(kFolder), ElementsAre("a", "b"));
    EXPECT_EQ(CountReloads(journal), 0);

    EXPECT_TRUE(VESKSystemdServiceStartByReason("a", "foo"));
    EXPECT_EQ(ActiveState("foo.service"), "active");
    EXPECT_THAT(ListFolder(kFolder), ElementsAre("b"));
    EXPECT_EQ(CountReloads(journal), 0);

    EXPECT_TRUE(VESKSystemdServiceReasonRemove("b", "foo"));
    EXPECT_EQ(ActiveState("foo.service"), "active");
    EXPECT_THAT(ListFolder(kFolder), IsEmpty());
    EXPECT_EQ(CountReloads(journal), 1);
}

TEST(ReasonsLive, StartByReasonForgetsAnEarlierFailure)
{
    AddUnit("foo.service", OneshotService("/bin/sh -c 'test -e /run/good'").Service("RemainAfterExit=yes"));
    EXPECT_TRUE(VESKSystemdServiceStopByReason("a", "foo"));
    EXPECT_FALSE(VESKSystemdStart("foo"));
    ASSERT_EQ(ActiveState("foo.service"), "failed");
    WriteText("/run/good", "");
    EXPECT_TRUE(VESKSystemdServiceStartByReason("a", "foo"));
    EXPECT_EQ(ActiveState("foo.service"), "active");
}

TEST(ReasonsLive, AServiceThatDoesNotExistKeepsItsReasonAndFails)
{
    EXPECT_FALSE(VESKSystemdServiceStopByReason("a", "foo"));
    EXPECT_THAT(ListFolder(kFolder), ElementsAre("a"));
    EXPECT_FALSE(VESKSystemdServiceStartByReason("a", "foo"));
    EXPECT_THAT(ListFolder(kFolder), IsEmpty());
}

TEST(ReasonsLive, OfOneServiceEndAsSixteenProcessesAtOnceLeaveThem)
{
    AddUnit("foo.service", RunningService());
    MustSystemctl({"start", "foo.service"});

    const std::vector<Ending> endings = RunAtOnce(16, [](int process) {
        const std::string own = "own" + std::to_string(process);
        bool result = VESKSystemdServiceStopByReason(own, "foo");
        result = VESKSystemdServiceStopByReason("common", "foo") && result;
        result = VESKSystemdServiceReasonRemove("common", "foo") && result;
        result = (process % 4 == 0 || VESKSystemdServiceReasonRemove(own, "foo")) && result;
        return result ? 0 : 1;
    });

    EXPECT_THAT(endings, Each(Exited(0)));
    EXPECT_THAT(ListFolder(kFolder), ElementsAre("own0", "own12", "own4", "own8"));
    EXPECT_EQ(ActiveState("foo.service"), "inactive");
    std::vector<std::string> services;
    EXPECT_TRUE(VESK::Systemd::ListServicesWithReason(services));
    EXPECT_THAT(services, ElementsAre("foo.service"));
}

} // namespace
} // namespace VeskTest
