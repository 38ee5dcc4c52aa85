// What the test's own program, its forked children included, writes to syslog, as the live ground's journal
// has it.
#pragma once

#include <string>
#include <vector>

#include "syslog_capture.hpp"

namespace VeskTest
{

// Only inside the live test ground. Sees what is sent after it was made.
class JournalCapture
{
public:
    JournalCapture();

    // The entries since the last Take() in their order, all that were sent before this call included.
    std::vector<SyslogLine> Take();

private:
    std::string m_cursor;
    unsigned m_markers = 0;
};

// One entry of the journal.
struct JournalEntry {
    std::string cursor;
    std::string transport;
    std::string identifier;
    int level = -1;
    std::string message;
    std::string raw; // the datagram, when the message is not all of its text
};

// Reads what "journalctl -o export" prints. Stops quietly at an entry that is not there whole.
std::vector<JournalEntry> ParseJournalExport(const std::string& text);

} // namespace VeskTest
