#!/bin/sh
# Whoever has no headers of Boost is told so by the C++ header; the C header does without them.
. "$SOURCE/tests/package/lib.sh"

mkdir "$WORK/include" && ln -s /usr/include/* "$WORK/include/" || exit 1
rm -f "$WORK/include/boost"
folders=$($CXX -E -v -x c++ /dev/null 2>&1 | sed -n '/^#include <...>/,/^End/s|^ ||p' |
    sed "s|^/usr/include\$|$WORK/include|; s|^|-isystem |")

printf '#include <vesksystemd.hpp>\n' >"$WORK/header.cpp"
printf '#include <vesksystemd.h>\n' >"$WORK/header.c"
# shellcheck disable=SC2046,SC2086 # several words each
compile() { "$@" -nostdinc $folders $(flags --cflags) -fsyntax-only; }

if compile "$CXX" -std=c++17 -nostdinc++ "$WORK/header.cpp" >"$WORK/log" 2>&1; then
    fail 'the C++ header does without Boost'
fi
grep -qF 'vesksystemd.hpp needs the headers of Boost 1.74 or later (Debian: libboost-dev)' "$WORK/log" ||
    { cat "$WORK/log"; fail 'the missing Boost is not told'; }
compile "$CC" -std=c99 "$WORK/header.c" || fail 'the C header needs more'
finish
