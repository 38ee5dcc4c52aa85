#include "systemctl_adapter.hpp"

#include <cstddef>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace VeskGround
{

namespace
{

using Words = std::vector<std::string>;

Listing Asked(const Words& arguments)
{
    Words command = {"/usr/bin/systemctl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return ListingOf(command);
}

std::string Whole(Listing listing, const std::string& text)
{
    DialectStream stream(listing);
    const std::string begun = stream.Feed(text);
    return begun + stream.Finish();
}

class VerbAmongOptions : public testing::TestWithParam<Words>
{
};

TEST_P(VerbAmongOptions, IsFoundWhereverTheOptionsStand)
{
    Words command = GetParam();
    for (std::string& word : command) {
        word = word == "VERB" ? "list-jobs" : word;
    }
    EXPECT_EQ(Asked(command), Listing::Jobs);
    for (std::string& word : command) {
        word = word == "list-jobs" ? "list-unit-files" : word;
    }
    EXPECT_EQ(Asked(command), Listing::UnitFiles);
}

INSTANTIATE_TEST_SUITE_P(
    Adapter, VerbAmongOptions,
    testing::Values(Words{"VERB"}, Words{"VERB", "--no-legend"}, Words{"--no-legend", "VERB"},
                    Words{"VERB", "--no-legend", "--root=/.", "--type", "service"},
                    Words{"-t", "service", "VERB"}, Words{"-tservice", "VERB"},
                    Words{"--type", "service", "VERB"}, Words{"--typ", "x", "VERB"},
                    Words{"-p", "start", "VERB"}, Words{"--property", "stop", "VERB"},
                    Words{"-P", "Id", "VERB"}, Words{"-H", "host", "VERB"}, Words{"-Hhost", "VERB"},
                    Words{"-M", "machine", "VERB"}, Words{"-n", "3", "VERB"}, Words{"-o", "short", "VERB"},
                    Words{"-s", "9", "VERB"}, Words{"--root=/.", "VERB"}, Words{"--root", "/.", "VERB"},
                    Words{"--user", "VERB", "a.service"}, Words{"-al", "-q", "VERB"},
                    Words{"-alt", "service", "VERB"}, Words{"--", "VERB"},
                    Words{"--state", "list-units", "VERB", "--", "-x"}, Words{"--job-mode", "fail", "VERB"}));

class OtherCommand : public testing::TestWithParam<Words>
{
};

TEST_P(OtherCommand, IsNoListing)
{
    EXPECT_EQ(Asked(GetParam()), Listing::None);
}

INSTANTIATE_TEST_SUITE_P(Adapter, OtherCommand,
                         testing::Values(Words{}, Words{""}, Words{"start", "list-jobs"},
                                         Words{"show", "-p", "Id", "list-unit-files"},
                                         Words{"-t", "list-jobs"}, Words{"--type", "list-jobs", "start"},
                                         Words{"--type=list-jobs"}, Words{"--root", "list-unit-files"},
                                         Words{"list-units"}, Words{"list-job"}, Words{"list-jobsx"},
                                         Words{"LIST-JOBS"}, Words{"--help", "list-jobs"},
                                         Words{"list-jobs", "-h"}, Words{"--version", "list-jobs"},
                                         Words{"--no-such", "list-jobs"}, Words{"list-jobs", "--type"},
                                         Words{"--", "start", "list-jobs"},
                                         Words{"-o", "json", "list-unit-files"},
                                         Words{"list-unit-files", "--output=json-pretty"}));

TEST(Adapter, LeavesTheProgramsOtherNamesAlone)
{
    EXPECT_EQ(ListingOf({"/usr/sbin/shutdown", "list-jobs"}), Listing::None);
    EXPECT_EQ(ListingOf({"telinit", "list-jobs"}), Listing::None);
    EXPECT_EQ(ListingOf({"systemctl", "list-jobs"}), Listing::Jobs);
    EXPECT_EQ(ListingOf({}), Listing::None);
}

TEST(Adapter, MakesSuccessOfListJobsExitCodeOneAndNothingElse)
{
    EXPECT_EQ(ToPlatformExitCode(Listing::Jobs, 0), 1);
    EXPECT_EQ(ToPlatformExitCode(Listing::Jobs, 1), 1);
    EXPECT_EQ(ToPlatformExitCode(Listing::Jobs, 5), 5);
    EXPECT_EQ(ToPlatformExitCode(Listing::UnitFiles, 0), 0);
    EXPECT_EQ(ToPlatformExitCode(Listing::None, 0), 0);
}

TEST(JobRows, AreSeparatedBySingleBlanks)
{
    EXPECT_EQ(Whole(Listing::Jobs, "242 slow.service    start running\n"
                                   "  7 a.service       stop  waiting\n"
                                   "12  b.mount\trestart   waiting   \n"),
              "242 slow.service start running\n7 a.service stop waiting\n12 b.mount restart waiting\n");
}

TEST(JobRows, KeepTheLegend)
{
    EXPECT_EQ(Whole(Listing::Jobs,
                    "JOB UNIT         TYPE  STATE\n28  slow.service start running\n\n1 jobs listed.\n"),
              "JOB UNIT TYPE STATE\n28 slow.service start running\n\n1 jobs listed.\n");
    EXPECT_EQ(Whole(Listing::Jobs, "No jobs running.\n"), "No jobs running.\n");
}

TEST(JobRows, KeepThreeAndFiveColumns)
{
    EXPECT_EQ(Whole(Listing::Jobs, "1  a.service  start\n1 a.service start running  more\n"),
              "1 a.service start\n1 a.service start running more\n");
}

TEST(UnitFileRows, LoseThePreset)
{
    EXPECT_EQ(Whole(Listing::UnitFiles, "apt-daily.service                      static   -\n"
                                        "dbus.service   enabled   enabled\n"
                                        "system-systemd\\x2dcryptsetup.slice  static -\n"),
              "apt-daily.service static\ndbus.service enabled\nsystem-systemd\\x2dcryptsetup.slice static\n");
}

TEST(UnitFileRows, OfOneTwoOrFourColumnsKeepThem)
{
    EXPECT_EQ(Whole(Listing::UnitFiles, "a.service\nb.service  enabled\nc.service a  b   c\n"),
              "a.service\nb.service enabled\nc.service a b c\n");
}

TEST(UnitFileRows, KeepALegendOfTwoColumns)
{
    EXPECT_EQ(Whole(Listing::UnitFiles,
                    "UNIT FILE      STATE  PRESET\na.service  static -\n\n1 unit files listed.\n"),
              "UNIT FILE STATE\na.service static\n\n1 unit files listed.\n");
}

TEST(DialectStream, GivesTheSameForEveryCutOfTheInput)
{
    const std::string text = "1   a.service  start   running\n\n  \n22  b.service stop waiting";
    const std::string expected = "1 a.service start running\n\n\n22 b.service stop waiting";
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        DialectStream stream(Listing::Jobs);
        std::string output = stream.Feed(text.substr(0, cut));
        output += stream.Feed(text.substr(cut));
        EXPECT_EQ(output + stream.Finish(), expected) << "cut at " << cut;
    }
}

TEST(DialectStream, PassesALineOnAsSoonAsItIsWhole)
{
    DialectStream stream(Listing::Jobs);
    EXPECT_EQ(stream.Feed("1  a.service"), "");
    EXPECT_EQ(stream.Feed("  start running\n2"), "1 a.service start running\n");
    EXPECT_EQ(stream.Finish(), "2");
    EXPECT_EQ(stream.Finish(), "");
}

TEST(DialectStream, SurvivesBytesThatNoListingHas)
{
    const std::string zero("1\0x  b", 6);
    EXPECT_EQ(Whole(Listing::Jobs, zero), std::string("1\0x b", 5));
    EXPECT_EQ(Whole(Listing::Jobs, "\xff\xfe   \x80\n"), "\xff\xfe \x80\n");
    const std::string huge(1000000, 'x');
    EXPECT_EQ(Whole(Listing::UnitFiles, huge + "   " + huge + "  -\n"), huge + " " + huge + "\n");
    EXPECT_EQ(Whole(Listing::UnitFiles, std::string(100000, ' ') + "\n"), "\n");
    EXPECT_EQ(Whole(Listing::Jobs, "a\rb  c\r\n"), "a\rb c\r\n");
}

TEST(DialectStream, OfNoListingChangesNothing)
{
    EXPECT_EQ(Whole(Listing::None, "a  b\t\tc  \n\n d"), "a  b\t\tc  \n\n d");
}

} // namespace

} // namespace VeskGround
