#include "read_file.h"

#include "unique_fd.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace VESK::Platform
{
namespace
{

constexpr std::size_t kChunk = 16UL * 1024;

/** 0 for a regular file that is not too large, else an errno value. What grows meanwhile is met when reading. */
int CheckRegular(const struct stat& status)
{
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    return status.st_size > static_cast<off_t>(kLargestFile) ? EFBIG : 0;
}

int ReadBounded(int fd, std::string& content)
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
        if (content.size() > kLargestFile) {
            return EFBIG;
        }
    }
}

bool IsNullDevice(const struct stat& status)
{
    constexpr unsigned kMajor = 1;
    constexpr unsigned kMinor = 3;
    return S_ISCHR(status.st_mode) && status.st_rdev == makedev(kMajor, kMinor);
}

} // namespace

int ReadRegularFile(int fd, std::string& content, struct stat& status)
{
    if (fstat(fd, &status) != 0) {
        return errno;
    }
    const int error = CheckRegular(status);
    return error == 0 ? ReadBounded(fd, content) : error;
}

int ReadFile(const char* path, std::string& content)
{
    // Not blocking, so that a pipe under the name does not hold the caller.
    const UniqueFd fd(open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd) {
        return errno;
    }
    struct stat status {
    };
    const int error = ReadRegularFile(fd.Get(), content, status);
    if (error == EINVAL && IsNullDevice(status)) {
        content.clear();
        return 0;
    }
    return error;
}

} // namespace VESK::Platform
