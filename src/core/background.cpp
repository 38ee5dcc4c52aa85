#include "core/background.hpp"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vesksystemd.hpp"

namespace VESK::Systemd
{
namespace
{

/** Keeps handlers from running in this thread, and in what it forks. */
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

/** Handlers go first: with the mask open, a signal must find its default action. */
void SignalsReset()
{
    for (int nSignal = 1; nSignal < _NSIG; ++nSignal) {
        signal(nSignal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

/** Whoever reads what the caller prints would wait for this process as well. */
void StandardDescriptorsReplace()
{
    const int fdNull = open("/dev/null", O_RDWR | O_CLOEXEC | O_NOCTTY);
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fdNull < 0) {
            close(fd);
        } else {
            dup2(fdNull, fd);
        }
    }
    if (fdNull > STDERR_FILENO) {
        close(fdNull);
    }
}

void CallerLeave()
{
    constexpr mode_t kUmask = 022;
    SignalsReset();
    StandardDescriptorsReplace();
    umask(kUmask);
}

} // namespace

bool RunInBackground(const std::function<void()>& function, unsigned long long ullFlags)
{
    const SignalsBlocked blocked;
    return ForkAndRun(
        [&] {
            CallerLeave();
            function();
        },
        ullFlags);
}

} // namespace VESK::Systemd
