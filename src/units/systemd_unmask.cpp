#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/mask_action.hpp"

using namespace VESK::Systemd;

namespace
{

const MaskAction kUnmask{
    "unmask",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] unmasking ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: unmask failed: ret=[%d], reason=[%s]", VESK_HERE, nExitCode,
                 Joined(vecLines).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] unmasked.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] unmask failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
};

bool Unmask(const Texts& vecUnits, Texts& vecFailed, bool blRunTime)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && MaskActionRun(kUnmask, blRunTime, vecUnits, vecFailed);
}

bool UnmaskUntilBoot(const Texts& vecUnits, Texts& vecFailed)
{
    return Unmask(vecUnits, vecFailed, true);
}

} // namespace

bool VESKSystemdUnmask(const Texts& vecUnits, Texts& vecFailed)
{
    return Unmask(vecUnits, vecFailed, false);
}

bool VESKSystemdUnmask(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdUnmask);
}

bool VESKSystemdUnmaskRunTime(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, UnmaskUntilBoot);
}

int VESKCSystemdUnmask(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdUnmask(szUnit); });
}

int VESKCSystemdUnmaskRunTime(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdUnmaskRunTime(szUnit); });
}

int VESKCSystemdUnmaskGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) && GroupForm(pListUnits, ppListFailed, VESKSystemdUnmask);
    });
}
