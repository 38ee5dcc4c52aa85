/* Part of each library of a build with coverage counters, which is linked with --wrap=_exit: _exit writes the counters
 * first, as exit does, else what forked children run would count for nothing. */
#include <gcov.h>

void __real__exit(int status) __attribute__((noreturn));
void __wrap__exit(int status) __attribute__((noreturn));
void VeskCoverageAdd(void (*dump)(void)) __attribute__((weak));

void __wrap__exit(int status)
{
    __gcov_dump();
    __real__exit(status);
}

/* The tests' own children end by the _exit of the test program, which knows of no library's counters but these. */
static void Register(void) __attribute__((constructor));
static void Register(void)
{
    if (VeskCoverageAdd) {
        VeskCoverageAdd(__gcov_dump);
    }
}
