/* Tells of each unit whether systemd has a job for it that is not done yet: job_queued UNIT... */
#include <stdio.h>

#include <vesksystemd.h>

int main(int argc, char** argv)
{
    int unknown = 0;

    for (int i = 1; i < argc; ++i) {
        /* 0 is the answer "no" as well as a failure: the error record tells them apart. */
        VLIBCErrSetEx(0, "", 0);
        if (VESKCSystemdIsJobEnqueued(argv[i])) {
            printf("%s: queued\n", argv[i]);
        } else if (VLIBCErrGet() == VESK_SYSTEMD_ERROR_NONE) {
            printf("%s: idle\n", argv[i]);
        } else {
            printf("%s: unknown\n", argv[i]);
            unknown = 1;
        }
    }
    return unknown;
}
