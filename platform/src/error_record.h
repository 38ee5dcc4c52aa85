#pragma once

namespace VESK::Platform
{

/** Sets the calling thread's error record to `code` at the place of the call. Leaves errno alone. */
void SetError(int code, const char* file = __builtin_FILE(), int line = __builtin_LINE());

} // namespace VESK::Platform
