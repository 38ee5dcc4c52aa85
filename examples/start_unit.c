/* Starts the units that are named on the command line, and tells which of them failed. */
#include <stdio.h>

#include <vesksystemd.h>

static void Tell(const char* what, const char* unit)
{
    char name[256];

    /* The display name, "Name" in the section [X-Veskline] of the unit file. Not every unit has one. */
    if (VESKCSystemdNameGet(unit, name, sizeof name)) {
        printf("%s: %s (%s)\n", what, unit, name);
    } else {
        printf("%s: %s\n", what, unit);
    }
}

int main(int argc, char** argv)
{
    /* Lists belong to the caller: allocate both, fill one, free both. */
    VLIBCSzList* units = VLIBCSzListAlloc(argc);
    VLIBCSzList* failed = VLIBCSzListAlloc(argc);

    for (int i = 1; i < argc; ++i) {
        VLIBCSzListPush(&units, argv[i]);
    }

    /* Waits until each of them is up or has failed. 1 is success; an empty list is refused. */
    const int started = VESKCSystemdStartGroup(units, &failed);
    if (started) {
        for (int i = 0; i < VLIBCSzListCount(units); ++i) {
            Tell("started", VLIBCSzListGet(units, i));
        }
    } else {
        printf("start: failed\n");
        for (int i = 0; i < VLIBCSzListCount(failed); ++i) {
            Tell("failed unit", VLIBCSzListGet(failed, i));
        }
    }

    VLIBCSzListFree(failed);
    VLIBCSzListFree(units);
    return started ? 0 : 1;
}
