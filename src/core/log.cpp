#include "core/log.hpp"

#include <cstdarg>

namespace VESK::Systemd
{

bool LogEnabled(int nLevel)
{
    return (setlogmask(0) & LOG_MASK(nLevel)) != 0;
}

void Log(int nLevel, const char* szFormat, ...)
{
    va_list args;
    va_start(args, szFormat);
    vsyslog(nLevel, szFormat, args);
    va_end(args);
}

void InvalidArgument(const char* szFile, int nLine, const char* szCondition)
{
    VESK_LOG(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", szFile, nLine, szCondition, 0);
    VLIBCErrSetEx(ERR_INVALID_ARGUMENT, szFile, nLine);
}

} // namespace VESK::Systemd
