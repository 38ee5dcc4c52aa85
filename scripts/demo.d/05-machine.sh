# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

act "The machine"
tell "Its control groups:"
# shellcheck disable=SC2154 # of demo_acts.sh
if [[ $demo_systemd == current ]]; then
    expect 0 "cgroup2fs" stat --file-system --format %T /sys/fs/cgroup
    tell "and its systemctl, which ends with 0 when it lists no jobs:"
    expect 0 "" systemctl list-jobs --no-legend
else
    expect 0 "systemd
unified
veskmonitor" ls /sys/fs/cgroup
    tell "and its systemctl, which as the platform's ends with 1 when it lists no jobs:"
    expect 1 "" systemctl list-jobs --no-legend
fi
