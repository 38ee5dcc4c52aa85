#!/bin/sh
# The CMake package brings a target that C99 and C++17 programs link.
. "$SOURCE/tests/package/lib.sh"
. "$SOURCE/tests/package/expected.sh"

build_consumer() {
    cmake -S "$SOURCE/tests/package/consumer" -B "$WORK/build" -DCMAKE_PREFIX_PATH="$PREFIX" &&
        cmake --build "$WORK/build"
}

build_consumer >"$WORK/log" 2>&1 || { cat "$WORK/log"; fail 'the consumer does not build'; }
run "$WORK/build/names_c" 0 "$names_c"
run "$WORK/build/names_cpp" 0 "$names_cpp"
finish
