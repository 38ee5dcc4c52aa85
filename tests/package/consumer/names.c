/* Uses the library and the platform's list type from C99; needs no systemd. */
#include <stdio.h>

#include <vesksystemd.h>

int main(void)
{
    VLIBCSzList* list = VLIBCSzListAlloc(2);
    bool flag = true;

    VLIBCSzListPush(&list, "one");
    VLIBCSzListPush(&list, "two");
    printf("%d %s %s\n", VLIBCSzListCount(list), VLIBCSzListGet(list, 0), VLIBCSzListGet(list, 1));
    VLIBCSzListFree(list);

    printf("%d", VESKCSystemdStart(NULL));
    printf(" %#x", (unsigned)VLIBCErrGet());
    printf(" %d", VESKCSystemdIsDefaultEnableGet("no-such-unit-anywhere", &flag));
    printf(" %#x %d\n", (unsigned)VLIBCErrGet(), (int)flag);
    return 0;
}
