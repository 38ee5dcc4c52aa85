#pragma once

#include <gmock/gmock.h>

#include "action_rows.hpp"
#include "event_log.hpp"
#include "library_log.hpp"
#include "scripted_program.hpp"

namespace VeskTest
{

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

    // Whether the last call refused this argument of a function in FILE, and ran and logged nothing else.
    ::testing::AssertionResult Refused(const std::string& file, const std::string& condition);

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

// A family, or one of its functions, on such a machine.
class RowTest : public ::testing::TestWithParam<ActionRow>
{
protected:
    ActionGround m_ground{GetParam()};
};

class FormTest : public ::testing::TestWithParam<ActionForm>
{
protected:
    ActionGround m_ground{GetParam().row};
};

// Names that nothing may take apart, quote or read as anything else.
Words HostileNames();

// "u0" to "u<count - 1>".
Words ManyNames(int count);

} // namespace VeskTest
