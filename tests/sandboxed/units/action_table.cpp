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

} // namespace

const std::vector<ActionRow>& ActionRows()
{
    static const std::vector<ActionRow> rows = BlockingRows();
    return rows;
}

} // namespace VeskTest
