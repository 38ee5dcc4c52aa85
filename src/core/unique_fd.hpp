#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace VESK::Systemd
{

/** Owns a descriptor; -1 for none. Closing it keeps errno. */
class UniqueFd
{
public:
    explicit UniqueFd(int fd = -1)
        : m_fd(fd)
    {
    }
    UniqueFd(UniqueFd&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    {
    }
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~UniqueFd()
    {
        const int nError = errno;
        Close();
        errno = nError;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int Get() const { return m_fd; }
    bool IsOpen() const { return m_fd != -1; }

    /** Closes it now; false, with errno set, when that failed. */
    bool Close() { return m_fd == -1 || close(std::exchange(m_fd, -1)) == 0; }

private:
    int m_fd;
};

} // namespace VESK::Systemd
