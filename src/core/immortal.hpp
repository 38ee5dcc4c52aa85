#pragma once

#include <memory>
#include <utility>

namespace VESK::Systemd
{

/**
 * A constant of the whole process that is never destroyed: while a process ends, its other threads may still be in the
 * library, and static objects of its own may still call it. The library is linked to stay loaded once it is.
 */
template <typename T>
const T* Immortal(T value)
{
    return std::make_unique<T>(std::move(value)).release();
}

} // namespace VESK::Systemd
