# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

act "A service that fails"
unit backup.service <<'END'
[Service]
Type=oneshot
ExecStart=/bin/false

[X-Veskline]
Name=Backup
END
tell "Two services in one call. The result is a failure, and the list of failed units tells which one it was:"
expect 1 "start: failed
failed unit: backup (Backup)" start_unit media backup
tell "The log has the exit code of systemctl and its reason:"
expect_log <<'END'
systemd_start.cpp:N vesksystemd: [media, backup] starting ...
systemd_start.cpp:N vesksystemd: [backup] start failed: ret=[1], reason:
Job for backup.service failed because the control process exited with error code.
See "systemctl status backup.service" and "journalctl -xeu backup.service" for details.
END
tell "The event log has both, the one that is running and the one that failed:"
expect_events <<'END'
vesksystemd 0001 started: Media Server
vesksystemd 0011 failed to start: Backup
END

act "A service that nobody knows"
expect 1 "start: failed
failed unit: ghost" start_unit ghost
expect_log <<'END'
systemd_start.cpp:N vesksystemd: [ghost] starting ...
systemd_start.cpp:N vesksystemd: [ghost] start failed: ret=[5], reason:
Failed to start ghost.service: Unit ghost.service not found.
END
tell "What has no display name is not put into the event log:"
expect_events </dev/null

act "A service that needs the one that fails"
unit index.service <<'END'
[Unit]
Requires=backup.service
After=backup.service

[Service]
ExecStart=/bin/sleep infinity

[X-Veskline]
Name=Picture Index
END
tell "It fails because its dependency fails. This time with the C++ program:"
expect 1 "start: failed
failed unit: index (Picture Index)" control_unit start index
expect_log <<'END'
systemd_start.cpp:N vesksystemd: [index] starting ...
systemd_start.cpp:N vesksystemd: [index] start failed: ret=[1], reason:
A dependency job for index.service failed. See 'journalctl -xe' for details.
END
expect_events <<'END'
vesksystemd 0011 failed to start: Picture Index
END
