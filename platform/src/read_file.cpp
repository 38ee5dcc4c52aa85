#include "read_file.h"

#include "unique_fd.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <unistd.h>

namespace VESK::Platform
{
namespace
{

constexpr std::size_t kChunk = 16UL * 1024;
constexpr std::size_t kLimit = 64UL * 1024 * 1024;

} // namespace

int ReadFile(int fd, std::string& content)
{
    content.clear();
    std::array<char, kChunk> chunk;
    for (;;) {
        const ssize_t count = read(fd, chunk.data(), chunk.size());
        if (count == 0) {
            return 0;
        }
        if (count > 0) {
            content.append(chunk.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return errno;
        }
        if (content.size() > kLimit) {
            return EFBIG;
        }
    }
}

int ReadFile(const char* path, std::string& content)
{
    // Not blocking, so that a pipe under the name does not hold the caller.
    const UniqueFd fd(open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    return fd ? ReadFile(fd.Get(), content) : errno;
}

} // namespace VESK::Platform
