/* Says that a unit uses a volume, takes that back, or tells which services have files of a mount path open:
 * volume_users add|remove UNIT MOUNT-PATH | volume_users list MOUNT-PATH */
#include <stdio.h>
#include <string.h>

#include <vesksystemd.h>

static int List(const char* path)
{
    VLIBCSzList* services = VLIBCSzListAlloc(8);
    const int done = VESKCSystemdServiceListByMntPath(path, &services);

    for (int i = 0; done && i < VLIBCSzListCount(services); ++i) {
        printf("%s\n", VLIBCSzListGet(services, i));
    }
    VLIBCSzListFree(services);
    return done;
}

int main(int argc, char** argv)
{
    int done = 0;

    if (argc == 3 && strcmp(argv[1], "list") == 0) {
        done = List(argv[2]);
    } else if (argc == 4 && strcmp(argv[1], "add") == 0) {
        done = VESKCSystemdVolumeRegister(argv[2], argv[3]);
    } else if (argc == 4 && strcmp(argv[1], "remove") == 0) {
        done = VESKCSystemdVolumeUnregister(argv[2], argv[3]);
    } else {
        fprintf(stderr, "usage: volume_users add|remove UNIT MOUNT-PATH | volume_users list MOUNT-PATH\n");
        return 2;
    }
    return done ? 0 : 1;
}
