# What the acts of the demonstration are written with. Sourced by bash.
# shellcheck shell=bash

# Where an act has read the log and the event log up to.
demo_state=/run/vesk-demo
mkdir -p "$demo_state"
event_log=/var/log/vesk/event.log

tell() { printf '%s\n' "$@"; }
act() { printf '\n== %s\n' "$*"; }
indented() { sed 's/^/    /'; }

not_as_told() {
    printf 'NOT AS TOLD: %s\n' "$*" >&2
    exit 1
}

# unit FILE : puts standard input into a unit file, shows it and lets systemd read it.
unit() {
    cat >"/etc/systemd/system/$1"
    tell "/etc/systemd/system/$1:"
    indented <"/etc/systemd/system/$1"
    systemctl daemon-reload
}

# expect STATUS OUTPUT COMMAND... : runs it, shows it, and wants just this status and output.
expect() {
    local status=0 output
    printf '    $ %s\n' "${*:3}"
    output=$("${@:3}" 2>&1) || status=$?
    if [[ -n $output ]]; then
        indented <<<"$output"
    fi
    [[ $status == "$1" ]] || not_as_told "the exit code is $status, not $1"
    [[ $output == "$2" ]] || not_as_told "this should have been printed: $2"
}

# same_lines WHAT EXPECTED GOT : shows what was got.
same_lines() {
    # shellcheck disable=SC2001 # every line
    sed "s/^/    $1 | /" <<<"${3:-(nothing)}"
    [[ $2 == "$3" ]] || not_as_told "the $1 should be:"$'\n'"$2"
}

# read_log : prints what the library has logged since the last time.
read_log() {
    journalctl --sync
    journalctl --cursor-file "$demo_state/cursor" --quiet --output cat --identifier start_unit \
        --identifier control_unit --identifier hold_service --identifier unmount_volume
}

# skip_log : what was logged up to here needs no telling.
skip_log() { read_log >"$demo_state/skipped"; }

# expect_log : standard input is what the library has logged since the last time, its line numbers and
# milliseconds written as N.
expect_log() {
    local expected got
    expected=$(cat)
    got=$(read_log)
    same_lines "log" "$expected" "$(sed -E 's/^([a-z_-]+\.cpp):[0-9]+ /\1:N /; s/ is [0-9]+ ms$/ is N ms/' <<<"$got")"
}

# expect_events : standard input is what was added to the event log since the last time, without the times.
expect_events() {
    local expected got seen=0 count=0
    expected=$(cat)
    [[ ! -e $demo_state/events ]] || seen=$(<"$demo_state/events")
    [[ ! -e $event_log ]] || count=$(wc -l <"$event_log")
    printf '%s\n' "$count" >"$demo_state/events"
    got=$(tail -n "+$((seen + 1))" "$event_log" 2>/dev/null | cut -d ' ' -f 2-) || true
    same_lines "event log" "$expected" "$got"
}
