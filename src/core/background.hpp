#pragma once

#include <functional>

namespace VESK::Systemd
{

/**
 * As ForkAndRun, in a child that keeps nothing of its caller's ways: every signal has its default action and none is
 * blocked, the standard descriptors are /dev/null, and the umask is 022. No handler of the caller's runs in it, not
 * even between the fork and this.
 */
bool RunInBackground(const std::function<void()>& function, unsigned long long ullFlags);

} // namespace VESK::Systemd
