#include "vesksystemd.hpp"

#include <algorithm>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

const UnitAction kReload{
    "reload",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] reloading ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] reloaded.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] reload failed: ret=[%d], reason:\n%s", VESK_HERE,
                 Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] reload failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
};

Texts WithNoBlock(Texts vecOptions)
{
    if (std::find(vecOptions.begin(), vecOptions.end(), "--no-block") == vecOptions.end()) {
        vecOptions.emplace_back("--no-block");
    }
    return vecOptions;
}

} // namespace

bool VESKSystemdReloadWithOptions(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return VESK_ARGUMENT(!vecUnits.empty()) &&
           UnitActionRun(kReload, WithNoBlock(vecOptions), vecUnits, vecFailed);
}

bool VESKSystemdReload(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdReloadWithOptions({}, vecUnits, vecFailed);
}

bool VESKSystemdReload(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdReload);
}

int VESKCSystemdReload(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdReload(szUnit); });
}

int VESKCSystemdReloadGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) && GroupForm(pListUnits, ppListFailed, VESKSystemdReload);
    });
}
