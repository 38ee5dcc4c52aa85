#!/bin/sh
# VESK_PLATFORM=system builds against the platform's own libraries and installs none of them. The bundled ones,
# in a prefix of their own, stand in for the platform's.
. "$SOURCE/tests/package/lib.sh"
. "$SOURCE/tests/package/consumers.sh"

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

installed_files "$WORK/installed" >"$WORK/files.txt"
{
    echo lib/cmake/vesksystemd/VeskSystemPlatform.cmake
    grep -vE 'libvesk(core|bootseq)\.so|veskcore\.h|veskbootseq\.h|libexec/' "$SOURCE/tests/package/installed-files.txt"
} | sort >"$WORK/files-expected.txt"
same 'other files are installed' "$WORK/files-expected.txt" "$WORK/files.txt"

# Those who use it need not know where the platform was found; the loader has to.
PREFIX=$WORK/installed
libdir=$PREFIX/lib
more_libraries=$platform/lib
consumers "$PREFIX"

# Nor, with CMake, where it is now.
mv "$platform" "$WORK/moved"
if cmake_consumer "$PREFIX"; then
    fail 'the consumer does without the platform'
fi
tr -s ' \n' ' ' <"$WORK/consumer.log" | grep -qF "It was built for the platform's own veskcore: library " ||
    { cat "$WORK/consumer.log"; fail 'the missing platform is not told'; }
cmake_consumer "$PREFIX;$WORK/moved" || { cat "$WORK/consumer.log"; fail 'the moved platform is not found'; }
more_libraries=$WORK/moved/lib
run "$WORK/consumer/names_c" 0 "$names_c"
finish
