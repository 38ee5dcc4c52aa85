#include "action_rows.hpp"

#include <type_traits>
#include <utility>

namespace VeskTest
{

namespace
{

// One member of a row with its value: a row names what it sets.
template <auto kMember>
struct Set {
    std::decay_t<decltype(std::declval<ActionRow>().*kMember)> value;
};

using Verb = Set<&ActionRow::verb>;
using File = Set<&ActionRow::file>;
using Begin = Set<&ActionRow::begin>;
using Done = Set<&ActionRow::done>;
using Failed = Set<&ActionRow::failed>;
using NotRun = Set<&ActionRow::notRun>;
using Options = Set<&ActionRow::options>;
using ConflictingJob = Set<&ActionRow::conflictingJob>;
using Tells = Set<&ActionRow::style>;
using WithOptions = Set<&ActionRow::withOptions>;
using List = Set<&ActionRow::list>;
using One = Set<&ActionRow::one>;
using COne = Set<&ActionRow::cOne>;
using CGroup = Set<&ActionRow::cGroup>;

template <auto... kMembers>
ActionRow Row(ActionRow row, Set<kMembers>... members)
{
    ((row.*kMembers = std::move(members.value)), ...);
    return row;
}

template <auto... kMembers>
ActionRow Family(const char* name, Set<kMembers>... members)
{
    ActionRow row = Row({}, std::move(members)...);
    row.name = name;
    row.fileOfForms = row.file;
    return row;
}

// The same verb, file and texts, for functions that always pass this option.
ActionRow Variant(ActionRow family, const std::string& name, const char* option)
{
    family.name += name;
    family.options = {option};
    return family;
}

// Functions of a variant that stand in a file of their own: "systemd_start.cpp" and this ending of its name.
ActionRow VariantInItsFile(ActionRow family, const std::string& name, const char* option, const char* ending)
{
    family.fileOfForms.insert(family.fileOfForms.rfind(".cpp"), ending);
    return Variant(std::move(family), name, option);
}

ActionRow NoBlock(const ActionRow& family)
{
    return VariantInItsFile(family, "NoBlock", "--no-block", "_no_block");
}

ActionRow InGenerator(const ActionRow& family)
{
    return VariantInItsFile(family, "InGenerator", "--root=/.", "_in_generator");
}

ActionRow RunTime(const ActionRow& family)
{
    return Variant(family, "RunTime", "--runtime");
}

std::vector<ActionRow> JobRows()
{
    const ActionRow start =
        Family("Start", Verb{"start"}, File{"systemd_start.cpp"}, Begin{"starting ..."}, Done{"started."},
               Failed{"start failed"}, NotRun{"start failed."}, ConflictingJob{"start"});
    const ActionRow stop =
        Family("Stop", Verb{"stop"}, File{"systemd_stop.cpp"}, Begin{"stopping ..."}, Done{"stopped."},
               Failed{"stopped failed"}, NotRun{"stopped failed."}, ConflictingJob{"stop"});
    return {
        Row(start, WithOptions{VESKSystemdStartWithOptions}, List{VESKSystemdStart}, One{VESKSystemdStart},
            COne{VESKCSystemdStart}, CGroup{VESKCSystemdStartGroup}),
        Row(NoBlock(start), List{VESKSystemdStartNoBlock}, One{VESKSystemdStartNoBlock},
            COne{VESKCSystemdStartNoBlock}, CGroup{VESKCSystemdStartGroupNoBlock}),
        Row(Variant(start, "Irreversibly", "--job-mode=replace-irreversibly"),
            One{VESKSystemdStartIrreversibly}, COne{VESKCSystemdStartIrreversibly}),
        Row(stop, WithOptions{VESKSystemdStopWithOptions}, List{VESKSystemdStop}, One{VESKSystemdStop},
            COne{VESKCSystemdStop}, CGroup{VESKCSystemdStopGroup}),
        Row(NoBlock(stop), List{VESKSystemdStopNoBlock}, One{VESKSystemdStopNoBlock},
            COne{VESKCSystemdStopNoBlock}, CGroup{VESKCSystemdStopGroupNoBlock}),
    };
}

std::vector<ActionRow> RestartRows()
{
    const ActionRow restart =
        Family("Restart", Verb{"restart"}, File{"systemd_restart.cpp"}, Begin{"restarting ..."},
               Done{"restarted."}, Failed{"restart failed"}, NotRun{"restart failed."});
    const ActionRow tryRestart =
        Family("TryRestart", Verb{"try-restart"}, File{"systemd_restart.cpp"}, Begin{"try-restarting ..."},
               Done{"try-restarted."}, Failed{"try-restart failed"}, NotRun{"try-restart failed."});
    return {
        Row(restart, ConflictingJob{"reload"}, WithOptions{VESKSystemdRestartWithOptions},
            List{VESKSystemdRestart}, One{VESKSystemdRestart}, COne{VESKCSystemdRestart},
            CGroup{VESKCSystemdRestartGroup}),
        Row(NoBlock(restart), ConflictingJob{"stop"}, List{VESKSystemdRestartNoBlock},
            One{VESKSystemdRestartNoBlock}, COne{VESKCSystemdRestartNoBlock},
            CGroup{VESKCSystemdRestartGroupNoBlock}),
        Row(tryRestart, WithOptions{VESKSystemdTryRestartWithOptions}, List{VESKSystemdTryRestart},
            One{VESKSystemdTryRestart}, COne{VESKCSystemdTryRestart}, CGroup{VESKCSystemdTryRestartGroup}),
        Row(NoBlock(tryRestart), List{VESKSystemdTryRestartNoBlock}, One{VESKSystemdTryRestartNoBlock},
            COne{VESKCSystemdTryRestartNoBlock}, CGroup{VESKCSystemdTryRestartGroupNoBlock}),
    };
}

std::vector<ActionRow> ReloadRows()
{
    const ActionRow reload =
        Family("Reload", Verb{"reload"}, File{"systemd_reload.cpp"}, Begin{"reloading ..."},
               Done{"reloaded."}, Failed{"reload failed"}, NotRun{"reload failed."}, Options{{"--no-block"}});
    const ActionRow reloadOrRestart =
        Family("ReloadOrRestart", Verb{"reload-or-restart"}, File{"systemd_reload_or_restart.cpp"},
               Begin{"doing reload-or-restart ..."}, Done{"done reload-or-restart."},
               Failed{"reload-or-restart failed"}, NotRun{"reload-or-restart failed."});
    return {
        Row(reload, WithOptions{VESKSystemdReloadWithOptions}, List{VESKSystemdReload},
            One{VESKSystemdReload}, COne{VESKCSystemdReload}, CGroup{VESKCSystemdReloadGroup}),
        Row(NoBlock(reload), List{VESKSystemdReloadNoBlock}, One{VESKSystemdReloadNoBlock},
            COne{VESKCSystemdReloadNoBlock}, CGroup{VESKCSystemdReloadGroupNoBlock}),
        Row(reloadOrRestart, WithOptions{VESKSystemdReloadOrRestartWithOptions},
            List{VESKSystemdReloadOrRestart}, One{VESKSystemdReloadOrRestart},
            COne{VESKCSystemdReloadOrRestart}, CGroup{VESKCSystemdReloadOrRestartGroup}),
        Row(NoBlock(reloadOrRestart), List{VESKSystemdReloadOrRestartNoBlock},
            One{VESKSystemdReloadOrRestartNoBlock}, COne{VESKCSystemdReloadOrRestartNoBlock},
            CGroup{VESKCSystemdReloadOrRestartGroupNoBlock}),
    };
}

bool EnableWithOptions(const Words& options, const Words& units, Words& failed)
{
    return VESKSystemdEnableWithOptionsInternal(options, units, failed, true);
}

bool DisableWithOptions(const Words& options, const Words& units, Words& failed)
{
    return VESKSystemdDisableWithOptionsInternal(options, units, failed, true);
}

std::vector<ActionRow> EnableRows()
{
    const Tells tells{Style::AllUnitsFail};
    const ActionRow enable =
        Family("Enable", Verb{"enable"}, File{"systemd_enable.cpp"}, Begin{"enabling ..."}, Done{"enabled."},
               Failed{"enable failed"}, NotRun{"enable failed."}, tells);
    const ActionRow disable =
        Family("Disable", Verb{"disable"}, File{"systemd_disable.cpp"}, Begin{"disabling ..."},
               Done{"disabled."}, Failed{"disable failed"}, NotRun{"disable failed."}, tells);
    const ActionRow reenable =
        Family("Reenable", Verb{"reenable"}, File{"systemd_reenable.cpp"}, Begin{"reenabling ..."},
               Done{"reenabled."}, Failed{"reenable failed"}, NotRun{"reenable failed."}, tells);
    return {
        Row(enable, WithOptions{EnableWithOptions}, List{VESKSystemdEnable}, One{VESKSystemdEnable},
            COne{VESKCSystemdEnable}, CGroup{VESKCSystemdEnableGroup}),
        Row(InGenerator(enable), List{VESKSystemdEnableInGenerator}, One{VESKSystemdEnableInGenerator},
            COne{VESKCSystemdEnableInGenerator}, CGroup{VESKCSystemdEnableGroupInGenerator}),
        Row(disable, WithOptions{DisableWithOptions}, List{VESKSystemdDisable}, One{VESKSystemdDisable},
            COne{VESKCSystemdDisable}, CGroup{VESKCSystemdDisableGroup}),
        Row(InGenerator(disable), List{VESKSystemdDisableInGenerator}, One{VESKSystemdDisableInGenerator},
            COne{VESKCSystemdDisableInGenerator}, CGroup{VESKCSystemdDisableGroupInGenerator}),
        Row(reenable, List{VESKSystemdReenable}, One{VESKSystemdReenable}, COne{VESKCSystemdReenable},
            CGroup{VESKCSystemdReenableGroup}),
    };
}

std::vector<ActionRow> MaskRows()
{
    const Tells tells{Style::Mask};
    const ActionRow mask = Family("Mask", Verb{"mask"}, File{"systemd_mask.cpp"}, Begin{"masking ..."},
                                  Done{"masked."}, Failed{"mask failed"}, NotRun{"mask failed."}, tells);
    const ActionRow unmask =
        Family("Unmask", Verb{"unmask"}, File{"systemd_unmask.cpp"}, Begin{"unmasking ..."},
               Done{"unmasked."}, Failed{"unmask failed"}, NotRun{"unmask failed."}, tells);
    return {
        Row(mask, List{VESKSystemdMask}, One{VESKSystemdMask}, COne{VESKCSystemdMask},
            CGroup{VESKCSystemdMaskGroup}),
        Row(RunTime(mask), One{VESKSystemdMaskRunTime}, COne{VESKCSystemdMaskRunTime}),
        Row(unmask, List{VESKSystemdUnmask}, One{VESKSystemdUnmask}, COne{VESKCSystemdUnmask},
            CGroup{VESKCSystemdUnmaskGroup}),
        Row(RunTime(unmask), One{VESKSystemdUnmaskRunTime}, COne{VESKCSystemdUnmaskRunTime}),
    };
}

std::vector<ActionRow> ResetFailedRow()
{
    return {Family("ResetFailed", Verb{"reset-failed"}, File{"systemd_reset_failed.cpp"},
                   Begin{"doing reset-failed ..."}, Done{"reset-failed done."},
                   Failed{"is unabled to reset-failed, skipped"}, NotRun{"failed to reset-failed."},
                   List{VESKSystemdResetFailed})};
}

} // namespace

const std::vector<ActionRow>& ActionRows()
{
    static const std::vector<ActionRow> rows = [] {
        std::vector<ActionRow> all;
        for (const auto& families :
             {JobRows(), RestartRows(), ReloadRows(), EnableRows(), MaskRows(), ResetFailedRow()}) {
            all.insert(all.end(), families.begin(), families.end());
        }
        return all;
    }();
    return rows;
}

} // namespace VeskTest
