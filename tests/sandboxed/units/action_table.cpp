#include <gmock/gmock.h>

#include "action_rows.hpp"

namespace VeskTest
{

namespace
{

std::vector<ActionRow> BlockingRows()
{
    return {
        {"Start",
         "start",
         "systemd_start.cpp",
         "starting ...",
         "started.",
         "start failed",
         "start failed.",
         VESKSystemdStartWithOptions,
         VESKSystemdStart,
         VESKSystemdStart,
         VESKCSystemdStart,
         VESKCSystemdStartGroup,
         {},
         "start"},
        {"Stop",
         "stop",
         "systemd_stop.cpp",
         "stopping ...",
         "stopped.",
         "stopped failed",
         "stopped failed.",
         VESKSystemdStopWithOptions,
         VESKSystemdStop,
         VESKSystemdStop,
         VESKCSystemdStop,
         VESKCSystemdStopGroup,
         {},
         "stop"},
        {"Restart",
         "restart",
         "systemd_restart.cpp",
         "restarting ...",
         "restarted.",
         "restart failed",
         "restart failed.",
         VESKSystemdRestartWithOptions,
         VESKSystemdRestart,
         VESKSystemdRestart,
         VESKCSystemdRestart,
         VESKCSystemdRestartGroup,
         {},
         "reload"},
        {"TryRestart", "try-restart", "systemd_restart.cpp", "try-restarting ...", "try-restarted.",
         "try-restart failed", "try-restart failed.", VESKSystemdTryRestartWithOptions, VESKSystemdTryRestart,
         VESKSystemdTryRestart, VESKCSystemdTryRestart, VESKCSystemdTryRestartGroup},
        {"Reload",
         "reload",
         "systemd_reload.cpp",
         "reloading ...",
         "reloaded.",
         "reload failed",
         "reload failed.",
         VESKSystemdReloadWithOptions,
         VESKSystemdReload,
         VESKSystemdReload,
         VESKCSystemdReload,
         VESKCSystemdReloadGroup,
         {"--no-block"}},
        {"ReloadOrRestart", "reload-or-restart", "systemd_reload_or_restart.cpp",
         "doing reload-or-restart ...", "done reload-or-restart.", "reload-or-restart failed",
         "reload-or-restart failed.", VESKSystemdReloadOrRestartWithOptions, VESKSystemdReloadOrRestart,
         VESKSystemdReloadOrRestart, VESKCSystemdReloadOrRestart, VESKCSystemdReloadOrRestartGroup},
        {"StartIrreversibly",
         "start",
         "systemd_start.cpp",
         "starting ...",
         "started.",
         "start failed",
         "start failed.",
         nullptr,
         nullptr,
         VESKSystemdStartIrreversibly,
         VESKCSystemdStartIrreversibly,
         nullptr,
         {"--job-mode=replace-irreversibly"},
         "start"},
    };
}

const Words kNoBlock{"--no-block"};

std::vector<ActionRow> NoBlockRows()
{
    return {
        {"StartNoBlock", "start", "systemd_start.cpp", "starting ...", "started.", "start failed",
         "start failed.", nullptr, VESKSystemdStartNoBlock, VESKSystemdStartNoBlock, VESKCSystemdStartNoBlock,
         VESKCSystemdStartGroupNoBlock, kNoBlock, "start", "systemd_start_no_block.cpp"},
        {"StopNoBlock", "stop", "systemd_stop.cpp", "stopping ...", "stopped.", "stopped failed",
         "stopped failed.", nullptr, VESKSystemdStopNoBlock, VESKSystemdStopNoBlock, VESKCSystemdStopNoBlock,
         VESKCSystemdStopGroupNoBlock, kNoBlock, "stop", "systemd_stop_no_block.cpp"},
        {"RestartNoBlock", "restart", "systemd_restart.cpp", "restarting ...", "restarted.", "restart failed",
         "restart failed.", nullptr, VESKSystemdRestartNoBlock, VESKSystemdRestartNoBlock,
         VESKCSystemdRestartNoBlock, VESKCSystemdRestartGroupNoBlock, kNoBlock, "stop",
         "systemd_restart_no_block.cpp"},
        {"TryRestartNoBlock", "try-restart", "systemd_restart.cpp", "try-restarting ...", "try-restarted.",
         "try-restart failed", "try-restart failed.", nullptr, VESKSystemdTryRestartNoBlock,
         VESKSystemdTryRestartNoBlock, VESKCSystemdTryRestartNoBlock, VESKCSystemdTryRestartGroupNoBlock,
         kNoBlock, nullptr, "systemd_restart_no_block.cpp"},
        {"ReloadNoBlock", "reload", "systemd_reload.cpp", "reloading ...", "reloaded.", "reload failed",
         "reload failed.", nullptr, VESKSystemdReloadNoBlock, VESKSystemdReloadNoBlock,
         VESKCSystemdReloadNoBlock, VESKCSystemdReloadGroupNoBlock, kNoBlock, nullptr,
         "systemd_reload_no_block.cpp"},
        {"ReloadOrRestartNoBlock", "reload-or-restart", "systemd_reload_or_restart.cpp",
         "doing reload-or-restart ...", "done reload-or-restart.", "reload-or-restart failed",
         "reload-or-restart failed.", nullptr, VESKSystemdReloadOrRestartNoBlock,
         VESKSystemdReloadOrRestartNoBlock, VESKCSystemdReloadOrRestartNoBlock,
         VESKCSystemdReloadOrRestartGroupNoBlock, kNoBlock, nullptr,
         "systemd_reload_or_restart_no_block.cpp"},
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
    return {
        {"Enable",
         "enable",
         "systemd_enable.cpp",
         "enabling ...",
         "enabled.",
         "enable failed",
         "enable failed.",
         EnableWithOptions,
         VESKSystemdEnable,
         VESKSystemdEnable,
         VESKCSystemdEnable,
         VESKCSystemdEnableGroup,
         {},
         nullptr,
         nullptr,
         Style::AllUnitsFail},
        {"Disable",
         "disable",
         "systemd_disable.cpp",
         "disabling ...",
         "disabled.",
         "disable failed",
         "disable failed.",
         DisableWithOptions,
         VESKSystemdDisable,
         VESKSystemdDisable,
         VESKCSystemdDisable,
         VESKCSystemdDisableGroup,
         {},
         nullptr,
         nullptr,
         Style::AllUnitsFail},
        {"Reenable",
         "reenable",
         "systemd_reenable.cpp",
         "reenabling ...",
         "reenabled.",
         "reenable failed",
         "reenable failed.",
         nullptr,
         VESKSystemdReenable,
         VESKSystemdReenable,
         VESKCSystemdReenable,
         VESKCSystemdReenableGroup,
         {},
         nullptr,
         nullptr,
         Style::AllUnitsFail},
        {"EnableInGenerator",
         "enable",
         "systemd_enable.cpp",
         "enabling ...",
         "enabled.",
         "enable failed",
         "enable failed.",
         nullptr,
         VESKSystemdEnableInGenerator,
         VESKSystemdEnableInGenerator,
         VESKCSystemdEnableInGenerator,
         VESKCSystemdEnableGroupInGenerator,
         {"--root=/."},
         nullptr,
         "systemd_enable_in_generator.cpp",
         Style::AllUnitsFail},
        {"DisableInGenerator",
         "disable",
         "systemd_disable.cpp",
         "disabling ...",
         "disabled.",
         "disable failed",
         "disable failed.",
         nullptr,
         VESKSystemdDisableInGenerator,
         VESKSystemdDisableInGenerator,
         VESKCSystemdDisableInGenerator,
         VESKCSystemdDisableGroupInGenerator,
         {"--root=/."},
         nullptr,
         "systemd_disable_in_generator.cpp",
         Style::AllUnitsFail},
    };
}

std::vector<ActionRow> MaskRows()
{
    return {
        {"Mask",
         "mask",
         "systemd_mask.cpp",
         "masking ...",
         "masked.",
         "mask failed",
         "mask failed.",
         nullptr,
         VESKSystemdMask,
         VESKSystemdMask,
         VESKCSystemdMask,
         VESKCSystemdMaskGroup,
         {},
         nullptr,
         nullptr,
         Style::Mask},
        {"MaskRunTime",
         "mask",
         "systemd_mask.cpp",
         "masking ...",
         "masked.",
         "mask failed",
         "mask failed.",
         nullptr,
         nullptr,
         VESKSystemdMaskRunTime,
         VESKCSystemdMaskRunTime,
         nullptr,
         {"--runtime"},
         nullptr,
         nullptr,
         Style::Mask},
        {"Unmask",
         "unmask",
         "systemd_unmask.cpp",
         "unmasking ...",
         "unmasked.",
         "unmask failed",
         "unmask failed.",
         nullptr,
         VESKSystemdUnmask,
         VESKSystemdUnmask,
         VESKCSystemdUnmask,
         VESKCSystemdUnmaskGroup,
         {},
         nullptr,
         nullptr,
         Style::Mask},
        {"UnmaskRunTime",
         "unmask",
         "systemd_unmask.cpp",
         "unmasking ...",
         "unmasked.",
         "unmask failed",
         "unmask failed.",
         nullptr,
         nullptr,
         VESKSystemdUnmaskRunTime,
         VESKCSystemdUnmaskRunTime,
         nullptr,
         {"--runtime"},
         nullptr,
         nullptr,
         Style::Mask},
    };
}

std::vector<ActionRow> ResetFailedRow()
{
    return {
        {"ResetFailed", "reset-failed", "systemd_reset_failed.cpp", "doing reset-failed ...",
         "reset-failed done.", "is unabled to reset-failed, skipped", "failed to reset-failed.", nullptr,
         VESKSystemdResetFailed, nullptr, nullptr, nullptr},
    };
}

} // namespace

const std::vector<ActionRow>& ActionRows()
{
    static const std::vector<ActionRow> rows = [] {
        std::vector<ActionRow> all;
        for (const auto& family :
             {BlockingRows(), NoBlockRows(), EnableRows(), MaskRows(), ResetFailedRow()}) {
            all.insert(all.end(), family.begin(), family.end());
        }
        return all;
    }();
    return rows;
}

} // namespace VeskTest
