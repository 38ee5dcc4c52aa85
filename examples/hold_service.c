/* Holds a service stopped for a reason, or lets go of it: hold_service hold|release REASON SERVICE */
#include <stdio.h>
#include <string.h>

#include <vesksystemd.h>

static void TellReasons(const char* service)
{
    VLIBCSzList* reasons = VLIBCSzListAlloc(8);

    if (VESKCSystemdServiceReasonList(service, &reasons)) {
        for (int i = 0; i < VLIBCSzListCount(reasons); ++i) {
            printf("held by: %s\n", VLIBCSzListGet(reasons, i));
        }
    }
    VLIBCSzListFree(reasons);
}

int main(int argc, char** argv)
{
    const int hold = argc == 4 && strcmp(argv[1], "hold") == 0;

    if (argc != 4 || (!hold && strcmp(argv[1], "release") != 0)) {
        fprintf(stderr, "usage: hold_service hold|release REASON SERVICE\n");
        return 2;
    }

    /* Each caller has a reason of its own and takes only that away again. */
    const int done = hold ? VESKCSystemdServiceStopByReason(argv[2], argv[3])
                          : VESKCSystemdServiceReasonRemove(argv[2], argv[3]);
    printf("%s: %s\n", argv[1], done ? "done" : "failed");
    TellReasons(argv[3]);
    return done ? 0 : 1;
}
