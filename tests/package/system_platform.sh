#!/bin/sh
# VESK_PLATFORM=system builds against the platform's own libraries and installs none of them. The bundled ones,
# in a prefix of their own, stand in for the platform's.
. "$SOURCE/tests/package/lib.sh"
. "$SOURCE/tests/package/expected.sh"

platform=$WORK/platform
mkdir -p "$platform/include" "$platform/lib" || exit 1
for name in veskcore veskbootseq; do
    cp -P "$PREFIX/lib/lib$name.so"* "$platform/lib/" && cp "$PREFIX/include/$name.h" "$platform/include/" || exit 1
done

build_library() { # PLATFORM-PREFIX
    cmake -S "$SOURCE" -B "$WORK/build" -DVESK_PLATFORM=system -DCMAKE_PREFIX_PATH="$1" -DCMAKE_BUILD_TYPE=Debug &&
        cmake --build "$WORK/build" --parallel 2 && cmake --install "$WORK/build" --prefix "$WORK/installed"
}

if build_library "$WORK/nowhere" >"$WORK/log" 2>&1; then
    fail 'the build does without the platform'
fi
grep -q "VESK_PLATFORM=system needs the platform's veskcore" "$WORK/log" || fail 'the missing platform is not told'
build_library "$platform" >"$WORK/log" 2>&1 || { tail -n 40 "$WORK/log"; fail 'the build fails'; }

(cd "$WORK/installed" && find . ! -type d | sed 's|^\./||; s|Targets-[a-z]*\.cmake$|Targets-BUILDTYPE.cmake|' | sort) \
    >"$WORK/files.txt"
grep -vE 'libvesk(core|bootseq)\.so|veskcore\.h|veskbootseq\.h|libexec/' \
    "$SOURCE/tests/package/installed-files.txt" >"$WORK/files-expected.txt"
same 'other files are installed' "$WORK/files-expected.txt" "$WORK/files.txt"

# As on the platform, whose headers and libraries the compiler finds by itself.
PREFIX=$WORK/installed
more_libraries=$platform/lib
CC="$CC -I$platform/include -L$platform/lib -Wl,-rpath-link,$platform/lib"
CXX="$CXX -I$platform/include -L$platform/lib -Wl,-rpath-link,$platform/lib"
build c99 "$SOURCE/tests/package/consumer/names.c" "$WORK/names_c"
run "$WORK/names_c" 0 "$names_c"
finish
