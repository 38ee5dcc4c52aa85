#include "file_mode.h"
#include "guard.h"
#include "unique_fd.h"
#include "veskcore.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using VESK::Platform::Fail;
using VESK::Platform::SetMode;
using VESK::Platform::UniqueFd;

namespace
{

constexpr mode_t kMode = 0644;

/** 0, or an errno value: ENOENT when there is nothing under the name. Whatever that is, it is not opened. */
int UpdateTimes(const char* path)
{
    struct stat status {
    };
    if (lstat(path, &status) != 0) {
        return errno;
    }
    if (S_ISLNK(status.st_mode)) {
        return ELOOP;
    }
    return utimensat(AT_FDCWD, path, nullptr, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

/** 0, or an errno value: EEXIST when there is something under the name. What fails leaves no file. */
int Create(const char* path)
{
    const UniqueFd fd(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
    const int error = fd ? SetMode(fd.Get(), kMode) : errno;
    if (fd && error != 0) {
        unlink(path);
    }
    return error;
}

} // namespace

int VLIBCFileTouch(const char* path)
{
    if (path == nullptr) {
        return Fail(-1, VLIBC_ERR_ARGUMENT);
    }
    int code = 0;
    int error = 0;
    // Again when somebody else has created the file in between.
    do {
        code = VLIBC_ERR_WRITE;
        error = UpdateTimes(path);
        if (error == ENOENT) {
            code = VLIBC_ERR_OPEN;
            error = Create(path);
        }
    } while (error == EEXIST);
    if (error == 0) {
        return 0;
    }
    errno = error;
    return Fail(-1, code);
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
