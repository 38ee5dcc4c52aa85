#!/bin/bash
# Compares the machine before and after private systems: one that ends by itself, and some whose owner or keeper is
# killed while they boot or run a command. Usage: live_host_test.sh VESK_LIVE LAYOUT, one of "vesk-live --cgroup".
# Exit code 77 when no system can be booted.
set -u

live=("$1" --cgroup "$2")
cgroups=/sys/fs/cgroup/veskmonitor
[ "$2" = platform ] || cgroups=/sys/fs/cgroup
patience=15 # seconds; orphans and hierarchies go a little later
tag=VESK_LIVE_HOST_TEST_$$
failures=0

fail() { echo "FAILED: $*"; failures=$((failures + 1)); }

folders_of() { # a hierarchy's folders, without those of systems that others run
    find "$1" -type d -not -path '*/vesk-live-*' 2>/dev/null | sort
}

cgroup_mounts() { awk '/ - cgroup2? / { print $5 }' /proc/self/mountinfo | grep -E '/(systemd|unified)$|^/sys/fs/cgroup$'; }

names_in_tmp() { find /tmp -mindepth 1 -maxdepth 1 -printf '%f\n'; }

snapshot() {
    echo "== mounts"; cat /proc/self/mountinfo
    echo "== hierarchies"; for mount in $(cgroup_mounts); do folders_of "$mount"; done
    echo "== units"
    find /etc/systemd /usr/lib/systemd /run/systemd /usr/bin/systemctl /usr/lib/vesk-ground /usr/vesk /var/packages \
        -printf '%p %y %m %s %T@ %l\n' 2>/dev/null | sort
    echo "== /run"; find /run -printf '%p %y %m %T@\n' 2>/dev/null | sort
    echo "== users and name"; cat /etc/passwd /etc/machine-id /etc/fstab 2>/dev/null; hostname
    echo "== /tmp"; names_in_tmp | grep -Fx -f "$tmp_before"
}

# What is left of the system whose owner has the pid: processes in its cgroup or with our mark, folders.
leftovers() {
    grep -l "/vesk-live-[0-9]*-$1-" /proc/[0-9]*/cgroup 2>/dev/null
    grep -lz "^$tag=" /proc/[0-9]*/environ 2>/dev/null | grep -v "/$$/"
    for mount in $(cgroup_mounts); do find "$mount" -maxdepth 1 -name "vesk-live-*-$1-*"; done
    pgrep -x vesk-live-keep >/dev/null || grep ':name=veskmonitor:' /proc/self/cgroup
    ls -d /tmp/inside-$$ /run/inside-$$ /etc/inside-$$ /usr/vesk/inside-$$ /etc/systemd/system/inside-$$ 2>/dev/null
}

await_nothing_of() { # owner's pid, what happened
    local end=$((SECONDS + patience)) left
    while left=$(leftovers "$1"); [ -n "$left" ] && [ $SECONDS -lt $end ]; do sleep 0.1; done
    [ -z "$left" ] || fail "$2 left: $left"
}

compare() { # what happened
    local now
    now=$(snapshot)
    [ "$now" = "$before" ] || { fail "$1 changed the machine:"; diff <(echo "$before") <(echo "$now"); }
}

guards_of() { # owner's pid, their names: their pids
    grep -lz "^$tag=$1\$" /proc/[0-9]*/environ 2>/dev/null | while IFS=/ read -r _ _ pid _; do
        case " $2 " in *" $(cat "/proc/$pid/comm" 2>/dev/null) "*) echo "$pid" ;; esac
    done
}

start() { # in the background, with a mark by which its keeper is found
    bash -c 'export '"$tag"'=$$; exec "$@"' start "${live[@]}" -- "$@" >/dev/null 2>&1 &
    owner=$!
}

mess='touch /tmp/inside-'$$' /run/inside-'$$' /etc/inside-'$$' /usr/vesk/inside-'$$' /etc/systemd/system/inside-'$$'
    rm -rf /tmp/* /usr/lib/systemd/system/apt*; mount -t tmpfs none /mnt; hostname other; systemctl mask dbus.service
    systemctl start user@1001.service; mkdir -p '$cgroups'/a.slice/b; sleep 1000 & '

tmp_before=$(mktemp)
trap 'rm -f "$tmp_before"' EXIT
# Compilers and the like come and go meanwhile.
names_in_tmp | grep -vE '^(cc|tmp\.|ccache)' >"$tmp_before"

"${live[@]}" -- true
case $? in
    0) ;;
    77) exit 77 ;;
    *) fail "a system could not be booted" ;;
esac
sleep 2 # until the machine's init has reaped what there was
before=$(snapshot)

start sh -c "$mess exit 3"
wait "$owner"
code=$?
[ $code -eq 3 ] || fail "the exit code was $code"
await_nothing_of "$owner" "a run"
compare "a run"

for seconds in 0.01 0.03 0.06 0.1 0.15 0.2 1.5; do
    start sh -c "$mess sleep 1000"
    sleep $seconds
    kill -KILL "$owner"
    wait "$owner" 2>/dev/null
    await_nothing_of "$owner" "the owner's death after $seconds s"
done
compare "the owner's death"

for names in vesk-live-keep vesk-live-watch "vesk-live-keep vesk-live-watch" "vesk-live-keep vesk-live" \
    "vesk-live-watch vesk-live"; do
    for seconds in 0.03 0.1 1.5; do
        start sh -c "$mess sleep 3"
        sleep $seconds
        # shellcheck disable=SC2046 # one word per process
        kill -KILL $(guards_of "$owner" "$names") || echo "none of $names after $seconds s"
        wait "$owner" 2>/dev/null
        await_nothing_of "$owner" "the death of $names after $seconds s"
    done
done
start sh -c "$mess sleep 1000"
sleep 1
# shellcheck disable=SC2046 # one word per process
kill -KILL $(guards_of "$owner" "vesk-live-keep vesk-live-watch vesk-live")
wait "$owner" 2>/dev/null
sleep 2 # until the machine's init has reaped what was theirs
"${live[@]}" -- true || fail "no system could be booted after a death of all three"
await_nothing_of "$owner" "the death of all three, and another system,"
compare "the death of keepers and watchers"

start sh -c "$mess systemctl poweroff; sleep 1000"
wait "$owner"
code=$?
[ $code -eq 143 ] || fail "a system that powers itself off gave exit code $code"
await_nothing_of "$owner" "a power-off"

owners=()
for number in 1 2 3 4; do
    start sh -c "systemctl is-system-running && exit 4$number"
    owners+=("$owner")
done
for number in 1 2 3 4; do
    wait "${owners[number - 1]}"
    code=$?
    [ $code -eq 4$number ] || fail "system $number of four at once gave exit code $code"
done
for owner in "${owners[@]}"; do await_nothing_of "$owner" "one of four at once"; done
compare "four at once"

# There no named hierarchy can be made, as on a machine that has cgroup v2 alone.
if [ "$2" = unified ]; then
    unshare --cgroup --mount --propagation private sh -euc '
        umount --recursive --lazy /sys/fs/cgroup
        mount -t cgroup2 none /sys/fs/cgroup
        exec "$@"' sh "${live[@]}" -- systemctl is-system-running --quiet || fail "it needs more than cgroup v2"
    compare "a system where cgroup v2 is all"
fi

echo "$failures failures"
[ $failures -eq 0 ]
