/* Runs a program in a slice, which must have a unit that runs: enter_slice SLICE PROGRAM [ARGUMENT...] */
#include <stdio.h>
#include <unistd.h>

#include <vesksystemd.h>

int main(int argc, char** argv)
{
    char slice[256];

    if (argc < 3) {
        fprintf(stderr, "usage: enter_slice SLICE PROGRAM [ARGUMENT...]\n");
        return 2;
    }
    /* This process is moved, and what it becomes stays there. */
    if (!VESKCSystemdCgroupSystemdSliceMove(argv[1])) {
        fprintf(stderr, "cannot enter %s\n", argv[1]);
        return 1;
    }
    if (VESKCSystemdCgroupMonitorSliceGet(slice, (int)sizeof slice)) {
        printf("now in %s\n", slice);
        fflush(stdout);
    }
    execv(argv[2], argv + 2);
    perror(argv[2]);
    return 127;
}
