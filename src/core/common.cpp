#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/log.hpp"

namespace VESK::Systemd
{
namespace
{

/** The platform's fork option for a child that its parent need not wait for. */
constexpr unsigned long long kDetach = 0x40;

[[noreturn]] void RunAndExit(const std::function<void()>& function)
{
    LogInForkedChild();
    try {
        function();
    } catch (const std::exception& error) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to execute function, exception = [%s]", VESK_HERE, error.what());
    } catch (...) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to execute function", VESK_HERE);
    }
    _exit(0);
}

} // namespace

bool ForkAndRun(std::function<void()> function, unsigned long long ullFlags)
{
    const int nResult = VLIBCProcForkEx(ullFlags | kDetach);
    if (nResult < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to fork[0x%04X %s:%d]", VESK_HERE, VESK_PLATFORM_ERROR);
        return false;
    }
    if (nResult == 0) {
        RunAndExit(function);
    }
    return true;
}

} // namespace VESK::Systemd
