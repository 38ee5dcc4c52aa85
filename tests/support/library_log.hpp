// Lines of syslog that many operations of the library have in common.
#pragma once

#include <string>
#include <vector>

#include "syslog_capture.hpp"

namespace VeskTest
{

using LogMatcher = ::testing::Matcher<const SyslogLine&>;
using LogMatchers = std::vector<LogMatcher>;

// An argument that was refused.
inline LogMatcher RefusedArgument(const std::string& file, const std::string& condition)
{
    return Error(file, "Invaild Argument (" + condition + ")=[0]\n");
}

// How long a run of systemctl took.
inline LogMatcher RunTime(const std::string& arguments)
{
    using ::testing::AllOf;
    using ::testing::Field;
    const std::string start = "vesksystemd: Execute time for [/usr/bin/systemctl " + arguments + "] is ";
    return AllOf(Field(&SyslogLine::level, 6), Field(&SyslogLine::file, "systemd_systemctl.cpp"),
                 Field(&SyslogLine::message,
                       AllOf(::testing::StartsWith(start), ::testing::ContainsRegex("\\] is [0-9]+ ms$"))));
}

// A daemon-reload, in which systemctl ended with that exit code and printed that.
inline LogMatchers ReloadLog(int exitCode = 0, const std::string& output = "")
{
    const std::string failure =
        "vesksystemd: daemon reload failed: ret=[" + std::to_string(exitCode) + "], reason=[" + output + "]";
    return {Info("systemd_daemon-reload.cpp", "vesksystemd: start daemon reload"), RunTime("daemon-reload"),
            exitCode == 0 ? Info("systemd_daemon-reload.cpp", "vesksystemd: daemon reload success!")
                          : Error("systemd_daemon-reload.cpp", failure)};
}

// A run of systemctl that could not be started.
inline LogMatcher NotStarted(const std::string& arguments)
{
    return Error("systemd_systemctl.cpp",
                 "vesksystemd: fail to execute [/usr/bin/systemctl " + arguments + "].");
}

// The lines of several steps, one after the other.
inline LogMatchers InOrder(const std::vector<LogMatchers>& steps)
{
    LogMatchers lines;
    for (const LogMatchers& step : steps) {
        lines.insert(lines.end(), step.begin(), step.end());
    }
    return lines;
}

} // namespace VeskTest
