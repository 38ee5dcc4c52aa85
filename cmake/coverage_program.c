/* Part of each test program of a build with coverage counters: its children that end by _exit write the counters of
 * the program and of its libraries first. */
#include <gcov.h>

#define LIBRARIES 8

void __real__exit(int status) __attribute__((noreturn));
void __wrap__exit(int status) __attribute__((noreturn));
void VeskCoverageAdd(void (*dump)(void)) __attribute__((visibility("default")));

static void (*dumps[LIBRARIES])(void);
static int count;

void VeskCoverageAdd(void (*dump)(void))
{
    if (count < LIBRARIES) {
        dumps[count++] = dump;
    }
}

void __wrap__exit(int status)
{
    for (int i = 0; i < count; ++i) {
        dumps[i]();
    }
    __gcov_dump();
    __real__exit(status);
}
