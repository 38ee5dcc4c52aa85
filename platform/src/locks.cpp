#include "file_mode.h"
#include "guard.h"
#include "unique_fd.h"
#include "veskcore.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>

using VESK::Platform::Fail;
using VESK::Platform::SetMode;
using VESK::Platform::UniqueFd;

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kFirstPause{1};
constexpr std::chrono::milliseconds kLongestPause{50};

/** Who may open a lock file may hold the lock for ever. */
constexpr mode_t kOwnerOnly = 0600;

/** 0 when the file can serve as a lock, with nobody but its owner able to open it; else an errno value. */
int MakeOwnersOnly(int fd)
{
    struct stat status {
    };
    if (fstat(fd, &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return EINVAL;
    }
    return status.st_uid == geteuid() ? SetMode(fd, kOwnerOnly) : 0;
}

/** Opens, or creates, the file itself: no link, and nothing that would wait for another end. */
UniqueFd OpenLockFile(const char* path)
{
    UniqueFd fd(open(path, O_RDONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW, kOwnerOnly));
    const int error = fd ? MakeOwnersOnly(fd.Get()) : errno;
    if (error != 0) {
        fd.Reset();
        errno = error;
    }
    fd.MoveAboveStandard();
    return fd;
}

/** One try. 0, or an errno value; EWOULDBLOCK when somebody else has the lock. */
int TryLock(int fd, bool exclusive)
{
    while (flock(fd, (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

/** Sleeps until a point of the clock that steady_clock reads, through interruptions. */
void SleepUntil(Clock::time_point when)
{
    const auto nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(when.time_since_epoch()).count();
    constexpr auto kSecond = 1000000000;
    const timespec absolute{static_cast<time_t>(nanoseconds / kSecond),
                            static_cast<long>(nanoseconds % kSecond)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &absolute, nullptr) == EINTR) {
    }
}

/** Tries until the lock is there or the time is over, the last time when it is. 0, or an errno value. */
int LockWithin(int fd, bool exclusive, std::chrono::seconds timeout)
{
    const Clock::time_point end = Clock::now() + timeout;
    auto pause = kFirstPause;
    for (;;) {
        const Clock::time_point now = Clock::now();
        const int error = TryLock(fd, exclusive);
        if (error != EWOULDBLOCK || now >= end) {
            return error;
        }
        SleepUntil(std::min<Clock::time_point>(now + pause, end));
        pause = std::min(pause * 2, kLongestPause);
    }
}

} // namespace

int VLIBCFileLockTimeByFile(const char* path, bool mode, int timeout, int* descriptor)
{
    if (path == nullptr || descriptor == nullptr || timeout < 0) {
        return Fail(0, VLIBC_ERR_ARGUMENT);
    }
    UniqueFd fd = OpenLockFile(path);
    if (!fd) {
        return Fail(0, VLIBC_ERR_OPEN);
    }
    const int error = LockWithin(fd.Get(), mode, std::chrono::seconds(timeout));
    if (error != 0) {
        errno = error;
        return Fail(0, VLIBC_ERR_LOCK);
    }
    *descriptor = fd.Release();
    return 1;
}

int VLIBCFileUnlockByFile(int descriptor)
{
    if (descriptor <= STDERR_FILENO) {
        return Fail(-1, VLIBC_ERR_ARGUMENT);
    }
    int result = 0;
    while ((result = flock(descriptor, LOCK_UN)) != 0 && errno == EINTR) {
    }
    if (result != 0 && errno == EBADF) {
        return Fail(-1, VLIBC_ERR_ARGUMENT);
    }
    const UniqueFd closed(descriptor);
    return result == 0 ? 0 : Fail(-1, VLIBC_ERR_LOCK);
}
