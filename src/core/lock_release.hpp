#pragma once

#include <unistd.h>

#include "vesksystemd.hpp"

namespace VESK::Systemd
{

/**
 * Releases a lock, if it is held, at the end of an operation. Closing alone would leave it to every child that
 * was forked meanwhile, by another thread or by the caller's action, and lives on. Such a child, should it
 * return into the operation, leaves the lock to its parent.
 */
class LockRelease
{
public:
    explicit LockRelease(FileLock& lock)
        : m_lock(lock)
    {
    }
    ~LockRelease()
    {
        if (getpid() == m_nOwner) {
            m_lock.Release();
        }
    }
    LockRelease(const LockRelease&) = delete;
    LockRelease& operator=(const LockRelease&) = delete;

private:
    FileLock& m_lock;
    const pid_t m_nOwner = getpid();
};

} // namespace VESK::Systemd
