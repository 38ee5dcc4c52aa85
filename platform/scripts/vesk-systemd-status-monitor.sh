#!/bin/sh
# Logs, about once a second, what the service manager is doing: its state and its queued jobs, when the state has
# changed or there are jobs. Runs as long as somebody holds the exit lock, and ends as soon as it is free.
#
# Two processes share the work. This one waits for the lock and nothing else, so that it ends at once however long
# a query hangs; the other one queries and logs, in a session of its own, and is killed whole at the end.

# Whoever isolates may have any path, or none.
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export PATH

lock=/run/vesksystemd/status_monitor.exit.lock
systemctl=/usr/bin/systemctl
tag=vesk-systemd-status-monitor

# The exit code that stands for "somebody has the lock", away from those of the shell and of flock itself.
held=75
# Longer than a busy manager takes to answer, shorter than a query that has to be given up.
query_seconds=10

# The descriptor of the lock exists in the flock program only: nothing that is started here can keep the lock.
lock_is_held() {
    flock -n -x -E "$held" 9 9<"$lock"
    [ $? -eq "$held" ]
}

query() {
    timeout --foreground -s KILL "$query_seconds" "$systemctl" "$@" 2>/dev/null </dev/null
}

queued_jobs() {
    query list-jobs --no-legend --no-pager | sed -n '/^ *[0-9]/p'
}

log_status() {
    printf 'system state: %s\n' "$1"
    [ -z "$2" ] || printf '%s\n' "$2" | sed 's/^ */queued job: /'
}

report() {
    last_state=
    last_jobs=
    while lock_is_held; do
        state=$(query is-system-running)
        jobs=$(queued_jobs)
        if [ -n "$jobs" ] || [ "$state" != "$last_state" ] || [ "$jobs" != "$last_jobs" ]; then
            log_status "${state:-no answer}" "$jobs" | logger -t "$tag" -p daemon.info 2>/dev/null
        fi
        last_state=$state
        last_jobs=$jobs
        sleep 1
    done
}

watch() {
    [ -e "$lock" ] && lock_is_held || exit 0

    setsid "$0" report </dev/null >/dev/null 2>&1 &
    reporter=$!
    flock -x 9 9<"$lock" &
    waiter=$!
    trap 'kill -KILL "$waiter" "-$reporter" "$reporter" 2>/dev/null' EXIT
    trap 'exit 143' HUP INT TERM

    wait "$waiter"
    exit $?
}

case ${1-} in
report) report ;;
'') watch ;;
*)
    echo "usage: $0" >&2
    exit 2
    ;;
esac
