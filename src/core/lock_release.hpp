#pragma once

#include "vesksystemd.hpp"

namespace VESK::Systemd
{

/**
 * Releases a lock at the end of an operation. Closing alone would leave it to every child that was forked
 * meanwhile, by another thread or by the caller's action, and lives on.
 */
class LockRelease
{
public:
    explicit LockRelease(FileLock& lock)
        : m_lock(lock)
    {
    }
    ~LockRelease() { m_lock.Release(); }
    LockRelease(const LockRelease&) = delete;
    LockRelease& operator=(const LockRelease&) = delete;

private:
    FileLock& m_lock;
};

} // namespace VESK::Systemd
