#include <gmock/gmock.h>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "event_log.hpp"
#include "holdings.hpp"
#include "paths.hpp"
#include "syslog_capture.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Words = std::vector<std::string>;

constexpr int kStart = 1;
constexpr int kStop = 2;

// The units a, b and c.socket have display names, and "plain" has none.
class LogAction : public ::testing::Test
{
protected:
    LogAction()
    {
        WriteUnitFile(UnitFolder::Usr, "a.service", "[X-Veskline]\nName=App A\n");
        WriteUnitFile(UnitFolder::Usr, "b.service", "[X-Veskline]\nName=App; \"B\" $HOME\n");
        WriteUnitFile(UnitFolder::Run, "c.socket", "[X-Veskline]\nName=C\n");
        WriteUnitFile(UnitFolder::Usr, "plain.service", "[Unit]\nDescription=plain\n");
    }

    Words Entries() const
    {
        Words entries;
        for (const Call& call : eventLog.Calls()) {
            EXPECT_EQ(call.argv.at(0), kEventLogProgram);
            EXPECT_EQ(call.arguments.size(), 3U);
            entries.push_back(call.arguments.at(0) + "|" + call.arguments.at(1) + "|" + call.arguments.at(2));
        }
        return entries;
    }

    EventLog eventLog;
    SyslogCapture log;
};

TEST_F(LogAction, WritesOneEntryForAllUnitsOfASuccess)
{
    VESKSystemdLogAction(kStart, true, {"b", "a", "c.socket"}, {});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|0001|App; \"B\" $HOME, App A, C"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(LogAction, WritesTheUnitsThatDidNotFailFirstAndThenThoseThatDid)
{
    VESKSystemdLogAction(kStart, false, {"a", "b", "c.socket"}, {"c.socket", "a"});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|0001|App; \"B\" $HOME", "vesksystemd|0011|C, App A"));
}

TEST_F(LogAction, HasOtherCodesForAStop)
{
    VESKSystemdLogAction(kStop, false, {"a", "b"}, {"b"});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|0002|App A", "vesksystemd|0012|App; \"B\" $HOME"));
}

TEST_F(LogAction, WritesTheFailedEvenOfASuccess)
{
    VESKSystemdLogAction(kStart, true, {"a"}, {"a"});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|0001|App A", "vesksystemd|0011|App A"));
}

TEST_F(LogAction, ComparesNamesAsTheyAreWritten)
{
    VESKSystemdLogAction(kStart, false, {"a"}, {"a.service"});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|0001|App A", "vesksystemd|0011|App A"));
}

TEST_F(LogAction, LeavesOutUnitsWithoutADisplayName)
{
    VESKSystemdLogAction(kStart, true, {"plain", "a", "no-such-unit", ""}, {});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|0001|App A"));
}

TEST_F(LogAction, WritesNothingWhenNoUnitHasADisplayName)
{
    VESKSystemdLogAction(kStart, false, {"plain", "no-such-unit"}, {"plain"});
    VESKSystemdLogAction(kStart, true, {}, {});
    EXPECT_THAT(Entries(), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(LogAction, KeepsRepeatedUnits)
{
    VESKSystemdLogAction(kStart, false, {"a", "a"}, {"c.socket", "c.socket"});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|0001|App A, App A", "vesksystemd|0011|C, C"));
}

TEST_F(LogAction, WritesItsCodeAsFourLowerCaseDigits)
{
    VESKSystemdLogAction(0xAB, false, {"a"}, {"b"});
    EXPECT_THAT(Entries(), ElementsAre("vesksystemd|00ab|App A", "vesksystemd|00bb|App; \"B\" $HOME"));
}

TEST_F(LogAction, LogsEachEntryThatTheToolRefuses)
{
    eventLog.AnswerWith(1);
    VESKSystemdLogAction(kStop, false, {"a", "b"}, {"b"});
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("systemd_internal_lib.cpp",
                                  "vesksystemd: failed to write vesklog for units: App A"),
                            Error("systemd_internal_lib.cpp",
                                  "vesksystemd: failed to write vesklog for units: App; \"B\" $HOME")));
}

TEST_F(LogAction, LogsTheEntryWhenThereIsNoToolAndLeavesNothingBehind)
{
    eventLog.Remove();
    const Holdings before = Holdings::Now();
    VESKSystemdLogAction(kStart, true, {"a", "b"}, {});
    EXPECT_EQ(Holdings::Now(), before);
    EXPECT_THAT(log.Take(),
                ElementsAre(Error("systemd_internal_lib.cpp", "vesksystemd: failed to write vesklog for "
                                                              "units: App A, App; \"B\" $HOME")));
}

} // namespace
} // namespace VeskTest
