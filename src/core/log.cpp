#include "core/log.hpp"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/unique_fd.hpp"

namespace VESK::Systemd
{
namespace
{

enum class Way { Syslog, ToBeFound, Direct };

/** Other than Syslog in forked children only, each of which has its own. */
Way way = Way::Syslog;

/** Waits for a child that may be anybody's to reap; false when it is still there after a second. */
bool EndsSoon(pid_t nPid)
{
    constexpr int kMostPauses = 200;
    constexpr int kMilliseconds = 5;
    for (int nPause = 0; nPause < kMostPauses; ++nPause) {
        if (waitpid(nPid, nullptr, WNOHANG) != 0) {
            return true;
        }
        poll(nullptr, 0, kMilliseconds);
    }
    return false;
}

/** Lets a child of its own try what syslog locks, and then the time zone's lock, which it takes as well. */
bool SyslogAnswers()
{
    const pid_t nProbe = fork();
    if (nProbe == 0) {
        closelog();
        tzset();
        _exit(0);
    }
    if (nProbe < 0 || EndsSoon(nProbe)) {
        return nProbe > 0;
    }
    kill(nProbe, SIGKILL);
    waitpid(nProbe, nullptr, 0);
    return false;
}

bool IsDirect()
{
    if (way == Way::ToBeFound) {
        const int nError = errno;
        way = SyslogAnswers() ? Way::Syslog : Way::Direct;
        errno = nError;
    }
    return way == Way::Direct;
}

/** Never waits for more than a second. */
void Send(const std::string& strLine)
{
    const UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const timeval second{1, 0};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, "/dev/log", sizeof address.sun_path - 1);
    const void* pAddress = &address;
    setsockopt(fd.Get(), SOL_SOCKET, SO_SNDTIMEO, &second, sizeof second);
    // A line that nobody takes is lost, as with syslog.
    (void)sendto(fd.Get(), strLine.data(), strLine.size(), MSG_NOSIGNAL,
                 static_cast<const sockaddr*>(pAddress), sizeof address);
}

/** As syslog writes it, but for the time, which who receives it knows as well. A very long line is cut. */
[[gnu::format(printf, 2, 0)]] void LogDirectly(int nLevel, const char* szFormat, va_list args)
{
    char szText[8192];
    vsnprintf(szText, sizeof szText, szFormat, args);
    Send("<" + std::to_string(LOG_USER | nLevel) + ">" + program_invocation_short_name + ": " + szText);
}

} // namespace

void LogInForkedChild()
{
    way = Way::ToBeFound;
}

bool LogEnabled(int nLevel)
{
    return IsDirect() || (setlogmask(0) & LOG_MASK(nLevel)) != 0;
}

void Log(int nLevel, const char* szFormat, ...)
{
    va_list args;
    va_start(args, szFormat);
    if (IsDirect()) {
        LogDirectly(nLevel, szFormat, args);
    } else {
        vsyslog(nLevel, szFormat, args);
    }
    va_end(args);
}

void InvalidArgument(const char* szFile, int nLine, const char* szCondition)
{
    VESK_LOG(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", szFile, nLine, szCondition, 0);
    VLIBCErrSetEx(ERR_INVALID_ARGUMENT, szFile, nLine);
}

} // namespace VESK::Systemd
