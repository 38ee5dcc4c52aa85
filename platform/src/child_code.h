#pragma once

/**
 * Marks code that runs in a child which shares the caller's memory until it runs another program. It must not
 * allocate, lock or touch a sanitizer's bookkeeping, which is the caller's too.
 */
#if defined(__clang__)
#    define VESK_CHILD_CODE __attribute__((disable_sanitizer_instrumentation, noinline))
#else
#    define VESK_CHILD_CODE __attribute__((no_sanitize("address", "undefined", "thread"), noinline))
#endif

namespace VESK::Platform
{

/**
 * Closes every descriptor above 2, also those above the resource limit. Returns 0 or an errno value.
 * Async-signal-safe.
 */
VESK_CHILD_CODE int CloseDescriptorsAboveStandard();

} // namespace VESK::Platform
