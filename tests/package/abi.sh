#!/bin/sh
# The binary interface is the one last accepted: functions, and the layout of all types that they take. Only what
# belongs to the compiler's own library is left out. What is compared is what the compiler of Debian 12 makes.
. "$SOURCE/tests/package/lib.sh"

skip() {
    echo "skipped: $*"
    exit 77
}
[ "$(uname -m)" = x86_64 ] || skip 'the accepted interface is that of x86_64'
case $(abidw --version 2>&1) in
'abidw: 2.2.'*) ;;
*) skip 'abidw of libabigail 2.2 is not here (Debian 12: abigail-tools)' ;;
esac
case $($CXX --version) in
g++*\ 12.* | c++*\ 12.*) ;;
*) skip 'the compiler is not g++ 12' ;;
esac

library=$(readlink -f "$PREFIX/lib/libvesksystemd.so.7")
readelf -SW "$library" | grep -q '[.]debug_info' || skip 'the library has no debug information'
baseline=$SOURCE/tests/package/abi/libvesksystemd.abi
compare() { # BASELINE
    abidiff --suppressions "$SOURCE/tests/package/abi/ours.suppr" "$1" "$library" >"$WORK/abidiff.txt"
}

# The bit 4 of abidiff's status is a change, any other a failure of its own.
compare "$baseline"
status=$?
[ "$status" = 0 ] || {
    cat "$WORK/abidiff.txt"
    fail "the binary interface has changed; where that is meant: sh $SOURCE/tests/package/abi/write.sh $library $baseline"
}

# That it would see a change: a function that goes, another value of an enumeration, a member at another place.
seen() { # WHAT SED-SCRIPT
    sed "$2" "$baseline" >"$WORK/changed.abi"
    ! cmp -s "$baseline" "$WORK/changed.abi" || fail "nothing to change: $1"
    compare "$WORK/changed.abi"
    status=$?
    [ "$((status & 7))" = 4 ] || fail "not seen: $1, status $status"
}
seen 'a function' "s/'VESKCSystemdStart'/'VESKCSystemdStartThen'/; s/'VESKCSystemdStart@/'VESKCSystemdStartThen@/"
seen 'an enumeration' "s/\\(VESK_SYSTEMD_ACTIVE_STATUS_FAILED' value=\\)'5'/\\1'6'/"
seen 'a structure' "/name='JobInfo'/s/size-in-bits='[0-9]*'/size-in-bits='448'/"
finish
