#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kDisable{
    ActionKind::UnitFiles,
    "disable",
    VESK_LINE("%s:%d vesksystemd: [%s] disabling ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] disabled."),
    VESK_LINE("%s:%d vesksystemd: [%s] disable failed: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] disable failed."),
};

} // namespace

bool VESKSystemdDisableWithOptionsInternal(const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed,
                                           bool /*blUnused*/)
{
    return UnitActionRun(kDisable, vecOptions, vecUnits, vecFailed);
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
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdDisable);
}

int VESKCSystemdDisable(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdDisable);
}

int VESKCSystemdDisableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdDisable);
}
