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

// The name of a function that has another one on 32-bit processors, for files of any size and for times after 2038.
constexpr const char* WideName(const char* name, const char* wideName)
{
    return sizeof(void*) == 4 ? wideName : name;
}

} // namespace VeskTest
