#include "syslog_collector.hpp"

#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "error.hpp"

namespace VeskGround
{

namespace
{

constexpr const char* kSocketPath = "/dev/log";
constexpr const char* kFilePath = "/run/sandbox/syslog";
constexpr int kReceiveBuffer = 64 * 1024 * 1024;
constexpr std::size_t kLongestDatagram = 1U << 20U;

Descriptor BindSocket()
{
    Descriptor socketOwner(
        Require(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "make", "a socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, kSocketPath, sizeof address.sun_path - 1);
    Require(bind(socketOwner.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind",
            kSocketPath);
    Require(chmod(kSocketPath, 0666), "open up", kSocketPath);
    // A bigger buffer only saves the senders from waiting, so a refusal does no harm.
    setsockopt(socketOwner.Get(), SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer);
    return socketOwner;
}

} // namespace

SyslogCollector::SyslogCollector()
    : m_socket(BindSocket())
    , m_file(Require(open(kFilePath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644), "open", kFilePath))
    , m_buffer(kLongestDatagram, '\0')
{
}

void SyslogCollector::Collect()
{
    for (;;) {
        const ssize_t length = recv(m_socket.Get(), m_buffer.data(), m_buffer.size(), 0);
        if (length < 0) {
            return;
        }
        const std::string bytes = m_buffer.substr(0, static_cast<std::size_t>(length));
        WriteAll(m_file.Get(), std::to_string(length) + " " + bytes + "\n", kFilePath);
    }
}

} // namespace VeskGround
