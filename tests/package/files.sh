#!/bin/sh
# The package holds what installed-files.txt lists, and nothing else.
. "$SOURCE/tests/package/lib.sh"

installed_files "$PREFIX" >"$WORK/installed-files.txt"
same 'other files are installed' "$SOURCE/tests/package/installed-files.txt" "$WORK/installed-files.txt"
for program in vesklogset vesk-systemd-status-monitor.sh; do
    [ -x "$PREFIX/libexec/vesk-platform/$program" ] || fail "$program is no program"
done
finish
