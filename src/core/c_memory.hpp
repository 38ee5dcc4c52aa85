#pragma once

#include <cstdlib>
#include <memory>

namespace VESK::Systemd
{

struct FreeDeleter {
    void operator()(void* pMemory) const { free(pMemory); }
};

/** Owns a text that a C function allocated with malloc. */
using CText = std::unique_ptr<char, FreeDeleter>;

} // namespace VESK::Systemd
