#!/bin/sh
# What the builder asks for is done or refused, and not passed over.
. "$SOURCE/tests/package/lib.sh"

# configure OPTION... : 0 when CMake takes them; what it says is in $WORK/log.
configure() {
    rm -rf "$WORK/build"
    cmake -S "$SOURCE" -B "$WORK/build" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "$@" >"$WORK/log" 2>&1
}

refused() { # MESSAGE OPTION...
    message=$1
    shift
    if configure "$@"; then
        fail "taken: $*"
    fi
    # CMake breaks the lines of messages.
    tr -s ' \n' ' ' <"$WORK/log" | grep -qF -- "$message" || { cat "$WORK/log"; fail "not told of $*"; }
}

compiled_as() { # STANDARD OPTION...
    standard=$1
    shift
    configure "$@" || { cat "$WORK/log"; fail "refused: $*"; }
    grep '"command"' "$WORK/build/compile_commands.json" | grep 'c++' >"$WORK/commands.txt"
    [ -s "$WORK/commands.txt" ] || fail 'nothing is compiled'
    grep -vF -- "-std=$standard " "$WORK/commands.txt" && fail "not compiled as $standard: $*"
    ! grep Warning "$WORK/log" || { cat "$WORK/log"; fail "CMake warns: $*"; }
}

compiled_as c++17
compiled_as c++20 -DCMAKE_CXX_STANDARD=20 -DBUILD_SHARED_LIBS=ON
compiled_as c++23 -DCMAKE_CXX_STANDARD=23
for standard in 98 11 14; do
    refused "CMAKE_CXX_STANDARD is $standard; vesksystemd needs 17 or later" -DCMAKE_CXX_STANDARD=$standard
done
refused "BUILD_SHARED_LIBS is 'OFF', but vesksystemd is a shared library only" -DBUILD_SHARED_LIBS=OFF
finish
