// Locks of the kind that the platform takes, seen and taken from outside of the library.
#pragma once

#include <string>

namespace VeskTest
{

// Whether the lock could be taken exclusively now. A file that does not exist is free.
bool IsLockFree(const std::string& path);

// Whether the lock could be taken shared now: false while somebody has it exclusively.
bool IsLockFreeToShare(const std::string& path);

// Holds the lock as another process would: it conflicts with every other one that is taken, whoever takes it.
class ForeignLock
{
public:
    enum class Mode { Exclusive, Shared };

    explicit ForeignLock(const std::string& path, Mode mode = Mode::Exclusive);
    ~ForeignLock();
    ForeignLock(const ForeignLock&) = delete;
    ForeignLock& operator=(const ForeignLock&) = delete;

private:
    int m_descriptor;
};

} // namespace VeskTest
