#pragma once

namespace VESK::Systemd
{

/** How far the writing of a process id came. What was opened is closed in any case. */
struct PidWriteResult {
    bool blOpened = false;
    bool blWritten = false;
    bool blClosed = false;
};

/** Writes a process id into a file of a cgroup, which moves the process there. */
PidWriteResult PidWrite(const char* szPath, int nPid);

} // namespace VESK::Systemd
