#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdDaemonReload()
{
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: start daemon reload", VESK_HERE);
    const auto judge = [](int nExitCode, const Texts& vecLines) {
        if (nExitCode != 0) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: daemon reload failed: ret=[%d], reason=[%s]", VESK_HERE,
                     nExitCode, Joined(vecLines).c_str());
            return false;
        }
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: daemon reload success!", VESK_HERE);
        return true;
    };
    try {
        const auto opts = SystemctlOptsBuilder().SetCalRunTime(true).Build();
        return VESKSystemdSystemctlUltron("daemon-reload", opts, {}, judge);
    } catch (const std::exception&) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: daemon-reload failed.", VESK_HERE);
        return false;
    }
}

int VESKCSystemdDaemonReload(void)
{
    return CForm([] { return VESKSystemdDaemonReload(); });
}
