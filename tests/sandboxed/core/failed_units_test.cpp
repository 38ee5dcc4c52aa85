#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <syslog.h>
#include <vector>
#include <vesksystemd.hpp>

#include "c_library_faults.hpp"
#include "shell.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using VESK::Systemd::FailedUnitsCopy;
using VESK::Systemd::FailedUnitsGet;
using Words = std::vector<std::string>;

constexpr const char* kFile = "systemd_internal_lib.cpp";

Words FailedIn(const Words& units, const Words& lines)
{
    Words failed;
    FailedUnitsGet(units, lines, failed);
    return failed;
}

auto Unexpected(const std::string& unit)
{
    return Error(kFile, "vesksystemd: unexpected failed unit [" + unit + "].");
}

// What a systemctl of version 252 says, line by line.
struct Message {
    const char* name;
    Words lines;
    const char* failed; // the unit that the lines name; null for none
};

const Message kMessages[] = {
    {"ControlProcessFailed",
     {"Job for foo.service failed because the control process exited with error code.\n",
      "See \"systemctl status foo.service\" and \"journalctl -xeu foo.service\" for details.\n"},
     "foo.service"},
    {"ControlProcessKilled",
     {"Job for foo.service failed because a fatal signal was delivered to the control process.\n"},
     "foo.service"},
    {"TimedOut", {"Job for foo.service failed because a timeout was exceeded.\n"}, "foo.service"},
    {"UnknownToStart", {"Failed to start foo.service: Unit foo.service not found.\n"}, "foo.service"},
    {"UnknownToStop", {"Failed to stop foo.service: Unit foo.service not loaded.\n"}, "foo.service"},
    {"DependencyFailed",
     {"A dependency job for foo.service failed. See 'journalctl -xe' for details.\n"},
     "foo.service"},
    {"Canceled", {"Job for foo.service canceled.\n"}, "foo.service"},
    {"Masked", {"Failed to start foo.service: Unit foo.service is masked.\n"}, "foo.service"},
    {"IsolateRefused",
     {"Failed to start foo.service: Operation refused, unit may not be isolated.\n"},
     "foo.service"},
    {"ReloadOfInactive", {"foo.service is not active, cannot reload.\n"}, nullptr},
    {"NoLineFeedAtTheEnd", {"Job for foo.service failed."}, "foo.service"},
    {"FailedWithMoreWords", {"Failed to try-restart and reload foo.service: Access denied\n"}, "foo.service"},
};

class SystemctlSays : public ::testing::TestWithParam<Message>
{
};

INSTANTIATE_TEST_SUITE_P(Messages, SystemctlSays, ::testing::ValuesIn(kMessages),
                         [](const auto& row) { return row.param.name; });

TEST_P(SystemctlSays, WhichUnitFailed)
{
    const Words expected = GetParam().failed == nullptr ? Words() : Words{"foo"};
    SyslogCapture log;
    EXPECT_EQ(FailedIn({"bar", "foo"}, GetParam().lines), expected);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_P(SystemctlSays, AUnitThatIsNotTheCallers)
{
    SyslogCapture log;
    EXPECT_THAT(FailedIn({"foo.socket", "fo"}, GetParam().lines), IsEmpty());
    if (GetParam().failed == nullptr) {
        EXPECT_THAT(log.Take(), IsEmpty());
    } else {
        EXPECT_THAT(log.Take(), ElementsAre(Unexpected(GetParam().failed)));
    }
}

TEST(FailedUnitsGet, GivesTheNamesThatTheCallerUsed)
{
    EXPECT_THAT(FailedIn({"a", "b.service", "c.socket"},
                         {"Job for c.socket canceled.\n", "Job for b.service failed.\n", "noise\n",
                          "Job for a.service failed.\n"}),
                ElementsAre("c.socket", "b.service", "a"));
}

TEST(FailedUnitsGet, AppendsToWhatIsThere)
{
    Words failed{"earlier"};
    FailedUnitsGet({"a"}, {"Job for a.service failed.\n"}, failed);
    EXPECT_THAT(failed, ElementsAre("earlier", "a"));
}

TEST(FailedUnitsGet, GivesAUnitOncePerLineThatNamesIt)
{
    EXPECT_THAT(FailedIn({"a"}, {"Job for a.service failed.\n", "Failed to start a.service: Why not.\n"}),
                ElementsAre("a", "a"));
}

TEST(FailedUnitsGet, GivesTheLaterOfTwoNamesForOneUnit)
{
    EXPECT_THAT(FailedIn({"a", "a.service"}, {"Job for a.service failed.\n"}), ElementsAre("a.service"));
    EXPECT_THAT(FailedIn({"a.service", "a"}, {"Job for a.service failed.\n"}), ElementsAre("a"));
}

TEST(FailedUnitsGet, DoesNotNormaliseWhatSystemctlSays)
{
    SyslogCapture log;
    EXPECT_THAT(FailedIn({"a"}, {"Job for a failed.\n"}), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAre(Unexpected("a")));
}

TEST(FailedUnitsGet, TriesThePatternsInTheirOrder)
{
    EXPECT_THAT(FailedIn({"a", "b"}, {"Job for a.service failed. Failed to start b.service: No.\n"}),
                ElementsAre("b"));
    EXPECT_THAT(FailedIn({"a", "b"}, {"Job for b.service canceled. Job for a.service failed.\n"}), IsEmpty())
        << "the second pattern takes all up to the last \"failed\"";
}

TEST(FailedUnitsGet, TakesAFailureWithoutAColonUpToTheEndOfItsLine)
{
    SyslogCapture log;
    EXPECT_THAT(FailedIn({"foo"}, {"Failed to start foo.service\n", "Failed to start foo.service"}),
                ElementsAre("foo"));
    EXPECT_THAT(log.Take(), ElementsAre(Unexpected("foo.service\n")));
}

TEST(FailedUnitsGet, LeavesEmptyListsAlone)
{
    SyslogCapture log;
    EXPECT_THAT(FailedIn({}, {}), IsEmpty());
    EXPECT_THAT(FailedIn({"a"}, {}), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_THAT(FailedIn({}, {"Job for a.service failed.\n"}), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAre(Unexpected("a.service")));
}

TEST(FailedUnitsGet, PassesOverLinesThatNameNothing)
{
    SyslogCapture log;
    EXPECT_THAT(
        FailedIn({"a", ""}, {"", "\n", "Failed to", "Failed to \n", "Failed to :", "Failed to start:\n",
                             "failed to start a.service: no\n", "Job for failed.\n", "Job for  canceled",
                             std::string("\0Job for a.service failed.\n", 27)}),
        IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(FailedUnitsGet, SeesALineUpToItsFirstZeroByte)
{
    SyslogCapture log;
    EXPECT_THAT(FailedIn({"a"}, {std::string("Job for a.service failed\0.", 26)}), IsEmpty());
    EXPECT_THAT(FailedIn({"a"}, {std::string("Job for a.service failed.\0rest", 30)}), ElementsAre("a"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(FailedUnitsGet, TakesNamesForNamesAndNotForPatterns)
{
    const Words units{"a.*", "(b", "c[0-9]+", "d\\x2d", "e@%i", "f|g"};
    for (const std::string& unit : units) {
        EXPECT_THAT(FailedIn(units, {"Job for " + unit + ".service failed.\n"}), ElementsAre(unit));
        EXPECT_THAT(FailedIn(units, {"Failed to start " + unit + ".service: No.\n"}), ElementsAre(unit));
    }
}

TEST(FailedUnitsGet, TakesALineOfAMegabyte)
{
    SyslogCapture log;
    const std::string name(std::size_t{1024} * 1024, 'x');
    EXPECT_THAT(FailedIn({name}, {"Job for " + name + ".service failed.\n"}), ElementsAre(name));
    EXPECT_THAT(FailedIn({"a"}, {name, "Failed to " + name}), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(FailedUnitsGet, LogsNothingWhenTheProcessLogsAlertsOnly)
{
    SyslogCapture log;
    const int before = setlogmask(LOG_UPTO(LOG_CRIT));
    EXPECT_THAT(FailedIn({}, {"Job for a.service failed.\n"}), IsEmpty());
    setlogmask(before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(FailedUnitsGet, NeedsNoPatternThatIsCompiledWhenUnitsFail)
{
    SyslogCapture log;
    const CLibraryFault fault(CLibraryFault::Regcomp);
    EXPECT_THAT(FailedIn({"a"}, {"Job for a.service failed.\n"}), ElementsAre("a"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(FailedUnitsGet, LogsPatternsThatCouldNotBeCompiledAndFindsNothing)
{
    const char* test = "--gtest_filter=FailedUnitsGet.LogsPatternsThatCouldNotBeCompiledAndFindsNothing";
    if (getenv(CLibraryFault::kNoPatterns) == nullptr) {
        const std::string program = std::filesystem::read_symlink("/proc/self/exe");
        const ShellResult result =
            RunShell(std::string(CLibraryFault::kNoPatterns) + "=1 " + program + " " + test);
        EXPECT_TRUE(result.ending == Exited(0)) << result.output;
        return;
    }
    SyslogCapture log;
    const auto line = Error(kFile, "vesksystemd: regcomp(): Memory exhausted");
    for (int times = 0; times < 2; ++times) {
        EXPECT_THAT(FailedIn({"a"}, {"Job for a.service failed.\n"}), IsEmpty());
        EXPECT_THAT(log.Take(), ElementsAre(line, line, line, line));
    }
}

TEST(FailedUnitsGet, LogsMatchesThatCannotBeMadeAndFindsNothing)
{
    SyslogCapture log;
    const CLibraryFault fault(CLibraryFault::Regexec);
    EXPECT_THAT(FailedIn({"a"}, {"Job for a.service failed.\n", "x"}), IsEmpty());
    EXPECT_THAT(log.Take(), AllOf(SizeIs(8), Each(Error(kFile, "vesksystemd: regexec(): Memory exhausted"))));
}

TEST(FailedUnitsGet, LogsAMatchWithoutItsGroupAndFindsNothing)
{
    SyslogCapture log;
    const CLibraryFault fault(CLibraryFault::RegexecGroup);
    EXPECT_THAT(FailedIn({"a"}, {"Job for a.service failed.\n"}), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAre(Error(kFile, "vesksystemd: Wrong pattern without parenthesis.")));
}

TEST(FailedUnitsCopy, AppendsAllUnitsInTheirOrder)
{
    Words failed{"earlier"};
    FailedUnitsCopy({"b", "a", "", "b"}, failed);
    EXPECT_THAT(failed, ElementsAre("earlier", "b", "a", "", "b"));
    FailedUnitsCopy({}, failed);
    EXPECT_THAT(failed, SizeIs(5));
}

TEST(FailedUnitsCopy, AppendsAListToItself)
{
    Words units{"a", "b", "c"};
    units.shrink_to_fit();
    FailedUnitsCopy(units, units);
    EXPECT_THAT(units, ElementsAre("a", "b", "c", "a", "b", "c"));
}

} // namespace
} // namespace VeskTest
