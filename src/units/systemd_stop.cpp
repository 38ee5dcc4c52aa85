#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr int kStopAction = 2;

const UnitAction kStop{
    "stop",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] stopping ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] stopped.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] stopped failed: ret=[%d], reason:\n%s", VESK_HERE,
                 Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] stopped failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
};

} // namespace

bool VESKSystemdStopWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    const bool blResult =
        VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kStop, vecOptions, vecUnits, vecFailed);
    VESKSystemdLogAction(kStopAction, blResult, vecUnits, vecFailed);
    return blResult;
}

bool VESKSystemdStop(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdStopWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdStop(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdStop);
}

int VESKCSystemdStop(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdStop(szUnit); });
}

int VESKCSystemdStopGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) && GroupForm(pListUnits, ppListFailed, VESKSystemdStop);
    });
}
