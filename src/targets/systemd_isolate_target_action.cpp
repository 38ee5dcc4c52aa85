#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/lock_release.hpp"
#include "core/log.hpp"
#include "core/names.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr const char* kDefaultTarget = "default.target";

bool IsolateBack()
{
    return VESKSystemdIntIsolateTarget(kDefaultTarget, nullptr);
}

/** Runs the action on the isolated system, which it leaves isolated, unless it throws. */
bool RunIsolated(const std::function<bool()>& action)
{
    try {
        return action();
    } catch (...) {
        IsolateBack();
        throw;
    }
}

} // namespace

bool _VESKSystemdIsolateTargetAction(const std::string& strTarget, std::function<bool()>&& action)
{
    if (!VESK_ARGUMENT_NAME(strTarget)) {
        return false;
    }
    SystemOperationLock lock;
    const LockRelease release(lock);
    if (!lock.Acquire()) {
        lock.LogLockFailed(strTarget);
        return false;
    }
    if (!VESKSystemdIntIsolateTarget(strTarget, nullptr) || !RunIsolated(action)) {
        IsolateBack();
        return false;
    }
    return IsolateBack();
}

bool VESKCSystemdIsolateTargetAction(const char* szTarget, int (*action)(void))
{
    return CValueForm(false, [&] {
        return VESK_ARGUMENT(nullptr != szTarget) && VESK_ARGUMENT(nullptr != action) &&
               _VESKSystemdIsolateTargetAction(szTarget, [&] { return action() != 0; });
    });
}

bool VESKSystemdIsolateToDefaultTarget()
{
    return VESKSystemdIsolateTarget(kDefaultTarget, nullptr);
}

int VESKCSystemdIsolateToDefaultTarget(void)
{
    return CForm([] { return VESKSystemdIsolateToDefaultTarget(); });
}
