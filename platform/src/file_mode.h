#pragma once

#include <cerrno>
#include <sys/stat.h>

namespace VESK::Platform
{

/** Gives a new file the permissions that the caller's umask has taken. 0, or an errno value. */
inline int SetMode(int fd, mode_t mode)
{
    constexpr mode_t kPermissions = 0777;
    struct stat status {
    };
    if (fstat(fd, &status) != 0) {
        return errno;
    }
    return (status.st_mode & kPermissions) == mode || fchmod(fd, mode) == 0 ? 0 : errno;
}

} // namespace VESK::Platform
