/* Tells the display name of a unit, or why it has none to tell: tell_error UNIT */
#include <stdio.h>

#include <vesksystemd.h>

static const char* Meaning(void)
{
    switch (VLIBCErrGet()) {
    case VESK_SYSTEMD_ERROR_NONE:
        return "the unit has no display name";
    case VESK_SYSTEMD_ERROR_BUFFER_TOO_SMALL:
        return "the display name is too long";
    case VESK_SYSTEMD_ERROR_NO_UNIT_FILE:
        return "there is no such unit";
    case VESK_SYSTEMD_ERROR_INVALID_ARGUMENT:
        return "that cannot be the name of a unit";
    default:
        return "see the log";
    }
}

int main(int argc, char** argv)
{
    const char* unit = argc == 2 ? argv[1] : "";
    char name[16];

    /* What an earlier call has left in the record says nothing about this one. */
    VLIBCErrSetEx(0, "", 0);
    if (VESKCSystemdNameGet(unit, name, sizeof name)) {
        printf("%s\n", name);
        return 0;
    }
    printf("0x%04X: %s\n", (unsigned)VLIBCErrGet(), Meaning());
    return 1;
}
