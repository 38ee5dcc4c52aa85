#pragma once

#include <gmock/gmock.h>

#include "action_rows.hpp"
#include "event_log.hpp"
#include "scripted_program.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{

using LogMatcher = ::testing::Matcher<const SyslogLine&>;
using LogMatchers = std::vector<LogMatcher>;

std::string Joined(const Words& words, const std::string& separator);

// A machine without queued jobs, on which every action succeeds until the test says otherwise.
class ActionGround
{
public:
    explicit ActionGround(const ActionRow& row);

    // What systemctl does when it is asked for the family's verb.
    Answering OnVerb() { return m_systemctl.OnLeading({m_row.verb}); }

    // The arguments of every call of systemctl, and those that the family is to make for the units.
    std::vector<Words> Calls() const;
    std::vector<Words> CallsFor(const Words& units, const Words& options) const;
    std::vector<Words> CallsFor(const Words& units) const { return CallsFor(units, m_row.options); }

    // The lines of one run on UNITS, from the first to the last, by its outcome.
    LogMatchers LogOfSuccess(const Words& units) const;
    LogMatchers LogOfFailure(const Words& units, const Words& failed, int exitCode, const Words& lines) const;
    LogMatchers LogOfNoRun(const Words& units, const Words& failed, const LogMatchers& why) const;

    // What is logged when systemctl cannot be started.
    LogMatchers LogOfMissingSystemctl(const Words& units) const;

    ScriptedSystemctl& Systemctl() { return m_systemctl; }
    SyslogCapture& Log() { return m_log; }

private:
    LogMatcher Line(int level, const Words& units, const std::string& text) const;
    LogMatchers LinesOfRun(const Words& units) const;

    ActionRow m_row;
    ScriptedSystemctl m_systemctl;
    EventLog m_eventLog;
    SyslogCapture m_log;
};

// The line of a refused argument.
LogMatcher InvalidArgument(const std::string& file, const std::string& condition);

// Names that nothing may take apart, quote or read as anything else.
Words HostileNames();

// "u0" to "u<count - 1>".
Words ManyNames(int count);

} // namespace VeskTest
