#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <veskcore.h>

#include "files.hpp"
#include "run_program.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

constexpr const char* kProgram = "/usr/vesk/bin/vesklogset";
constexpr const char* kLog = "/var/log/vesk/event.log";
const std::string kTime =
    "20[0-9][0-9]-[0-9][0-9]-[0-9][0-9]T[0-9][0-9]:[0-9][0-9]:[0-9][0-9][+-][0-9][0-9]:[0-9][0-9]";

std::string Entry(const std::string& module, const std::string& code, const std::string& names)
{
    const std::size_t before = Exists(kLog) ? ReadText(kLog).size() : 0;
    EXPECT_EQ(RunProgram({kProgram, module, code, names}).status, ExitStatus(0));
    return ReadText(kLog).substr(before);
}

/** The entry without its time. */
std::string Words(const std::string& module, const std::string& code, const std::string& names)
{
    const std::string entry = Entry(module, code, names);
    EXPECT_THAT(entry, MatchesRegex(kTime + " .*\n"));
    return entry.substr(entry.find(' ') + 1);
}

TEST(EventLog, GetsTimeModuleCodeMeaningAndNames)
{
    EXPECT_EQ(Words("vesksystemd", "0001", "File station, Photos"),
              "vesksystemd 0001 started: File station, Photos\n");
    EXPECT_EQ(Words("vesksystemd", "0011", "A"), "vesksystemd 0011 failed to start: A\n");
    EXPECT_EQ(Words("vesksystemd", "0002", "A"), "vesksystemd 0002 stopped: A\n");
    EXPECT_EQ(Words("vesksystemd", "0012", "A"), "vesksystemd 0012 failed to stop: A\n");
}

TEST(EventLog, ShowsAnUnknownCodeAsSuch)
{
    EXPECT_EQ(Words("other", "0003", "A"), "other 0003 unknown code: A\n");
}

TEST(EventLog, GetsTheLocalTimeWithItsOffset)
{
    setenv("TZ", "XXX-05:30", 1);
    EXPECT_THAT(Entry("m", "0001", "A"), HasSubstr("+05:30 m"));
    setenv("TZ", "XXX03", 1);
    EXPECT_THAT(Entry("m", "0001", "A"), HasSubstr("-03:00 m"));
}

TEST(EventLog, GetsOneLineWhateverANameContains)
{
    EXPECT_EQ(Words("m\n", "00\t01", "a\nb\rc\x7f\x1b[31m\\n \xC3\xA4"),
              "m\\x0a 00\\x0901 unknown code: a\\x0ab\\x0dc\\x7f\\x1b[31m\\x5cn \xC3\xA4\n");
}

TEST(EventLog, ShowsC1ControlsSeparatorsAndBrokenTextByTheirBytes)
{
    EXPECT_EQ(Words("m", "0001",
                    "a\xC2\x80"
                    "b\xC2\x9B"
                    "c\xC2\x85"
                    "d\xE2\x80\xA8"
                    "e\xE2\x80\xA9"),
              "m 0001 started: a\\xc2\\x80b\\xc2\\x9bc\\xc2\\x85d\\xe2\\x80\\xa8e\\xe2\\x80\\xa9\n");
    EXPECT_EQ(Words("m", "0001", "\x9B \xC0\x8A \xED\xA0\x80 \xF4\x90\x80\x80 \xF5 \xE0\x80\xA8 \xC3 \xC3"),
              "m 0001 started: \\x9b \\xc0\\x8a \\xed\\xa0\\x80 \\xf4\\x90\\x80\\x80 \\xf5 \\xe0\\x80\\xa8 "
              "\\xc3 \\xc3\n");
    const std::string text = "\xC2\xA0 \xC3\xA4 \xE2\x82\xAC \xEF\xBF\xBD \xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF";
    EXPECT_EQ(Words("m", "0001", text), "m 0001 started: " + text + "\n");
}

TEST(EventLog, ShowsACharacterThatTheEndCutsShortByItsBytes)
{
    EXPECT_EQ(Words("m\xC3", "0001", "a\xE2\xA0"), "m\\xc3 0001 started: a\\xe2\\xa0\n");
    EXPECT_EQ(Words("m", "0001", "a\xF0\x9F\x98"), "m 0001 started: a\\xf0\\x9f\\x98\n");
}

TEST(EventLog, BeginsANewLineAfterATornOne)
{
    WriteText(kLog, "whole\ntorn");
    EXPECT_EQ(Entry("m", "0001", "a").substr(0, 3), "\n20");
    EXPECT_EQ(Entry("m", "0001", "b").substr(0, 2), "20");
    const std::string log = ReadText(kLog);
    EXPECT_EQ(log.substr(0, 11), "whole\ntorn\n");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 4);
}

TEST(EventLog, TellsThatALineWasTornAndLosesNoOther)
{
    // A disk of two pages, of which one and all but ten bytes of the other are taken.
    constexpr std::size_t kPage = 4096;
    MakeFolder("/var/log/vesk");
    ASSERT_EQ(mount("disk", "/var/log/vesk", "tmpfs", 0, "size=8192"), 0);
    WriteText("/var/log/vesk/other", std::string(kPage, 'o'));
    WriteText(kLog, std::string(kPage - 11, 'l') + "\n");
    const Result result = RunProgram({kProgram, "m", "0001", "cut"}, "rB");
    EXPECT_EQ(result.status, ExitStatus(1));
    EXPECT_EQ(result.output, "vesklogset: cannot write /var/log/vesk/event.log: No space left on device\n");
    EXPECT_EQ(ReadText(kLog).size(), kPage);
    RemoveAll("/var/log/vesk/other");
    EXPECT_THAT(Entry("m", "0001", "after"), MatchesRegex("\n" + kTime + " m 0001 started: after\n"));
    EXPECT_EQ(umount2("/var/log/vesk", MNT_DETACH), 0);
}

TEST(EventLog, FollowsNoLinkAndWaitsForNoPipe)
{
    WriteText("/run/target", "");
    MakeFolder("/var/log/vesk");
    ASSERT_EQ(symlink("/run/target", kLog), 0);
    Result result = RunProgram({kProgram, "m", "0001", "a"}, "rB");
    EXPECT_EQ(result.status, ExitStatus(1));
    EXPECT_EQ(result.output,
              "vesklogset: cannot write /var/log/vesk/event.log: Too many levels of symbolic links\n");
    EXPECT_EQ(ReadText("/run/target"), "");
    RemoveAll(kLog);
    ASSERT_EQ(mkfifo(kLog, 0600), 0);
    result = RunProgram({kProgram, "m", "0001", "a"}, "rB");
    EXPECT_EQ(result.status, ExitStatus(1));
    EXPECT_EQ(result.output, "vesklogset: cannot write /var/log/vesk/event.log: Invalid argument\n");
}

TEST(EventLog, IsForAllToReadAndForItsOwnerToWriteWhateverTheUmask)
{
    for (const std::string mask : {"000", "022", "077", "777"}) {
        const Result result = RunScript("umask " + mask + "; exec " + kProgram + " m 0001 a");
        EXPECT_EQ(result.status, ExitStatus(0));
        EXPECT_EQ(Mode("/var/log/vesk"), 0755U) << mask;
        EXPECT_EQ(Mode(kLog), 0644U) << mask;
        RemoveAll("/var/log/vesk");
    }
}

TEST(EventLog, GoesToSyslogToo)
{
    SyslogCapture syslog;
    Entry("vesksystemd", "0012", "A, B");
    const auto lines = syslog.Take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(lines[0].level, 6);
    EXPECT_EQ(lines[0].message, "vesksystemd 0012 failed to stop: A, B");
}

TEST(EventLog, TellsHowItIsCalled)
{
    for (const std::string arguments :
         {"", "m", "m 0001", "m 0001 a b", "'' 0001 a", "m '' a", "m 0001 ''"}) {
        const Result result = RunScript(std::string("exec ") + kProgram + " " + arguments, "rB");
        EXPECT_EQ(result.status, ExitStatus(2)) << arguments;
        EXPECT_EQ(result.output, "usage: vesklogset MODULE CODE NAMES\n");
    }
    EXPECT_FALSE(Exists(kLog));
}

TEST(EventLog, FailsWhenItCannotBeWritten)
{
    WriteText("/var/log/vesk", "");
    const Result result = RunProgram({kProgram, "m", "0001", "a"}, "rB");
    EXPECT_EQ(result.status, ExitStatus(1));
    EXPECT_EQ(result.output, "vesklogset: cannot write /var/log/vesk/event.log: Not a directory\n");
}

TEST(EventLog, KeepsEntriesOfManyProcessesApart)
{
    const std::string names(3000, 'n');
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&] {
            for (int round = 0; round < 10; ++round) {
                EXPECT_EQ(VLIBCExec(kProgram, "m", "0001", names.c_str(), nullptr), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::istringstream log(ReadText(kLog));
    int count = 0;
    for (std::string line; std::getline(log, line); ++count) {
        EXPECT_EQ(line.substr(line.find(' ')), " m 0001 started: " + names);
    }
    EXPECT_EQ(count, 80);
}

} // namespace
} // namespace VeskTest
