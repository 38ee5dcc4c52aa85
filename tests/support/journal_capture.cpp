#include "journal_capture.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <syslog.h>
#include <unistd.h>

#include "children.hpp"
#include "live_units.hpp"

namespace VeskTest
{

namespace
{

constexpr std::size_t kLengthBytes = 8;

std::uint64_t LittleEndian(const std::string& text, std::size_t position)
{
    std::uint64_t number = 0;
    for (std::size_t i = kLengthBytes; i-- > 0;) {
        number = number << 8U | static_cast<unsigned char>(text[position + i]);
    }
    return number;
}

void SetField(JournalEntry& entry, const std::string& name, const std::string& value)
{
    if (name == "__CURSOR") {
        entry.cursor = value;
    } else if (name == "_TRANSPORT") {
        entry.transport = value;
    } else if (name == "SYSLOG_IDENTIFIER") {
        entry.identifier = value;
    } else if (name == "PRIORITY") {
        entry.level = static_cast<int>(std::strtol(value.c_str(), nullptr, 10));
    } else if (name == "MESSAGE") {
        entry.message = value;
    } else if (name == "SYSLOG_RAW") {
        entry.raw = value;
    }
}

// A field is "NAME=value\n", or for bytes that are no plain text "NAME\n", their count in eight bytes, they
// themselves and "\n". False when it is not there whole.
bool TakeField(const std::string& text, std::size_t& position, JournalEntry& entry)
{
    const std::size_t end = text.find('\n', position);
    if (end == std::string::npos) {
        return false;
    }
    const std::string line = text.substr(position, end - position);
    const std::size_t equals = line.find('=');
    position = end + 1;
    if (equals != std::string::npos) {
        SetField(entry, line.substr(0, equals), line.substr(equals + 1));
        return true;
    }
    if (text.size() - position < kLengthBytes) {
        return false;
    }
    const std::uint64_t length = LittleEndian(text, position);
    position += kLengthBytes;
    if (length >= text.size() - position) {
        return false;
    }
    SetField(entry, line, text.substr(position, length));
    position += length + 1;
    return true;
}

SyslogLine LineOf(const JournalEntry& entry)
{
    return entry.raw.empty() ? ParseSyslogText(entry.level, entry.message) : ParseSyslogDatagram(entry.raw);
}

std::string ReadJournalAfter(const std::string& cursor)
{
    std::vector<std::string> command = {"/usr/bin/journalctl", "--no-pager", "--quiet", "-o", "export"};
    if (!cursor.empty()) {
        command.push_back("--after-cursor=" + cursor);
    }
    return RunCommand(command).output;
}

} // namespace

std::vector<JournalEntry> ParseJournalExport(const std::string& text)
{
    std::vector<JournalEntry> entries;
    JournalEntry entry;
    for (std::size_t position = 0; position < text.size();) {
        if (text[position] == '\n') {
            entries.push_back(entry);
            entry = JournalEntry();
            ++position;
        } else if (!TakeField(text, position, entry)) {
            break;
        }
    }
    return entries;
}

JournalCapture::JournalCapture()
{
    Take();
}

std::vector<SyslogLine> JournalCapture::Take()
{
    const std::string marker =
        "journal capture marker " + std::to_string(getpid()) + " " + std::to_string(++m_markers);
    syslog(LOG_DEBUG, "%s", marker.c_str());
    std::vector<JournalEntry> entries;
    const auto isMarker = [&](const JournalEntry& entry) { return entry.message == marker; };
    const auto arrived = [&] {
        entries = ParseJournalExport(ReadJournalAfter(m_cursor));
        return std::any_of(entries.begin(), entries.end(), isMarker);
    };
    if (!Eventually(arrived)) {
        throw std::runtime_error("the journal does not show what is sent to syslog");
    }
    std::vector<SyslogLine> lines;
    for (const JournalEntry& entry : entries) {
        m_cursor = entry.cursor;
        if (isMarker(entry)) {
            break;
        }
        if (entry.transport == "syslog" && entry.identifier == program_invocation_short_name) {
            lines.push_back(LineOf(entry));
        }
    }
    return lines;
}

} // namespace VeskTest
