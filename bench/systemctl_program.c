/*
 * Stands for systemctl where only what the library makes of an answer is measured: prints the file that is named after
 * the verb, /run/bench/VERB, and ends with 1 if there is one /run/bench/VERB.fails too.
 */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static const char* VerbOf(char** arguments)
{
    while (*arguments != NULL && **arguments == '-') {
        ++arguments;
    }
    return *arguments != NULL ? *arguments : "none";
}

static void Copy(int answer)
{
    static char text[65536];
    ssize_t count;

    while ((count = read(answer, text, sizeof text)) > 0) {
        if (write(STDOUT_FILENO, text, (size_t)count) != count) {
            break;
        }
    }
}

int main(int argc, char** argv)
{
    char path[256];
    int answer;

    (void)argc;
    snprintf(path, sizeof path, "/run/bench/%s", VerbOf(argv + 1));
    answer = open(path, O_RDONLY);
    if (answer >= 0) {
        Copy(answer);
    }
    strncat(path, ".fails", sizeof path - strlen(path) - 1);
    return access(path, F_OK) == 0 ? 1 : 0;
}
