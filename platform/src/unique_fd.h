#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace VESK::Platform
{

/** Owns a descriptor. Closing keeps errno. */
class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd)
        : m_fd(fd)
    {
    }
    UniqueFd(UniqueFd&& other) noexcept
        : m_fd(other.Release())
    {
    }
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        if (this != &other) {
            Reset(other.Release());
        }
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { Reset(); }

    int Get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    int Release() { return std::exchange(m_fd, -1); }

    void Reset(int fd = -1)
    {
        const int old = std::exchange(m_fd, fd);
        if (old >= 0) {
            const int saved = errno;
            close(old);
            errno = saved;
        }
    }

    /**
     * Moves a descriptor that took the place of a standard one which the caller had closed to a number
     * above 2. On failure it is closed and errno says why.
     */
    void MoveAboveStandard()
    {
        if (m_fd >= 0 && m_fd <= STDERR_FILENO) {
            Reset(fcntl(m_fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        }
    }

private:
    int m_fd = -1;
};

} // namespace VESK::Platform
