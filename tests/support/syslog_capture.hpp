// What the processes of a sandbox write to syslog, in the order in which it was sent.
#pragma once

#include <cstddef>
#include <gmock/gmock.h>
#include <iosfwd>
#include <string>
#include <vector>

namespace VeskTest
{

// One entry. The library's texts begin "<file>:<line> "; that is taken off into FILE and LINE. A text without
// it has an empty file, line 0, and the whole text as its message.
struct SyslogLine {
    int level = 0; // 3 error, 4 warning, 6 progress
    std::string file;
    int line = 0;
    std::string message;
};

std::ostream& operator<<(std::ostream& stream, const SyslogLine& line);

// Only inside a sandbox. Sees what is sent after it was made, by any process.
class SyslogCapture
{
public:
    SyslogCapture();

    // The entries since the last Take(), all that were sent before this call included.
    std::vector<SyslogLine> Take();

private:
    std::string SendMarker();

    std::size_t m_position = 0;
    unsigned m_markers = 0;
};

// Match an entry by level, source file and message, byte for byte; its line is any positive number.
::testing::Matcher<const SyslogLine&> LogLine(int level, const std::string& file, const std::string& message);
::testing::Matcher<const SyslogLine&> Error(const std::string& file, const std::string& message);
::testing::Matcher<const SyslogLine&> Warning(const std::string& file, const std::string& message);
::testing::Matcher<const SyslogLine&> Info(const std::string& file, const std::string& message);

// Reads one datagram as the C library's syslog() writes it: "<PRI>Mmm dd hh:mm:ss tag: text".
SyslogLine ParseSyslogDatagram(const std::string& datagram);

// The same for a text that is already freed of what comes before it.
SyslogLine ParseSyslogText(int level, const std::string& text);

} // namespace VeskTest
