#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdDefaultTargetGet(std::string& strTarget)
{
    const auto readAnswer = [&](int nExitCode, const Texts& vecLines) {
        if (nExitCode != 0) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to get default target: ret=[%d], reason=[%s]",
                     VESK_HERE, nExitCode, Joined(vecLines).c_str());
            return false;
        }
        if (vecLines.size() != 1) {
            VESK_LOG(LOG_ERR,
                     "%s:%d vesksystemd: failed to get default target: result is invalid. Result: %s",
                     VESK_HERE, Joined(vecLines).c_str());
            return false;
        }
        strTarget = Trimmed(vecLines.front());
        return true;
    };
    try {
        return VESKSystemdSystemctl("get-default", {}, readAnswer);
    } catch (const std::exception&) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to get default target.", VESK_HERE);
        return false;
    }
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
