#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

namespace
{

bool Judge(const Answer& answer, const std::string& strTarget)
{
    if (!answer.blGiven) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to set default target to [%s].", VESK_HERE,
                 strTarget.c_str());
    } else if (answer.nExitCode != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to set default target to [%s]: ret=[%d], reason=[%s]",
                 VESK_HERE, strTarget.c_str(), answer.nExitCode, Joined(answer.vecLines).c_str());
    } else {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: successfully set default target to [%s].", VESK_HERE,
                 strTarget.c_str());
    }
    return answer.IsSuccess();
}

} // namespace

bool VESKSystemdIntDefaultTargetSet(const Texts& vecOptions, const std::string& strDefaultTarget)
{
    if (!VESK_ARGUMENT_NAME(strDefaultTarget)) {
        return false;
    }
    return AskAndJudge(
        [&] {
            return Request{"set-default", vecOptions, {strDefaultTarget}};
        },
        [&](const Answer& answer) { return Judge(answer, strDefaultTarget); });
}

bool VESKSystemdDefaultTargetSet(const std::string& strTarget)
{
    return VESKSystemdIntDefaultTargetSet({}, strTarget);
}

bool VESKSystemdDefaultTargetSetInGenerator(const std::string& strTarget)
{
    return VESKSystemdIntDefaultTargetSet({"--root=/."}, strTarget);
}

int VESKCSystemdDefaultTargetSet(const char* szDefaultTarget)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szDefaultTarget) && VESKSystemdDefaultTargetSet(szDefaultTarget);
    });
}

int VESKCSystemdDefaultTargetSetInGenerator(const char* szDefaultTarget)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szDefaultTarget) &&
               VESKSystemdDefaultTargetSetInGenerator(szDefaultTarget);
    });
}
