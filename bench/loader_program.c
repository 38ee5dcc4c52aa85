/* Loads the library that is named and prints how many microseconds that took and how many kB it has added. */
#define _POSIX_C_SOURCE 200809L

#include <dlfcn.h>
#include <stdio.h>
#include <time.h>

static double Microseconds(void)
{
    struct timespec now;

    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec * 1e6 + (double)now.tv_nsec / 1e3;
}

/* What is the process's own: relocated or written since. */
static long OwnKilobytes(void)
{
    char line[256];
    long sum = 0;
    FILE* file = fopen("/proc/self/smaps_rollup", "r");

    while (file != NULL && fgets(line, sizeof line, file) != NULL) {
        long kilobytes = 0;
        if (sscanf(line, "Private_Dirty: %ld", &kilobytes) == 1) {
            sum = kilobytes;
        }
    }
    if (file != NULL) {
        fclose(file);
    }
    return sum;
}

int main(int argc, char** argv)
{
    const long memory = OwnKilobytes();
    const double start = Microseconds();

    if (argc != 2 || dlopen(argv[1], RTLD_NOW) == NULL) {
        fprintf(stderr, "%s\n", argc == 2 ? dlerror() : "usage: vesk-bench-loader LIBRARY");
        return 1;
    }
    printf("%.0f", Microseconds() - start);
    printf(" %ld\n", OwnKilobytes() - memory);
    return 0;
}
