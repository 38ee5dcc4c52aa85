// For programs that define a function of a library themselves, and pass its calls on.
#pragma once

#include <dlfcn.h>

namespace VeskTest
{

// The function of that name that would be called if this program had none.
template <typename Function>
Function* NextFunction(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace VeskTest
