#!/bin/bash
# Runs in a private systemd, or another that may be used up: each program of examples/, on units of its own.
# Usage: examples_live.sh FOLDER, which holds the programs.
# shellcheck disable=SC2016,SC2317 # commands that others expand and call
set -u
export PATH=$1:$PATH LC_ALL=C
failures=0

# expect STATUS OUTPUT COMMAND...
expect() {
    local status=0 output
    output=$("${@:3}" 2>&1) || status=$?
    if [[ $status != "$1" || $output != "$2" ]]; then
        printf 'FAILED: %s: status %s, not %s; it printed:\n%s\nnot:\n%s\n' "${*:3}" "$status" "$1" "$output" "$2"
        failures=1
    fi
}

# await COMMAND... : until it succeeds, for at most 20 seconds.
await() {
    local deadline=$((SECONDS + 20))
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < deadline)) || { printf 'FAILED: in vain: %s\n' "$*"; failures=1; return; }
        sleep 0.1
    done
}

unit() { cat >"/etc/systemd/system/$1"; } # reads standard input
state() { systemctl show --property ActiveState "$1" | cut -d = -f 2; }
is_state() { [[ $(state "$1") == "$2" ]]; }

unit first.service <<'END'
[Service]
ExecStart=/bin/sleep infinity
[X-Veskline]
Name=The first
END
unit second.service <<'END'
[Service]
ExecStart=/bin/sleep infinity
END
unit broken.service <<'END'
[Service]
Type=oneshot
ExecStart=/bin/false
END
unit slow.service <<'END'
[Service]
Type=oneshot
ExecStart=/bin/sleep infinity
END
unit inside.slice <<'END'
[Unit]
Description=Whatever is put into it
END
unit quiet.target <<'END'
[Unit]
AllowIsolate=yes
Requires=second.service
END
systemctl daemon-reload

units() {
    expect 0 $'started: first (The first)\nstarted: second' start_unit first second
    expect 1 $'start: failed\nfailed unit: broken' start_unit first broken
    expect 0 'restart: done' control_unit restart first second
    expect 1 $'start: failed\nfailed unit: broken' control_unit start broken
    expect 0 'stop: done' control_unit stop second
    expect 3 inactive systemctl is-active second
    expect 0 'The first' tell_error first
    expect 1 '0x0000: the unit has no display name' tell_error second
    expect 1 '0x0700: there is no such unit' tell_error no-such-unit
}

jobs() {
    expect 0 $'first: idle\nslow: idle' job_queued first slow
    expect 0 '' list_jobs
    systemctl start --no-block slow
    expect 0 $'first: idle\nslow: queued' job_queued first slow
    expect 0 'slow.service: start, running' list_jobs
    systemctl stop slow
    expect 0 '' list_jobs
}

reasons() {
    expect 0 '' list_held
    expect 0 $'hold: done\nheld by: backup' hold_service hold backup first
    expect 3 inactive systemctl is-active first
    expect 0 $'hold: done\nheld by: backup' hold_service hold backup second
    expect 0 $'first.service: backup\nsecond.service: backup' list_held
    expect 0 'release: done' hold_service release backup first
    expect 0 'second.service: backup' list_held
    expect 0 'release: done' hold_service release backup second
    expect 0 '' list_held
}

# killed_daemon PROGRAM ARGUMENT... : a unit that runs it is killed while it holds first.service, comes back by itself,
# and in the end the service runs and has no reason.
killed_daemon() {
    local program
    program=$(command -v "$1")
    rm -f /run/example-again
    unit daemon.service <<END
[Service]
ExecStart="$program" $(printf '"%s" ' "${@:2}")
Environment="LD_LIBRARY_PATH=${LD_LIBRARY_PATH-}"
Restart=on-failure
RestartSec=100ms
END
    systemctl daemon-reload
    systemctl start first
    systemctl start daemon
    await is_state first inactive
    await test -e /run/example-again
    expect 0 'first.service: work' list_held
    systemctl kill --signal=KILL daemon
    # Killed with its command, so nothing has let go; the next run finds it.
    await is_state daemon inactive
    expect 0 active systemctl is-active first
    expect 0 '' list_held
    journalctl --sync
    expect 0 'an earlier run was killed while it held first.service' journalctl --quiet --output cat --unit daemon \
        --grep 'an earlier run' --lines 1
}

volumes() {
    mkdir -p /volume9 && mount -t tmpfs volume9 /volume9
    unit user.service <<'END'
[Service]
ExecStart=/bin/sleep infinity
WorkingDirectory=/volume9
END
    systemctl daemon-reload
    systemctl start user
    await volume_is_used
    expect 0 user.service volume_users list /volume9
    expect 0 'uses /volume9: user.service' unmount_volume users /volume9
    expect 0 '' volume_users add second.service /volume9
    expect 0 '[ "/volume9" ]' echo_registry second.service
    expect 0 '' volume_users remove second.service /volume9
    expect 0 '[]' echo_registry second.service
    expect 0 'done' unmount_volume run /volume9 'umount /volume9'
    # Its folder is there, on what was below the volume.
    await is_state user active
    expect 1 '' grep ' /volume9 ' /proc/self/mounts
    systemctl stop user
}
volume_is_used() { [[ -n $(volume_users list /volume9) ]]; }
echo_registry() { tr -s ' \t\n' '   ' <"/usr/vesk/etc/vesksystemd/volume-register/$1" | sed 's/ $//'; }

targets() {
    systemctl start first
    expect 0 $'boots to multi-user.target\ndone' run_isolated quiet.target \
        'test "$(systemctl is-active first)" = inactive && test "$(systemctl is-active second)" = active'
    expect 0 'all have stopped' isolate quiet.target
    expect 0 active systemctl is-active quiet.target
    expect 1 failed isolate first.service
    expect 0 'all have stopped' isolate multi-user.target
}

slices() {
    local process printed pattern
    systemctl start inside.slice
    # Where slices are monitored in a hierarchy of their own, they have a group there too.
    [[ ! -d /sys/fs/cgroup/veskmonitor ]] || mkdir /sys/fs/cgroup/veskmonitor/inside.slice
    enter_slice inside.slice /bin/sleep infinity >/run/example-entered &
    process=$!
    await grep -q . /run/example-entered
    expect 0 'now in inside.slice' cat /run/example-entered
    pattern="$process sleep: processor 0.0 %, memory [0-9]+ kB, read 0.0 B/s, written 0.0 B/s"
    printed=$(slice_processes inside.slice)
    [[ $printed =~ ^$pattern$ ]] || { printf 'FAILED: slice_processes printed: %s\n' "$printed"; failures=1; }
    kill "$process"
    expect 1 'no.slice cannot be read' slice_processes no.slice
    expect 1 'cannot enter no.slice' enter_slice no.slice /bin/true
}

units
jobs
reasons
killed_daemon hold_services work 'test -e /run/example-again || { touch /run/example-again; sleep 600; }' first.service
killed_daemon hold_daemon work first.service 'test -e /run/example-again || { touch /run/example-again; sleep 600; }'
systemctl reset-failed
volumes
targets
slices
exit "$failures"
