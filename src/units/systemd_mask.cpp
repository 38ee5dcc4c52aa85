#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/mask_action.hpp"

using namespace VESK::Systemd;

namespace
{

const MaskAction kMask{
    "mask",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] masking ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: mask failed: ret=[%d], reason=[%s]", VESK_HERE, nExitCode,
                 Joined(vecLines).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] masked.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] mask failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
};

bool Mask(const Texts& vecUnits, Texts& vecFailed, bool blRunTime)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && MaskActionRun(kMask, blRunTime, vecUnits, vecFailed);
}

bool MaskUntilBoot(const Texts& vecUnits, Texts& vecFailed)
{
    return Mask(vecUnits, vecFailed, true);
}

} // namespace

bool VESKSystemdMask(const Texts& vecUnits, Texts& vecFailed)
{
    return Mask(vecUnits, vecFailed, false);
}

bool VESKSystemdMask(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdMask);
}

bool VESKSystemdMaskRunTime(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, MaskUntilBoot);
}

int VESKCSystemdMask(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdMask(szUnit); });
}

int VESKCSystemdMaskRunTime(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdMaskRunTime(szUnit); });
}

int VESKCSystemdMaskGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) && GroupForm(pListUnits, ppListFailed, VESKSystemdMask);
    });
}
