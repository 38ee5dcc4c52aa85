// What helps a live test, the same in each of the grounds.

#include <cstddef>
#include <gmock/gmock.h>
#include <string>
#include <syslog.h>
#include <vector>

#include "journal_capture.hpp"
#include "live_units.hpp"

namespace VeskTest
{

namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Journal, ShowsWhatAProcessSendsToSyslogInOrder)
{
    JournalCapture journal;
    syslog(LOG_INFO, "%s:%d vesksystemd: [%s] starting ...", "systemd_start.cpp", 12, "foo");
    syslog(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", "systemd_start.cpp", 34, "nullptr != szUnit", 0);
    syslog(LOG_WARNING, "no origin");
    EXPECT_THAT(journal.Take(),
                ElementsAre(Info("systemd_start.cpp", "vesksystemd: [foo] starting ..."),
                            Error("systemd_start.cpp", "Invaild Argument (nullptr != szUnit)=[0]\n"),
                            AllOf(testing::Field(&SyslogLine::level, LOG_WARNING),
                                  testing::Field(&SyslogLine::file, ""),
                                  testing::Field(&SyslogLine::message, "no origin"))));
    EXPECT_THAT(journal.Take(), IsEmpty());
}

TEST(Journal, KeepsTextsOfSeveralLinesAndOddBytesWhole)
{
    JournalCapture journal;
    syslog(LOG_INFO, "%s", "a.cpp:1 reason:\nline one\n, line two  ");
    syslog(LOG_INFO, "%s", "a.cpp:2 bytes \xff\xfe\x01 and a tab\t.");
    syslog(LOG_INFO, "%s", ("a.cpp:3 " + std::string(6000, 'x')).c_str());
    EXPECT_THAT(journal.Take(), ElementsAre(Info("a.cpp", "reason:\nline one\n, line two  "),
                                            Info("a.cpp", "bytes \xff\xfe\x01 and a tab\t."),
                                            Info("a.cpp", std::string(6000, 'x'))));
}

TEST(Journal, KeepsHundredsOfLinesOfForkedChildrenToo)
{
    JournalCapture journal;
    EXPECT_EQ(RunInChild([] {
                  for (int i = 1; i <= 1000; ++i) {
                      syslog(LOG_INFO, "child.cpp:%d line %d", i, i);
                  }
                  return 0;
              }),
              Exited(0));
    const std::vector<SyslogLine> lines = journal.Take();
    ASSERT_EQ(lines.size(), 1000U);
    for (int i = 1; i <= 1000; ++i) {
        EXPECT_EQ(lines[static_cast<std::size_t>(i) - 1].line, i);
    }
}

TEST(Journal, LeavesOtherProgramsOut)
{
    JournalCapture journal;
    EXPECT_EQ(RunCommand({"/usr/bin/logger", "from another program"}).exitCode, 0);
    EXPECT_THAT(journal.Take(), IsEmpty());
    EXPECT_THAT(RunCommand({"/usr/bin/journalctl", "-o", "cat", "--no-pager", "-t", "root"}).output,
                HasSubstr("from another program\n"));
}

TEST(UnitText, PutsTheLinesOfASectionTogether)
{
    EXPECT_EQ(UnitText().Service("A=1").Unit("B=2").Service("C=3").Line("X-Veskline", "d=4").Text(),
              "[Service]\nA=1\nC=3\n\n[Unit]\nB=2\n\n[X-Veskline]\nd=4\n");
}

} // namespace

} // namespace VeskTest
