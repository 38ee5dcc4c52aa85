#!/bin/sh
# The CMake package brings a target that C99 and C++17 programs link, and tells what is missing beside it.
. "$SOURCE/tests/package/lib.sh"
. "$SOURCE/tests/package/consumers.sh"

consumers "$PREFIX"
if cmake_consumer "$PREFIX" -DCMAKE_DISABLE_FIND_PACKAGE_Boost=ON; then
    fail 'the consumer does without Boost'
fi
tr -s ' \n' ' ' <"$WORK/consumer.log" |
    grep -qF 'vesksystemd.hpp includes headers of Boost 1.74 or later, which are not here (Debian: libboost-dev).' ||
    { cat "$WORK/consumer.log"; fail 'the missing Boost is not told'; }
finish
