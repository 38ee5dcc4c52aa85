// Both dialects of systemctl, on what its releases print.
#include <gmock/gmock.h>

#include "core/systemctl_dialect.hpp"

namespace VeskTest
{
namespace
{

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using VESK::Systemd::Answer;
using VESK::Systemd::AnswerInDialect;
using VESK::Systemd::DisablePassesOverMasked;
using VESK::Systemd::Request;
using VESK::Systemd::RequestInDialect;
using VESK::Systemd::SystemdKind;
using VESK::Systemd::Texts;

constexpr auto kCurrent = SystemdKind::Current;
constexpr auto kPlatform = SystemdKind::Platform;

Answer Given(int exitCode, const Texts& lines)
{
    return {true, exitCode, lines};
}

Answer Heard(const char* verb, const Answer& answer, SystemdKind kind = kCurrent)
{
    return AnswerInDialect(Request{verb, {"--no-legend"}, {}}, answer, kind);
}

Texts Jobs(const Texts& lines)
{
    return Heard("list-jobs", Given(0, lines)).vecLines;
}

Texts UnitFiles(const Texts& lines)
{
    return Heard("list-unit-files", Given(0, lines)).vecLines;
}

TEST(JobList, IsASuccessWithTheExitCodeOfThePlatform)
{
    EXPECT_EQ(Heard("list-jobs", Given(0, {})).nExitCode, 1);
    EXPECT_THAT(Heard("list-jobs", Given(0, {})).vecLines, IsEmpty());
    EXPECT_TRUE(Heard("list-jobs", Given(0, {})).blGiven);
}

TEST(JobList, ThatFailedIsNoSuccessAndKeepsItsLines)
{
    const Texts lines{"Failed to list jobs:  Connection  timed out\n", " 12  a.service start   waiting\n"};
    for (const int exitCode : {1, 2, 4, 5, 255}) {
        const Answer answer = Heard("list-jobs", Given(exitCode, lines));
        EXPECT_EQ(answer.nExitCode, exitCode == 1 ? 255 : exitCode);
        EXPECT_EQ(answer.vecLines, lines);
    }
}

TEST(JobList, OfASystemctlThatASignalEndedIsNoSuccess)
{
    Answer killed = Given(0, {" 12 a.service start waiting\n"});
    killed.blKilled = true;
    const Answer answer = Heard("list-jobs", killed);
    EXPECT_EQ(answer.nExitCode, 0);
    EXPECT_EQ(answer.vecLines, killed.vecLines);
}

TEST(JobList, ThatCouldNotBeAskedForStaysSo)
{
    const Answer answer = Heard("list-jobs", Answer());
    EXPECT_FALSE(answer.blGiven);
    EXPECT_EQ(answer.nExitCode, 0);
}

TEST(JobRows, HaveSingleSpacesBetweenTheirFields)
{
    EXPECT_THAT(Jobs({"242 slow.service    start running\n"}),
                ElementsAre("242 slow.service start running\n"));
    EXPECT_THAT(
        Jobs({"  7 a.service            stop    waiting\n", " 28 dev-sda\\x2d1.device start   running\n",
              "100 user@1000.service    restart waiting\n"}),
        ElementsAre("7 a.service stop waiting\n", "28 dev-sda\\x2d1.device start running\n",
                    "100 user@1000.service restart waiting\n"));
    EXPECT_THAT(Jobs({"1 a.service start running\n"}), ElementsAre("1 a.service start running\n"));
}

TEST(JobRows, MayHaveAnyBlanksAndLackTheLineFeed)
{
    EXPECT_THAT(Jobs({"\t7\ta.service \t stop  waiting  \r\n", "8  b.service  start  waiting \r"}),
                ElementsAre("7 a.service stop waiting\n", "8 b.service start waiting"));
}

TEST(JobRows, AreToldFromAllOtherLines)
{
    const Texts others{
        "",
        "\n",
        "   \n",
        "No jobs running.\n",
        "No jobs listed.\n",
        "JOB UNIT         TYPE  STATE\n",
        "\n",
        "1 jobs  listed.\n",
        "Warning:  The unit file changed on disk.\n",
        "Failed to   connect to bus: No such file or directory\n",
        "  7 a.service  stop\n",
        "  7 a.service  stop  waiting  more\n",
        " 7a a.service  stop  waiting\n",
        " -7 a.service  stop  waiting\n",
        std::string("  7  a\0b\n", 9),
    };
    EXPECT_THAT(Jobs(others), ElementsAreArray(others));
}

TEST(JobRows, MayBeMany)
{
    const Texts lines(10000, "   12345 a-service-with-a-long-name.service      start   waiting\n");
    EXPECT_THAT(Jobs(lines),
                AllOf(SizeIs(10000), Each("12345 a-service-with-a-long-name.service start waiting\n")));
}

TEST(UnitFileRows, OfReleasesWithTwoColumnsHaveSingleSpaces)
{
    EXPECT_THAT(UnitFiles({"proc-sys-fs-binfmt_misc.automount          static         \n",
                           "-.mount                                    generated      \n",
                           "getty@.service                             enabled        \n",
                           "tmp.mount                                  enabled-runtime\n"}),
                ElementsAre("proc-sys-fs-binfmt_misc.automount static\n", "-.mount generated\n",
                            "getty@.service enabled\n", "tmp.mount enabled-runtime\n"));
}

TEST(UnitFileRows, OfReleasesWithPresetsLoseThem)
{
    EXPECT_THAT(
        UnitFiles({"apt-daily.service                      static          -       \n",
                   "cron.service                           enabled         enabled\n",
                   "console-getty.service                  disabled        disabled     \n",
                   "systemd-sysext.service                 masked-runtime  ignored\n",
                   "dbus-org.freedesktop.hostname1.service alias           -\n", "a\\x2db.service bad -\n"}),
        ElementsAre("apt-daily.service static\n", "cron.service enabled\n",
                    "console-getty.service disabled\n", "systemd-sysext.service masked-runtime\n",
                    "dbus-org.freedesktop.hostname1.service alias\n", "a\\x2db.service bad\n"));
}

TEST(UnitFileRows, MayHaveAnyBlanksAndLackTheLineFeed)
{
    EXPECT_THAT(UnitFiles({"  a.service\t static \t -\r\n", "b.socket  enabled  enabled"}),
                ElementsAre("a.service static\n", "b.socket enabled"));
}

TEST(UnitFileRows, AreToldFromAllOtherLines)
{
    const Texts others{
        "",
        "\n",
        "UNIT FILE                 STATE           PRESET\n",
        "312 unit files listed.\n",
        "Failed to  open  enabled\n",
        "a.service  not  found\n",
        "a.service: Unit  enabled\n",
        "a.service  Unit  enabled\n",
        "a.service\n",
        "a.service  enabled enabled  enabled\n",
        "Warning:  enabled  -\n",
        "a.bar  enabled  enabled\n",
    };
    EXPECT_THAT(UnitFiles(others), ElementsAreArray(others));
}

TEST(UnitFileRows, MayBeMany)
{
    const Texts lines(10000, "a-service-with-a-long-name.service      enabled-runtime    enabled\n");
    EXPECT_THAT(UnitFiles(lines),
                AllOf(SizeIs(10000), Each("a-service-with-a-long-name.service enabled-runtime\n")));
}

TEST(UnitFileList, KeepsItsExitCodeAndTheLinesOfAFailure)
{
    const Texts lines{"a.service  enabled  enabled\n"};
    EXPECT_EQ(Heard("list-unit-files", Given(0, lines)).nExitCode, 0);
    EXPECT_EQ(Heard("list-unit-files", Given(1, lines)).nExitCode, 1);
    EXPECT_EQ(Heard("list-unit-files", Given(1, lines)).vecLines, lines);
}

TEST(OtherAnswers, StayAsTheyAre)
{
    const Texts lines{"  7 a.service  stop  waiting\n", "a.service  enabled  enabled\n"};
    for (const char* verb : {"list-units", "show", "start", "list-job", "List-jobs", ""}) {
        for (const int exitCode : {0, 1, 4}) {
            EXPECT_EQ(Heard(verb, Given(exitCode, lines)).nExitCode, exitCode) << verb;
            EXPECT_EQ(Heard(verb, Given(exitCode, lines)).vecLines, lines) << verb;
        }
    }
}

TEST(PlatformsAnswers, StayAsTheyAre)
{
    const Texts lines{"  7 a.service  stop  waiting\n", "a.service  enabled  enabled\n"};
    for (const char* verb : {"list-jobs", "list-unit-files", "show"}) {
        for (const int exitCode : {0, 1, 4}) {
            EXPECT_EQ(Heard(verb, Given(exitCode, lines), kPlatform).nExitCode, exitCode) << verb;
            EXPECT_EQ(Heard(verb, Given(exitCode, lines), kPlatform).vecLines, lines) << verb;
        }
    }
}

Texts Asked(const char* verb, const Texts& units, SystemdKind kind = kCurrent)
{
    const Request request = RequestInDialect(Request{verb, {"--no-legend"}, units, true, true}, kind);
    EXPECT_EQ(request.strVerb, verb);
    const bool isWhole = kind == kCurrent && std::string(verb).rfind("list-", 0) == 0;
    EXPECT_EQ(request.vecOptions, isWhole ? Texts({"--no-legend", "--full"}) : Texts({"--no-legend"}));
    EXPECT_TRUE(request.blForceSystem);
    EXPECT_TRUE(request.blMeasured);
    return request.vecUnits;
}

TEST(AskingForAListing, WantsNamesThatAreNotCut)
{
    EXPECT_THAT(RequestInDialect(Request{"list-unit-files", {"--type", "service"}, {}}, kCurrent).vecOptions,
                ElementsAre("--type", "service", "--full"));
}

TEST(ListOfUnitFiles, HasUnitsWhosePresetCannotBeTold)
{
    EXPECT_THAT(Heard("list-unit-files", Given(0, {"foo.service  enabled  n/a\n"})).vecLines,
                ElementsAre("foo.service enabled\n"));
}

TEST(AskingForJobs, CompletesShortNames)
{
    EXPECT_THAT(
        Asked("list-jobs", {"foo", "foo.bar", "user@1000", "a.b.c", "foo."}),
        ElementsAre("foo.service", "foo.bar.service", "user@1000.service", "a.b.c.service", "foo..service"));
    EXPECT_THAT(Asked("list-jobs", {}), IsEmpty());
}

TEST(AskingForJobs, LeavesFullNamesPathsAndPatternsAlone)
{
    const Texts units{"foo.service",    "foo.mount", "getty@.service", "getty@tty1.service",
                      "a\\x2db.device", "/mnt/x",    "foo*",           "fo?",
                      "[f]oo",          ""};
    EXPECT_EQ(Asked("list-jobs", units), units);
}

TEST(AskingForAnythingElse, LeavesNamesAlone)
{
    for (const char* verb : {"start", "list-unit-files", "show", ""}) {
        EXPECT_THAT(Asked(verb, {"foo"}), ElementsAre("foo")) << verb;
    }
    EXPECT_THAT(Asked("list-jobs", {"foo"}, kPlatform), ElementsAre("foo"));
}

TEST(Disable, PassesOverMaskedUnitsToday)
{
    EXPECT_TRUE(DisablePassesOverMasked(kCurrent));
    EXPECT_FALSE(DisablePassesOverMasked(kPlatform));
}

} // namespace
} // namespace VeskTest
