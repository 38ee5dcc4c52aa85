/*
 * A daemon that keeps a service stopped while it works, and lets go of it whatever becomes of itself:
 * hold_daemon REASON SERVICE COMMAND
 *
 * A reason outlives the program that gave it. So the daemon begins by taking away what an earlier run has left that was
 * killed. Its own unit has Restart=on-failure, so that such a run is never the last:
 *
 *     [Service]
 *     ExecStart=/usr/bin/hold_daemon backup database.service /usr/bin/backup
 *     Restart=on-failure
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vesksystemd.h>

/* 1 when the service has this reason. */
static int IsHeld(const char* reason, const char* service)
{
    VLIBCSzList* reasons = VLIBCSzListAlloc(8);
    int held = 0;

    if (VESKCSystemdServiceReasonList(service, &reasons)) {
        for (int i = 0; i < VLIBCSzListCount(reasons); ++i) {
            held = held || strcmp(VLIBCSzListGet(reasons, i), reason) == 0;
        }
    }
    VLIBCSzListFree(reasons);
    return held;
}

int main(int argc, char** argv)
{
    if (argc != 4) {
        fprintf(stderr, "usage: hold_daemon REASON SERVICE COMMAND\n");
        return 2;
    }
    const char* reason = argv[1];
    const char* service = argv[2];

    if (IsHeld(reason, service)) {
        fprintf(stderr, "an earlier run was killed while it held %s\n", service);
        if (!VESKCSystemdServiceStartByReason(reason, service)) {
            return 1;
        }
    }
    if (!VESKCSystemdServiceStopByReason(reason, service)) {
        return 1;
    }
    const int done = system(argv[3]) == 0;
    /* The service comes back whether the work was done or not. */
    return VESKCSystemdServiceStartByReason(reason, service) && done ? 0 : 1;
}
