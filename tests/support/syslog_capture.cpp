#include "syslog_capture.hpp"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <ostream>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"
#include "fields.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kFile = "/run/sandbox/syslog";
constexpr std::size_t kTimeLength = sizeof "Mmm dd hh:mm:ss " - 1;

// Steps over one "LENGTH BYTES\n" of the text; false when it is not there whole.
bool NextDatagram(const std::string& text, std::size_t& position, std::string& datagram)
{
    const std::size_t blank = text.find(' ', position);
    if (blank == std::string::npos) {
        return false;
    }
    const auto length = static_cast<std::size_t>(std::strtoull(text.c_str() + position, nullptr, 10));
    if (text.size() - blank < length + 2) {
        return false;
    }
    datagram = text.substr(blank + 1, length);
    position = blank + length + 2;
    return true;
}

// Splits "<file>:<line> message".
void SplitOrigin(SyslogLine& line)
{
    const std::size_t blank = line.message.find(' ');
    const std::size_t colon = line.message.rfind(':', blank);
    if (blank == std::string::npos || colon == std::string::npos || colon == 0 || colon + 1 == blank) {
        return;
    }
    const std::string number = line.message.substr(colon + 1, blank - colon - 1);
    if (number.find_first_not_of("0123456789") != std::string::npos) {
        return;
    }
    line.file = line.message.substr(0, colon);
    line.line = VeskGround::LeadingNumber(number);
    line.message.erase(0, blank + 1);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const SyslogLine& line)
{
    return stream << "level " << line.level << ", " << line.file << ":" << line.line << ", "
                  << ::testing::PrintToString(line.message);
}

SyslogLine ParseSyslogDatagram(const std::string& datagram)
{
    SyslogLine line;
    line.message = datagram;
    const std::size_t priorityEnd = datagram.find('>');
    if (datagram.empty() || datagram[0] != '<' || priorityEnd == std::string::npos) {
        return line;
    }
    line.level = LOG_PRI(VeskGround::LeadingNumber(datagram.substr(1)));
    const std::size_t tagEnd = datagram.find(": ", priorityEnd + 1 + kTimeLength);
    line.message.erase(0, tagEnd == std::string::npos ? priorityEnd + 1 : tagEnd + 2);
    SplitOrigin(line);
    return line;
}

SyslogLine ParseSyslogText(int level, const std::string& text)
{
    SyslogLine line;
    line.level = level;
    line.message = text;
    SplitOrigin(line);
    return line;
}

SyslogCapture::SyslogCapture()
{
    Take();
}

std::string SyslogCapture::SendMarker()
{
    // The time sets it apart from those of earlier captures, which may have lived at the same address.
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::string marker = "<7>marker " + std::to_string(getpid()) + " " + std::to_string(now) + " " +
                         std::to_string(++m_markers);
    const VeskGround::Descriptor sender(
        VeskGround::Require(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "make", "a socket"));
    sockaddr_un address{AF_UNIX, "/dev/log"};
    while (sendto(sender.Get(), marker.data(), marker.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                  sizeof address) < 0) {
        if (errno != EINTR) {
            VeskGround::ThrowErrno("send to", address.sun_path);
        }
    }
    return marker;
}

std::vector<SyslogLine> SyslogCapture::Take()
{
    const std::string marker = SendMarker();
    std::vector<SyslogLine> lines;
    for (;;) {
        const std::string text = VeskGround::ReadFile(kFile, m_position);
        std::size_t position = 0;
        for (std::string datagram; NextDatagram(text, position, datagram);) {
            if (datagram == marker) {
                m_position += position;
                return lines;
            }
            if (datagram.rfind("<7>marker ", 0) != 0) {
                lines.push_back(ParseSyslogDatagram(datagram));
            }
        }
        m_position += position;
        std::this_thread::yield();
    }
}

::testing::Matcher<const SyslogLine&> LogLine(int level, const std::string& file, const std::string& message)
{
    using ::testing::Field;
    return ::testing::AllOf(Field("level", &SyslogLine::level, level), Field("file", &SyslogLine::file, file),
                            Field("line", &SyslogLine::line, ::testing::Gt(0)),
                            Field("message", &SyslogLine::message, message));
}

::testing::Matcher<const SyslogLine&> Error(const std::string& file, const std::string& message)
{
    return LogLine(LOG_ERR, file, message);
}

::testing::Matcher<const SyslogLine&> Warning(const std::string& file, const std::string& message)
{
    return LogLine(LOG_WARNING, file, message);
}

::testing::Matcher<const SyslogLine&> Info(const std::string& file, const std::string& message)
{
    return LogLine(LOG_INFO, file, message);
}

} // namespace VeskTest
