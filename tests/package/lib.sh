# shellcheck shell=sh
# Shared by the package tests; each gets SOURCE, PREFIX and WORK in its environment, and leaves its files in WORK.
: "${SOURCE:?}" "${PREFIX:?}" "${WORK:?}" "${CC:=cc}" "${CXX:=c++}"
LC_ALL=C
export LC_ALL
failures=0
more_libraries=

fail() {
    printf 'FAILED: %s\n' "$*"
    failures=1
}

# same WHAT EXPECTED-FILE FILE
same() {
    diff -u "$2" "$3" || fail "$1"
}

finish() { exit "$failures"; }

# flags --cflags|--libs : what pkg-config says, and nothing else.
flags() {
    PKG_CONFIG_PATH=$PREFIX/lib/pkgconfig pkg-config "$1" vesksystemd || fail "pkg-config $1"
}

# build LANGUAGE SOURCE-FILE PROGRAM : a program as an outsider builds it, warnings being errors.
build() {
    case $1 in
    c99) set -- "$CC -std=c99" "$2" "$3" ;;
    c++17) set -- "$CXX -std=c++17" "$2" "$3" ;;
    esac
    # shellcheck disable=SC2046,SC2086 # several words each
    $1 -Wall -Wextra -Wpedantic -Werror "$2" -o "$3" $(flags --cflags) $(flags --libs) || fail "$2 does not build"
}

# run PROGRAM EXPECTED-STATUS EXPECTED-OUTPUT
run() {
    output=$(LD_LIBRARY_PATH=$PREFIX/lib:$more_libraries "$1" 2>&1)
    status=$?
    [ "$status" = "$2" ] || fail "$1 ended with $status, not $2"
    [ "$output" = "$3" ] || fail "$1 printed '$output', not '$3'"
}
