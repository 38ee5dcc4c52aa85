#pragma once

namespace VESK::Systemd
{

/** How far the writing of a process id came. */
enum class PidWriteResult { Done, NotOpened, NotWritten, NotClosed };

/** Writes a process id into a file of a cgroup, which moves the process there. */
PidWriteResult PidWrite(const char* szPath, int nPid);

} // namespace VESK::Systemd
