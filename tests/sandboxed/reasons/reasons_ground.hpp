#pragma once

#include <gmock/gmock.h>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "event_log.hpp"
#include "files.hpp"
#include "library_log.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{

using Words = std::vector<std::string>;

// A machine without reasons, on which systemctl does all that it is asked for until the test says otherwise.
class Reasons : public ::testing::Test
{
protected:
    Reasons();

    bool Stop(const std::string& reason, const Words& services)
    {
        return VESKSystemdServiceStopByReason(reason, services, failed);
    }
    bool Start(const std::string& reason, const Words& services)
    {
        return VESKSystemdServiceStartByReason(reason, services, failed);
    }
    bool Remove(const std::string& reason, const Words& services)
    {
        return VESKSystemdServiceReasonRemove(reason, services, failed);
    }

    // The lines of the operations. NAMES is the services as they stand in a line.
    static LogMatchers StopBegin(const std::string& names, const std::string& reason);
    static LogMatchers StartBegin(const std::string& names, const std::string& reason);
    static LogMatchers RemoveBegin(const std::string& names, const std::string& reason);
    static LogMatchers Stopped(const std::string& names);
    static LogMatchers Started(const std::string& names);
    static LogMatchers ResetFailed(const std::string& names);
    static LogMatchers NotUnlinked(const std::string& service, const std::string& reason,
                                   const std::string& why);

    ScriptedSystemctl systemctl;
    EventLog events;
    SyslogCapture log;
    Words failed;
};

// The reasons' folder of a normalized name, and the file of a reason in it.
std::string ReasonFolder(const std::string& service);
std::string ReasonFile(const std::string& service, const std::string& reason);
void Record(const std::string& service, const std::string& reason);

} // namespace VeskTest
