#include "live_channel.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>

#include "error.hpp"

namespace VeskGround
{

namespace
{

constexpr std::size_t kMostDescriptors = 8;
constexpr std::size_t kMostText = 8192;

struct alignas(cmsghdr) Control {
    std::array<char, CMSG_SPACE(sizeof(int) * kMostDescriptors)> bytes{};
};

std::vector<Descriptor> DescriptorsOf(msghdr& header)
{
    std::vector<Descriptor> found;
    const cmsghdr* control = CMSG_FIRSTHDR(&header);
    if (control == nullptr || control->cmsg_type != SCM_RIGHTS) {
        return found;
    }
    const std::size_t count = (control->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < count; ++i) {
        int number = -1;
        std::memcpy(&number, CMSG_DATA(control) + i * sizeof number, sizeof number);
        found.emplace_back(number);
    }
    return found;
}

} // namespace

LiveChannel MakeLiveChannel()
{
    std::array<int, 2> ends{};
    Require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), "make a", "socket pair");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void SendLiveMessage(const Descriptor& channel, LiveEvent event, const std::string& text,
                     const std::vector<int>& descriptors)
{
    std::string bytes = static_cast<char>(event) + text.substr(0, kMostText - 1);
    iovec data = {bytes.data(), bytes.size()};
    Control control;
    msghdr header{};
    header.msg_iov = &data;
    header.msg_iovlen = 1;
    if (!descriptors.empty()) {
        const std::size_t size = descriptors.size() * sizeof(int);
        header.msg_control = control.bytes.data();
        header.msg_controllen = CMSG_SPACE(size);
        cmsghdr* first = CMSG_FIRSTHDR(&header);
        first->cmsg_level = SOL_SOCKET;
        first->cmsg_type = SCM_RIGHTS;
        first->cmsg_len = CMSG_LEN(size);
        std::memcpy(CMSG_DATA(first), descriptors.data(), size);
    }
    if (sendmsg(channel.Get(), &header, MSG_NOSIGNAL) < 0 && errno != EPIPE && errno != ECONNRESET) {
        ThrowErrno("send to", "the owner");
    }
}

std::optional<LiveMessage> ReceiveLiveMessage(const Descriptor& channel)
{
    std::array<char, kMostText> buffer{};
    iovec data = {buffer.data(), buffer.size()};
    Control control;
    msghdr header{};
    header.msg_iov = &data;
    header.msg_iovlen = 1;
    header.msg_control = control.bytes.data();
    header.msg_controllen = control.bytes.size();
    ssize_t count = -1;
    do {
        count = recvmsg(channel.Get(), &header, MSG_CMSG_CLOEXEC);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        return std::nullopt;
    }
    return LiveMessage{static_cast<LiveEvent>(buffer[0]),
                       std::string(buffer.data() + 1, static_cast<std::size_t>(count) - 1),
                       DescriptorsOf(header)};
}

} // namespace VeskGround
