#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kEnable{
    ActionKind::UnitFiles,
    "enable",
    VESK_LINE("%s:%d vesksystemd: [%s] enabling ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] enabled."),
    VESK_LINE("%s:%d vesksystemd: [%s] enable failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] enable failed."),
};

} // namespace

bool VESKSystemdEnableWithOptionsInternal(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed,
                                          bool /*blUnused*/)
{
    return UnitActionRun(kEnable, vecOptions, vecUnits, vecFailed);
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
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdEnable);
}

int VESKCSystemdEnable(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdEnable);
}

int VESKCSystemdEnableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdEnable);
}
