#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdIntDefaultTargetSet(const Texts& vecOptions, const std::string& strDefaultTarget)
{
    if (!VESK_ARGUMENT(!strDefaultTarget.empty())) {
        return false;
    }
    const auto judge = [&](int nExitCode, const Texts& vecLines) {
        if (nExitCode != 0) {
            VESK_LOG(LOG_ERR,
                     "%s:%d vesksystemd: failed to set default target to [%s]: ret=[%d], reason=[%s]",
                     VESK_HERE, strDefaultTarget.c_str(), nExitCode, Joined(vecLines).c_str());
            return false;
        }
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: successfully set default target to [%s].", VESK_HERE,
                 strDefaultTarget.c_str());
        return true;
    };
    try {
        return VESKSystemdSystemctl("set-default", vecOptions, {strDefaultTarget}, judge);
    } catch (const std::exception&) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to set default target to [%s].", VESK_HERE,
                 strDefaultTarget.c_str());
        return false;
    }
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
