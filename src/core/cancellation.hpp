#pragma once

#include <exception>

namespace VESK::Systemd
{

/**
 * For a handler of all exceptions that does not throw them on: the end of a cancelled thread comes there too, is
 * no exception of C++, and must go on, or the process is aborted.
 */
inline void PassOnCancellation()
{
    if (std::current_exception() == nullptr) {
        throw;
    }
}

} // namespace VESK::Systemd
