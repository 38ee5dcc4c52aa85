# shellcheck shell=sh
# Shared by the package tests; each gets SOURCE, PREFIX and WORK in its environment, and leaves its files in WORK.
: "${SOURCE:?}" "${PREFIX:?}" "${WORK:?}" "${CC:=cc}" "${CXX:=c++}"
libdir=$PREFIX/lib
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

# installed_files FOLDER : its files, without the name of the build type in them.
installed_files() {
    (cd "$1" && find . ! -type d | sed 's|^\./||; s|Targets-[a-z]*\.cmake$|Targets-BUILDTYPE.cmake|' | LC_ALL=C sort)
}

# cmake_consumer PREFIX-PATH [OPTION...] : a CMake project of an outsider in $WORK/consumer; what is said is in
# $WORK/consumer.log.
cmake_consumer() {
    rm -rf "$WORK/consumer"
    prefix_path=$1
    shift
    cmake -S "$SOURCE/tests/package/consumer" -B "$WORK/consumer" -DCMAKE_PREFIX_PATH="$prefix_path" "$@" \
        >"$WORK/consumer.log" 2>&1 && cmake --build "$WORK/consumer" >>"$WORK/consumer.log" 2>&1
}

finish() { exit "$failures"; }

# flags --cflags|--libs : what pkg-config says, and nothing else.
flags() {
    PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config "$1" vesksystemd || fail "pkg-config $1"
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
    output=$(LD_LIBRARY_PATH=$libdir:$more_libraries "$1" 2>&1)
    status=$?
    [ "$status" = "$2" ] || fail "$1 ended with $status, not $2"
    [ "$output" = "$3" ] || fail "$1 printed '$output', not '$3'"
}
