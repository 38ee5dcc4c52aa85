#include "resource/pid_write.hpp"

#include <cstdio>

namespace VESK::Systemd
{

PidWriteResult PidWrite(const char* szPath, int nPid)
{
    PidWriteResult result;
    FILE* pStream = fopen(szPath, "we");
    if (pStream != nullptr) {
        result.blOpened = true;
        result.blWritten = fprintf(pStream, "%d", nPid) >= 0;
        // The kernel gets the id, and may refuse it, when the stream is closed.
        result.blClosed = fclose(pStream) == 0;
    }
    return result;
}

} // namespace VESK::Systemd
