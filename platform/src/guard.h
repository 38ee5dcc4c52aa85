#pragma once

#include "error_record.h"
#include "veskcore.h"

#include <exception>
#include <new>

namespace VESK::Platform
{

/** Runs the body of a C function; an exception becomes `failure` and an error record at the caller's place.
 */
template <typename Result, typename Body>
Result Guarded(Result failure, const Body& body, const char* file = __builtin_FILE(),
               int line = __builtin_LINE())
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        SetError(VLIBC_ERR_MEMORY, file, line);
    } catch (...) {
        // A thread that is being cancelled has to unwind to its end, which is no exception of C++.
        if (std::current_exception() == nullptr) {
            throw;
        }
        SetError(VLIBC_ERR_INTERNAL, file, line);
    }
    return failure;
}

/** Sets the error record at the caller's place and returns `failure`. */
template <typename Result>
Result Fail(Result failure, int code, const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    SetError(code, file, line);
    return failure;
}

} // namespace VESK::Platform
