#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_file_action.hpp"

using namespace VESK::Systemd;

namespace
{

const UnitAction kEnable = UnitFileAction({
    "enable",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] enabling ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] enabled.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] enable failed: ret=[%d], reason:\n%s", VESK_HERE,
                 Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] enable failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
});

} // namespace

bool VESKSystemdEnableWithOptionsInternal(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed,
                                          bool /*blUnused*/)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kEnable, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdEnableWithOptions(const Texts& vecUnits, const CommandOptions& options, Texts& vecFailed)
{
    Texts vecOptions;
    GetEnableDisableOptions(options, vecOptions);
    return VESKSystemdEnableWithOptionsInternal(vecOptions, vecUnits, vecFailed, false);
}

bool VESKSystemdEnable(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdEnableWithOptionsInternal({}, vecUnits, vecFailed, false);
}

bool VESKSystemdEnable(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdEnable);
}

int VESKCSystemdEnable(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdEnable(szUnit); });
}

int VESKCSystemdEnableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) && GroupForm(pListUnits, ppListFailed, VESKSystemdEnable);
    });
}
