#include "action_test.hpp"

#include <syslog.h>

#include "refused.hpp"

namespace VeskTest
{

namespace
{

Words Command(const ActionRow& row, const Words& units, const Words& options)
{
    Words words{row.verb};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), units.begin(), units.end());
    return words;
}

} // namespace

ActionGround::ActionGround(const ActionRow& row)
    : m_row(row)
{
    m_systemctl.OnLeading({"list-jobs"}).Exit(1);
    OnVerb();
}

std::vector<Words> ActionGround::Calls() const
{
    std::vector<Words> calls;
    for (const Call& call : m_systemctl.Calls()) {
        calls.push_back(call.arguments);
    }
    return calls;
}

std::vector<Words> ActionGround::CallsFor(const Words& units, const Words& options) const
{
    std::vector<Words> calls;
    if (m_row.PassesOver()) {
        for (const std::string& unit : units) {
            calls.push_back({"list-jobs", "--no-legend", unit});
        }
    }
    calls.push_back(Command(m_row, units, options));
    return calls;
}

LogMatcher ActionGround::Line(int level, const Words& units, const std::string& text) const
{
    return LogLine(level, m_row.file, "vesksystemd: [" + Joined(units, ", ") + "] " + text);
}

LogMatchers ActionGround::LinesOfRun(const Words& units) const
{
    LogMatchers log{Line(LOG_INFO, units, m_row.begin)};
    if (m_row.IsMeasured()) {
        log.push_back(RunTime(Joined(Calls().back(), " ")));
    }
    return log;
}

LogMatchers ActionGround::LogOfSuccess(const Words& units) const
{
    LogMatchers log = LinesOfRun(units);
    log.push_back(Line(LOG_INFO, units, m_row.done));
    return log;
}

LogMatchers ActionGround::LogOfFailure(const Words& units, const Words& failed, int exitCode,
                                       const Words& lines) const
{
    const std::string code = ": ret=[" + std::to_string(exitCode) + "], reason";
    LogMatchers log = LinesOfRun(units);
    if (m_row.IsMask()) {
        log.push_back(
            Error(m_row.file, "vesksystemd: " + m_row.failed + code + "=[" + Joined(lines, ", ") + "]"));
        log.push_back(Line(LOG_ERR, failed, m_row.notRun));
    } else {
        log.push_back(Line(LOG_ERR, failed, m_row.failed + code + ":\n" + Joined(lines, "")));
    }
    return log;
}

LogMatchers ActionGround::LogOfNoRun(const Words& units, const Words& failed, const LogMatchers& why) const
{
    LogMatchers log{Line(LOG_INFO, units, m_row.begin)};
    log.insert(log.end(), why.begin(), why.end());
    log.push_back(Line(LOG_ERR, failed, m_row.notRun));
    return log;
}

LogMatchers ActionGround::LogOfMissingSystemctl(const Words& units) const
{
    LogMatchers log;
    for (const Words& call : CallsFor(units)) {
        log.push_back(NotStarted(Joined(call, " ")));
        if (call.front() == "list-jobs") {
            log.push_back(Error("systemd_job_list.cpp", "vesksystemd: list-jobs failed."));
        }
    }
    return log;
}

::testing::AssertionResult ActionGround::Refused(const std::string& file, const std::string& condition)
{
    if (!Calls().empty()) {
        return ::testing::AssertionFailure() << "systemctl ran";
    }
    return VeskTest::Refused(m_log, file, {condition});
}

Words HostileNames()
{
    return {"--now",
            "-",
            "%s%n%d%5$s",
            "two\nlines",
            "a b",
            "\xff\xfe",
            "$(x)`y`'\"\\",
            std::string(240, 'l'),
            "*?[a-z]{1,2}|<>"};
}

Words ManyNames(int count)
{
    Words names;
    for (int index = 0; index < count; ++index) {
        names.push_back("u" + std::to_string(index));
    }
    return names;
}

} // namespace VeskTest
