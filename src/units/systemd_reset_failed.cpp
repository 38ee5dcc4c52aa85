#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/text.hpp"
#include "units/unit_action.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr UnitAction kResetFailed(
    ActionKind::Units, "reset-failed", VESK_LINE("%s:%d vesksystemd: [%s] doing reset-failed ..."),
    VESK_LINE("%s:%d vesksystemd: [%s] reset-failed done."),
    VESK_LINE("%s:%d vesksystemd: [%s] is unabled to reset-failed, skipped: ret=[%d], reason:\n%s"),
    VESK_LINE("%s:%d vesksystemd: [%s] failed to reset-failed."));

} // namespace

bool VESKSystemdResetFailed(const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionRun(kResetFailed, {}, vecUnits, vecFailed);
}
