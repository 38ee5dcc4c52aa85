#include "read_file.h"

#include "unique_fd.h"

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
    for (;;) {
        const std::size_t size = content.size();
        content.resize(size + kChunk);
        const ssize_t count = read(fd, &content[size], kChunk);
        const int error = errno;
        content.resize(size + (count > 0 ? static_cast<std::size_t>(count) : 0));
        if (count == 0) {
            return 0;
        }
        if (count < 0 && error != EINTR) {
            return error;
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
