#include "platform_spy.hpp"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <dirent.h>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <veskcore.h>

#include "error.hpp"
#include "next_function.hpp"

namespace VeskTest
{

namespace
{

PlatformSpy* currentSpy = nullptr;

decltype(VLIBCFileLockTimeByFile)* RealLock()
{
    static const auto real = NextFunction<decltype(VLIBCFileLockTimeByFile)>("VLIBCFileLockTimeByFile");
    return real;
}

decltype(VLIBCProcForkEx)* RealFork()
{
    static const auto real = NextFunction<decltype(VLIBCProcForkEx)>("VLIBCProcForkEx");
    return real;
}

} // namespace

// In memory that forked children share.
struct PlatformSpy::Shared {
    std::atomic<bool> clockStands{false};
    std::atomic<int> seconds{0};
    std::atomic<int> halfSeconds{0};
};

bool operator==(const LockRequest& left, const LockRequest& right)
{
    return left.path == right.path && left.exclusive == right.exclusive && left.timeout == right.timeout;
}

std::ostream& operator<<(std::ostream& stream, const LockRequest& request)
{
    return stream << request.path << (request.exclusive ? " exclusive " : " shared ") << request.timeout;
}

PlatformSpy::PlatformSpy()
{
    void* place = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) {
        VeskGround::ThrowErrno("map", "the shared counters");
    }
    m_shared = new (place) Shared;
    currentSpy = this;
}

PlatformSpy::~PlatformSpy()
{
    currentSpy = nullptr;
    munmap(m_shared, sizeof(Shared));
}

void PlatformSpy::StopTheClock() const
{
    m_shared->clockStands = true;
}

int PlatformSpy::Seconds() const
{
    return m_shared->seconds;
}

int PlatformSpy::HalfSeconds() const
{
    return m_shared->halfSeconds;
}

int PlatformSpy::Lock(const char* path, bool mode, int timeout, int* descriptor)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_locks.push_back({path, mode, timeout});
    }
    return RealLock()(path, mode, m_waitForLocks ? timeout : 0, descriptor);
}

int PlatformSpy::Fork(unsigned long long flags)
{
    const int number = ++m_forks;
    if (m_onFork) {
        m_onFork(number);
    }
    if (number == m_failingFork) {
        VLIBCErrSetEx(0x1234, "fork.c", 7);
        return -1;
    }
    return RealFork()(flags);
}

bool PlatformSpy::PauseSecond()
{
    ++m_shared->seconds;
    if (m_onSecond) {
        m_onSecond();
    }
    return m_onSecond || m_shared->clockStands;
}

bool PlatformSpy::PauseHalfSecond()
{
    ++m_shared->halfSeconds;
    return m_shared->clockStands;
}

} // namespace VeskTest

extern "C" {

[[gnu::visibility("default")]] int VLIBCFileLockTimeByFile(const char* path, bool mode, int timeout,
                                                           int* descriptor)
{
    VeskTest::PlatformSpy* spy = VeskTest::currentSpy;
    return spy != nullptr ? spy->Lock(path, mode, timeout, descriptor)
                          : VeskTest::RealLock()(path, mode, timeout, descriptor);
}

[[gnu::visibility("default")]] int VLIBCProcForkEx(unsigned long long flags)
{
    VeskTest::PlatformSpy* spy = VeskTest::currentSpy;
    return spy != nullptr ? spy->Fork(flags) : VeskTest::RealFork()(flags);
}

[[gnu::visibility("default")]] int VLIBCFileAddSection(const char* path, const char* section,
                                                       VLIBCSzHash* hash, int flags)
{
    static const auto real = VeskTest::NextFunction<decltype(VLIBCFileAddSection)>("VLIBCFileAddSection");
    VeskTest::PlatformSpy* spy = VeskTest::currentSpy;
    return spy != nullptr && spy->FailsSection() ? -1 : real(path, section, hash, flags);
}

[[gnu::visibility("default")]] int VLIBCSzHashSetValue(VLIBCSzHash** hash, const char* key, const char* value)
{
    static const auto real = VeskTest::NextFunction<decltype(VLIBCSzHashSetValue)>("VLIBCSzHashSetValue");
    const VeskTest::PlatformSpy* spy = VeskTest::currentSpy;
    return spy != nullptr && spy->FailsKey(key) ? -1 : real(hash, key, value);
}

[[gnu::visibility("default")]] DIR* opendir(const char* name)
{
    static const auto real = VeskTest::NextFunction<DIR*(const char*)>("opendir");
    VeskTest::PlatformSpy* spy = VeskTest::currentSpy;
    if (spy != nullptr && spy->IsHidden(name)) {
        errno = spy->FolderError();
        return nullptr;
    }
    return real(name);
}

[[gnu::visibility("default")]] unsigned sleep(unsigned seconds)
{
    VeskTest::PlatformSpy* spy = VeskTest::currentSpy;
    if (spy != nullptr && spy->PauseSecond()) {
        return 0;
    }
    timespec pause{static_cast<time_t>(seconds), 0};
    return nanosleep(&pause, &pause) == 0 ? 0 : static_cast<unsigned>(pause.tv_sec) + 1;
}

[[gnu::visibility("default")]] int usleep(useconds_t useconds)
{
    VeskTest::PlatformSpy* spy = VeskTest::currentSpy;
    if (spy != nullptr && spy->PauseHalfSecond()) {
        return 0;
    }
    const timespec pause{static_cast<time_t>(useconds / 1000000),
                         static_cast<long>(useconds % 1000000) * 1000};
    return nanosleep(&pause, nullptr);
}
}
