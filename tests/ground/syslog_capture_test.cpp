#include <cerrno>
#include <cstddef>
#include <gmock/gmock.h>
#include <map>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include "children.hpp"
#include "signal_storm.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

TEST(SyslogCapture, ReadsLevelFileAndMessageByteForByte)
{
    SyslogCapture log;
    syslog(LOG_INFO, "%s:%d vesksystemd: [%s] starting ...", "systemd_start.cpp", 12, "foo");
    syslog(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", "systemd_start.cpp", 13, "nullptr != szUnit", 0);
    syslog(LOG_WARNING, "%s:%d vesksystemd: a: b\n\nc", "lock.cpp", 1);
    EXPECT_THAT(log.Take(),
                ElementsAre(Info("systemd_start.cpp", "vesksystemd: [foo] starting ..."),
                            Error("systemd_start.cpp", "Invaild Argument (nullptr != szUnit)=[0]\n"),
                            Warning("lock.cpp", "vesksystemd: a: b\n\nc")));
}

TEST(SyslogCapture, TellsApartLevelFileLineAndMessage)
{
    const SyslogLine line{LOG_ERR, "lock.cpp", 3, "text"};
    EXPECT_THAT(line, Error("lock.cpp", "text"));
    EXPECT_THAT(line, Not(Info("lock.cpp", "text")));
    EXPECT_THAT(line, Not(Error("lock", "text")));
    EXPECT_THAT(line, Not(Error("lock.cpp", "text\n")));
    EXPECT_THAT((SyslogLine{LOG_ERR, "lock.cpp", 0, "text"}), Not(Error("lock.cpp", "text")));
}

TEST(SyslogCapture, KeepsATextWithoutOriginWhole)
{
    const SyslogLine line = ParseSyslogDatagram("<14>Nov 21 01:35:39 prog: no origin: 12 here");
    EXPECT_EQ(line.level, LOG_INFO);
    EXPECT_EQ(line.file, "");
    EXPECT_EQ(line.line, 0);
    EXPECT_EQ(line.message, "no origin: 12 here");
}

TEST(SyslogCapture, GivesEachEntryOnceAndNothingFromBeforeIt)
{
    syslog(LOG_INFO, "early.cpp:1 before");
    SyslogCapture log;
    syslog(LOG_INFO, "a.cpp:1 one");
    EXPECT_THAT(log.Take(), ElementsAre(Info("a.cpp", "one")));
    EXPECT_THAT(log.Take(), IsEmpty());
    syslog(LOG_INFO, "a.cpp:2 two");
    EXPECT_THAT(log.Take(), ElementsAre(Info("a.cpp", "two")));
}

TEST(SyslogCapture, LeavesEachOfTwoItsOwnView)
{
    SyslogCapture first;
    SyslogCapture second;
    syslog(LOG_INFO, "a.cpp:1 one");
    EXPECT_THAT(first.Take(), ElementsAre(Info("a.cpp", "one")));
    EXPECT_THAT(second.Take(), ElementsAre(Info("a.cpp", "one")));
}

TEST(SyslogCapture, KeepsTheOrderAcrossProcesses)
{
    SyslogCapture log;
    for (int turn = 0; turn < 20; ++turn) {
        syslog(LOG_INFO, "parent.cpp:1 %d", turn);
        RunInChild([turn] {
            syslog(LOG_ERR, "child.cpp:1 %d", turn);
            return 0;
        });
    }
    const std::vector<SyslogLine> lines = log.Take();
    ASSERT_THAT(lines, SizeIs(40));
    for (std::size_t turn = 0; turn < 20; ++turn) {
        EXPECT_THAT(lines[2 * turn], Info("parent.cpp", std::to_string(turn)));
        EXPECT_THAT(lines[2 * turn + 1], Error("child.cpp", std::to_string(turn)));
    }
}

TEST(SyslogCapture, LosesNothingOfManyWritersInAStormOfSignals)
{
    SyslogCapture log;
    const SignalStorm storm;
    constexpr int writers = 8;
    constexpr int each = 2000;
    for (int writer = 0; writer < writers; ++writer) {
        if (fork() == 0) {
            for (int number = 0; number < each; ++number) {
                syslog(LOG_INFO, "w%d.cpp:1 %d", writer, number);
            }
            _exit(0);
        }
    }
    while (wait(nullptr) > 0 || errno == EINTR) {
    }
    const std::vector<SyslogLine> lines = log.Take();
    EXPECT_THAT(lines, SizeIs(writers * each));
    std::map<std::string, int> next;
    for (const SyslogLine& line : lines) {
        EXPECT_EQ(line.message, std::to_string(next[line.file]++));
    }
    EXPECT_GT(SignalStorm::Count(), 0);
}

TEST(SyslogCapture, TakesALongEntryWhole)
{
    SyslogCapture log;
    const std::string text(100000, 'x');
    syslog(LOG_INFO, "a.cpp:1 %s", text.c_str());
    EXPECT_THAT(log.Take(), ElementsAre(Info("a.cpp", text)));
}

} // namespace
} // namespace VeskTest
