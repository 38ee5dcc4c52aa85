#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_file_action.hpp"

using namespace VESK::Systemd;

namespace
{

const UnitAction kDisable = UnitFileAction({
    "disable",
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] disabling ...", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecUnits) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] disabled.", VESK_HERE, Joined(vecUnits).c_str());
    },
    [](const Texts& vecFailed, int nExitCode, const Texts& vecLines) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] disable failed: ret=[%d], reason:\n%s", VESK_HERE,
                 Joined(vecFailed).c_str(), nExitCode, Joined(vecLines, "").c_str());
    },
    [](const Texts& vecFailed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] disable failed.", VESK_HERE, Joined(vecFailed).c_str());
    },
});

} // namespace

bool VESKSystemdDisableWithOptionsInternal(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed,
                                           bool /*blUnused*/)
{
    return VESK_ARGUMENT(!vecUnits.empty()) && UnitActionRun(kDisable, vecOptions, vecUnits, vecFailed);
}

bool VESKSystemdDisableWithOptions(const Texts& vecUnits, const CommandOptions& options, Texts& vecFailed)
{
    Texts vecOptions;
    GetEnableDisableOptions(options, vecOptions);
    return VESKSystemdDisableWithOptionsInternal(vecOptions, vecUnits, vecFailed, false);
}

bool VESKSystemdDisable(const Texts& vecUnits, Texts& vecFailed)
{
    return VESKSystemdDisableWithOptionsInternal({}, vecUnits, vecFailed, false);
}

bool VESKSystemdDisable(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdDisable);
}

int VESKCSystemdDisable(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdDisable(szUnit); });
}

int VESKCSystemdDisableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdDisable);
    });
}
