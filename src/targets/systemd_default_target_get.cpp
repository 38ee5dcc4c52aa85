#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

namespace
{

bool TargetTake(const Answer& answer, std::string& strTarget)
{
    if (!answer.blGiven) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to get default target.", VESK_HERE);
        return false;
    }
    if (answer.nExitCode != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to get default target: ret=[%d], reason=[%s]", VESK_HERE,
                 answer.nExitCode, Joined(answer.vecLines).c_str());
        return false;
    }
    if (answer.vecLines.size() != 1) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to get default target: result is invalid. Result: %s",
                 VESK_HERE, Joined(answer.vecLines).c_str());
        return false;
    }
    strTarget = Trimmed(answer.vecLines.front());
    return true;
}

} // namespace

bool VESKSystemdDefaultTargetGet(std::string& strTarget)
{
    return AskAndJudge(
        [] {
            return Request{"get-default", {}, {}};
        },
        [&](const Answer& answer) { return TargetTake(answer, strTarget); });
}

bool VESKCSystemdDefaultTargetGet(char* szDefaultTarget, int cbDefaultTarget)
{
    return CValueForm(false, [&] {
        std::string strTarget;
        return VESK_ARGUMENT(nullptr != szDefaultTarget) && VESK_ARGUMENT(0 < cbDefaultTarget) &&
               VESKSystemdDefaultTargetGet(strTarget) &&
               TextCopy(VESK_HERE, strTarget, szDefaultTarget, static_cast<size_t>(cbDefaultTarget));
    });
}
