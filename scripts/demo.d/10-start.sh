# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

act "A service that works"
tell "The unit file of a service has a section of the system's own, with the name that users see."
unit media.service <<'END'
[Unit]
Description=Serves films and music

[Service]
ExecStart=/bin/sleep infinity

[X-Veskline]
Name=Media Server
END
tell "The C program starts it, waits until it is up and reads its display name:"
expect 0 "started: media (Media Server)" start_unit media
expect 0 "active" systemctl is-active media
tell "The library has logged what it did (N is the number of a source line):"
expect_log <<'END'
systemd_start.cpp:N vesksystemd: [media] starting ...
systemd_start.cpp:N vesksystemd: [media] started.
END
tell "and has put it into the system's event log, $event_log, by the display name:"
expect_events <<'END'
vesksystemd 0001 started: Media Server
END
