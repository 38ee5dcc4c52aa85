#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

namespace
{

bool Judge(const Answer& answer)
{
    if (!answer.blGiven) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: daemon-reload failed.", VESK_HERE);
    } else if (answer.nExitCode != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: daemon reload failed: ret=[%d], reason=[%s]", VESK_HERE,
                 answer.nExitCode, Joined(answer.vecLines).c_str());
    } else {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: daemon reload success!", VESK_HERE);
    }
    return answer.IsSuccess();
}

} // namespace

bool VESKSystemdDaemonReload()
{
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: start daemon reload", VESK_HERE);
    return AskAndJudge([] { return Request{"daemon-reload", {}, {}, false, true}; }, Judge);
}

int VESKCSystemdDaemonReload(void)
{
    return CForm([] { return VESKSystemdDaemonReload(); });
}
