/* Runs a command while the system is isolated to a target, and brings the system back: run_isolated TARGET COMMAND
 * Everything that the target does not want is stopped, so the command must not count on it. */
#include <stdio.h>
#include <stdlib.h>

#include <vesksystemd.h>

/* The action has no argument of its own. */
static const char* command;

static int RunCommand(void)
{
    return system(command) == 0;
}

int main(int argc, char** argv)
{
    char boots[256];

    if (argc != 3) {
        fprintf(stderr, "usage: run_isolated TARGET COMMAND\n");
        return 2;
    }
    if (VESKCSystemdDefaultTargetGet(boots, (int)sizeof boots)) {
        printf("boots to %s\n", boots);
    }
    command = argv[2];
    /* True only when the command succeeded and the system is back at what it boots to. */
    const bool done = VESKCSystemdIsolateTargetAction(argv[1], RunCommand);
    printf("%s\n", done ? "done" : "failed");
    return done ? 0 : 1;
}
