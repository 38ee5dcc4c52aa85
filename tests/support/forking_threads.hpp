// For tests whose threads fork children that go on without exec.
#pragma once

#include <gtest/gtest.h>

// Skips the test where the allocator is a sanitizer's: unlike that of the C library, it may be locked for ever in
// such a child, by a thread that is not there. In the test, or in SetUp().
#ifdef VESK_SANITIZED
#    define VESK_NEED_FORKING_THREADS()                                                                      \
        GTEST_SKIP() << "a sanitizer's allocator may be locked for ever in a child of a threaded process"
#else
#    define VESK_NEED_FORKING_THREADS() static_cast<void>(0)
#endif
