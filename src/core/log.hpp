#pragma once

#include <syslog.h>

#include <veskcore.h>
#include <vesksystemd.h>

/** Where a line is logged or an error is set: the source file's name and the line. */
#define VESK_HERE __FILE_NAME__, __LINE__

/**
 * Logs to syslog. The arguments are the format, which begins with "%s:%d ", then VESK_HERE, then the rest;
 * they are evaluated only when the process logs at this level at all. The format may hold %m.
 */
#define VESK_LOG(level, ...)                                                                                 \
    do {                                                                                                     \
        if (::VESK::Systemd::LogEnabled(level)) {                                                            \
            __extension__(::VESK::Systemd::Log(level, __VA_ARGS__));                                         \
        }                                                                                                    \
    } while (false)

/** Whether `condition`, one on the arguments of an operation, holds; logs and sets the error if not. */
#define VESK_ARGUMENT(condition) VESK_ARGUMENT_AT(__FILE_NAME__, __LINE__, condition)

/** The same for those who check it on behalf of another place. */
#define VESK_ARGUMENT_AT(file, line, condition)                                                              \
    ((condition) || (::VESK::Systemd::InvalidArgument(file, line, #condition), false))

/** The three arguments of "[0x%04X %s:%d]": the calling thread's error record. */
#define VESK_PLATFORM_ERROR static_cast<unsigned int>(VLIBCErrGet()), VLIBCErrorGetFile(), VLIBCErrorGetLine()

namespace VESK::Systemd
{

/** The codes that the library puts into the error record, by what went wrong here; callers know them as on the right. */
enum ErrorCode : int {
    ERR_BUFFER_TOO_SMALL = VESK_SYSTEMD_ERROR_BUFFER_TOO_SMALL,
    ERR_NO_UNIT_FILE = VESK_SYSTEMD_ERROR_NO_UNIT_FILE,
    ERR_OPEN_DIRECTORY = VESK_SYSTEMD_ERROR_FOLDER_UNREADABLE,
    ERR_INVALID_ARGUMENT = VESK_SYSTEMD_ERROR_INVALID_ARGUMENT,
    ERR_REMOVE_REASON = VESK_SYSTEMD_ERROR_REASON_NOT_CLEARED,
    ERR_UNEXPECTED = VESK_SYSTEMD_ERROR_UNKNOWN_WORD,
    ERR_READ_JOB = VESK_SYSTEMD_ERROR_JOB_UNREADABLE,
};

/**
 * To be called first in a forked child: another thread of its parent may have been inside syslog at the fork, whose
 * lock then stays locked here for ever. From then on lines go straight to /dev/log if that is so, at every level and
 * under the program's name, since what the caller has set is known to syslog alone.
 */
void LogInForkedChild();

bool LogEnabled(int nLevel);

[[gnu::format(printf, 2, 3)]] void Log(int nLevel, const char* szFormat, ...);

void InvalidArgument(const char* szFile, int nLine, const char* szCondition);

} // namespace VESK::Systemd
