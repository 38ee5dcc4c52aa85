#include "guard.h"
#include "unique_fd.h"
#include "veskcore.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

using VESK::Platform::Fail;
using VESK::Platform::UniqueFd;

int VLIBCFileTouch(const char* path)
{
    if (path == nullptr) {
        return Fail(-1, VLIBC_ERR_ARGUMENT);
    }
    if (utimensat(AT_FDCWD, path, nullptr, 0) == 0) {
        return 0;
    }
    if (errno != ENOENT) {
        return Fail(-1, VLIBC_ERR_WRITE);
    }
    constexpr mode_t kMode = 0644;
    const UniqueFd fd(open(path, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kMode));
    return fd ? 0 : Fail(-1, VLIBC_ERR_OPEN);
}

int VLIBCFileExist(const char* path)
{
    struct stat status {
    };
    if (path == nullptr) {
        return Fail(0, VLIBC_ERR_ARGUMENT);
    }
    return stat(path, &status) == 0 ? 1 : 0;
}

int VLIBCFileCheckDir(const char* path)
{
    struct stat status {
    };
    if (path == nullptr) {
        return Fail(0, VLIBC_ERR_ARGUMENT);
    }
    if (stat(path, &status) != 0) {
        return Fail(0, VLIBC_ERR_NOT_FOUND);
    }
    if (!S_ISDIR(status.st_mode)) {
        errno = ENOTDIR;
        return Fail(0, VLIBC_ERR_NOT_FOUND);
    }
    return 1;
}
