#pragma once

#include "child_environment.h"
#include "unique_fd.h"

#include <sys/types.h>

namespace VESK::Platform
{

/** Where a child's output goes. Its standard input, and what is not given here, is /dev/null. */
struct ChildOutput {
    int fd = -1;
    bool withErrors = false;
};

/**
 * A child process that runs a program.
 *
 * The child gets descriptors 0, 1 and 2 and no other, default signal dispositions, an empty signal mask, umask
 * 022 and a ChildEnvironment. It borrows the caller's memory until the program is loaded, so that starting it
 * costs the same whatever the caller's size; no handler of the caller's can run in it.
 */
class Child
{
public:
    /** Starts the program. Returns 0, or the errno value that says why it could not be started. */
    int Start(const char* path, char* const argv[], ChildEnvironment& environment, const ChildOutput& output);

    /**
     * Waits for the end, through interruptions. Returns the raw wait status, or -1 with errno set when there
     * is none to be had. To be called once after a successful start.
     */
    int Wait();

private:
    pid_t m_pid = -1;
    /** Names the child beyond doubt, also when somebody else reaps it; absent on old kernels. */
    UniqueFd m_pidFd;
};

} // namespace VESK::Platform
