#!/bin/sh
# The three commands of the README build and install the library, without the packages that only tests need.
. "$SOURCE/tests/package/lib.sh"
. "$SOURCE/tests/package/consumers.sh"

PREFIX=$WORK/installed
build_library() {
    cmake -S "$SOURCE" -B "$WORK/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON &&
        cmake --build "$WORK/build" --parallel 2 && cmake --install "$WORK/build" --prefix "$PREFIX"
}

build_library >"$WORK/log" 2>&1 || { tail -n 40 "$WORK/log"; fail 'the build fails'; }
libdir=$PREFIX/lib
consumers "$PREFIX"
finish
