#include "file_locks.hpp"

#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <unistd.h>

#include "error.hpp"

namespace VeskTest
{

namespace
{

bool CanLock(const std::string& path, int operation)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return true;
    }
    const bool locked = flock(descriptor, operation | LOCK_NB) == 0;
    close(descriptor);
    return locked;
}

} // namespace

bool IsLockFree(const std::string& path)
{
    return CanLock(path, LOCK_EX);
}

bool IsLockFreeToShare(const std::string& path)
{
    return CanLock(path, LOCK_SH);
}

ForeignLock::ForeignLock(const std::string& path, Mode mode)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    m_descriptor =
        VeskGround::Require(open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0644), "open", path);
    VeskGround::Require(flock(m_descriptor, (mode == Mode::Exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB), "lock",
                        path);
}

ForeignLock::~ForeignLock()
{
    close(m_descriptor);
}

} // namespace VeskTest
