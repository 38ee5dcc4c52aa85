# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

act "Restart and stop"
tell "A restart gives the service a new process:"
before=$(systemctl show --property MainPID --value media)
expect 0 "restart: done" control_unit restart media
after=$(systemctl show --property MainPID --value media)
tell "    (process $before before, $after now)"
[[ $before != 0 && $after != 0 && $before != "$after" ]] || not_as_told "it should be another process"
expect_log <<'END'
systemd_restart.cpp:N vesksystemd: [media] restarting ...
systemd_restart.cpp:N vesksystemd: [media] restarted.
END
tell "Restarts are not in the event log. Stops are:"
expect 0 "stop: done" control_unit stop media
expect 3 "inactive" systemctl is-active media
expect_log <<'END'
systemd_stop.cpp:N vesksystemd: [media] stopping ...
systemd_stop.cpp:N vesksystemd: [media] stopped.
END
expect_events <<'END'
vesksystemd 0002 stopped: Media Server
END
