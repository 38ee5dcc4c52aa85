#pragma once

#include <sys/types.h>

namespace VESK::Platform
{

/** Waits for the child `pid`. Returns its raw wait status, -1 with errno set when there is none to be had. */
int WaitForPid(pid_t pid);

/** As WaitForPid, for the child behind a pidfd; the status is found also when the kernel reaped the child. */
int WaitForPidFd(int pidFd, pid_t pid);

} // namespace VESK::Platform
