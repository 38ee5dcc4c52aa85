#pragma once

#include <gmock/gmock.h>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "event_log.hpp"
#include "files.hpp"
#include "library_log.hpp"
#include "systemctl_script.hpp"
#include "unit_files.hpp"

namespace VeskTest
{

using Words = std::vector<std::string>;

// A machine on which systemctl knows every unit as disabled and without files, and does all that it is asked
// for, until the test says otherwise.
class Uninstall : public ::testing::Test
{
protected:
    Uninstall();

    bool Run(const Words& units) { return VESKSystemdUninstall(units, failed); }

    // What systemctl says of a unit.
    void EnableState(const std::string& unit, const std::string& word, int exitCode = 1);
    Answering Show(const std::string& unit);
    void Files(const std::string& unit, const std::string& unitFile, const std::string& dropIns = "");

    Answering Step(const Words& arguments) { return systemctl.OnLeading(arguments); }

    // The lines around the steps. NAMES is the units as they stand in a line.
    static LogMatchers Begin(const std::string& names);
    static LogMatchers StepFailure(const std::string& names, const std::string& step, int exitCode,
                                   const std::string& output);
    static LogMatchers FilesFailure(const std::string& unit);
    static LogMatchers End(const std::string& names);
    static LogMatchers ResetFailed(const std::string& names);

    // A whole run with these lines between the two reloads.
    static LogMatchers LogOf(const std::string& names, const LogMatchers& between = {});

    ScriptedSystemctl systemctl;
    EventLog events;
    SyslogCapture log;
    Words failed;
};

// The flag of a unit whose enable state was changed, and the folder of its reasons.
std::string Mark(const std::string& unit);
std::string Reasons(const std::string& unit);

} // namespace VeskTest
