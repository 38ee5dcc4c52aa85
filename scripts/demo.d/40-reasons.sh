# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

act "A service held by two reasons"
tell "A backup and an update both want the media server down for a while, and know nothing of each other."
expect 0 "started: media (Media Server)" start_unit media
expect_log <<'END'
systemd_start.cpp:N vesksystemd: [media] starting ...
systemd_start.cpp:N vesksystemd: [media] started.
END
tell "The first reason stops it. systemd reads its unit files again when a service gets its first reason:"
expect 0 "hold: done
held by: backup" hold_service hold backup media
expect 3 "inactive" systemctl is-active media
expect_log <<'END'
systemd_service_stop_by_reason.cpp:N vesksystemd: [media] stopping by reason [backup] ...
systemd_stop.cpp:N vesksystemd: [media] stopping ...
systemd_stop.cpp:N vesksystemd: [media] stopped.
systemd_daemon-reload.cpp:N vesksystemd: start daemon reload
systemd_systemctl.cpp:N vesksystemd: Execute time for [/usr/bin/systemctl daemon-reload] is N ms
systemd_daemon-reload.cpp:N vesksystemd: daemon reload success!
END
tell "Reasons are empty files. The second joins the first, and each is taken away by itself:"
expect 0 "" test -f /run/vesksystemd/reasons/media.service/backup
expect 0 "hold: done" sh -c 'hold_service hold update media | grep hold:'
expect 0 "backup
update" ls /run/vesksystemd/reasons/media.service
expect 0 "release: done
held by: update" hold_service release backup media
expect 0 "release: done" hold_service release update media
expect 0 "" ls /run/vesksystemd/reasons/media.service
tell "Nothing holds it any more, so whoever wants it up may start it:"
expect 0 "started: media (Media Server)" start_unit media
expect 0 "active" systemctl is-active media
