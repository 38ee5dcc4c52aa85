#include "resource/pid_write.hpp"

#include <cstdio>

namespace VESK::Systemd
{

PidWriteResult PidWrite(const char* szPath, int nPid)
{
    FILE* pStream = fopen(szPath, "we");
    if (pStream == nullptr) {
        return PidWriteResult::NotOpened;
    }
    const bool blWritten = fprintf(pStream, "%d", nPid) >= 0;
    const bool blClosed = fclose(pStream) == 0;
    if (!blWritten) {
        return PidWriteResult::NotWritten;
    }
    return blClosed ? PidWriteResult::Done : PidWriteResult::NotClosed;
}

} // namespace VESK::Systemd
