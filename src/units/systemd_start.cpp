#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr int kStartAction = 1;

const UnitAction kStart{
    "start",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] starting ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] started.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] start failed: ret=[%d], reason:\n%s", VESK_HERE,
                 Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] start failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
};

} // namespace

bool VESKSystemdStartWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    const bool blResult =
        VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kStart, vecOptions, vecUnits, vecFailed);
    VESKSystemdLogAction(kStartAction, blResult, vecUnits, vecFailed);
    return blResult;
}

bool VESKSystemdStart(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdStartWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdStart(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdStart);
}

bool VESKSystemdStartIrreversibly(const std::string& strUnit)
{
    Texts vecFailed;
    return VESK_ARGUMENT(!strUnit.empty()) &&
           VESKSystemdStartWithOptions({"--job-mode=replace-irreversibly"}, {strUnit}, vecFailed);
}

int VESKCSystemdStart(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdStart(szUnit); });
}

int VESKCSystemdStartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) && GroupForm(pListUnits, ppListFailed, VESKSystemdStart);
    });
}

int VESKCSystemdStartIrreversibly(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdStartIrreversibly(szUnit); });
}
