#!/bin/sh
# CMAKE_INSTALL_LIBDIR is below the prefix, which may be chosen only when installing, or is an absolute path.
# Wants BUILD, a folder in which the library is built; nothing is compiled anew.
. "$SOURCE/tests/package/lib.sh"
. "$SOURCE/tests/package/consumers.sh"
: "${BUILD:?}"

install_into() { # PREFIX-OF-CONFIGURATION PREFIX LIBDIR
    rm -rf "$WORK/installed" "$WORK/elsewhere" "$WORK/staged"
    { cmake -S "$SOURCE" -B "$BUILD" -DCMAKE_INSTALL_PREFIX="$1" -UCMAKE_INSTALL_LIBDIR -DCMAKE_INSTALL_LIBDIR="$3" &&
        cmake --build "$BUILD" && cmake --install "$BUILD" --prefix "$2"; } >"$WORK/log" 2>&1 ||
        { tail -n 40 "$WORK/log"; fail "LIBDIR $3: the installation fails"; }
}

# as_listed PREFIX LIBDIR : those files are there and nothing else; the libraries, counted below lib/, in LIBDIR.
as_listed() {
    (cd "$1" && find . ! -type d) | sed "s|^\./|$1/|" >"$WORK/found"
    case $2 in
    "$1"/*) ;;
    *) (cd "$2" && find . ! -type d) | sed "s|^\./|$2/|" >>"$WORK/found" ;;
    esac
    sed 's|Targets-[a-z]*\.cmake$|Targets-BUILDTYPE.cmake|' "$WORK/found" | sort >"$WORK/files.txt"
    sed "s|^lib/|$2/|; t; s|^|$1/|" "$SOURCE/tests/package/installed-files.txt" | sort >"$WORK/files-expected.txt"
    same "LIBDIR $2: other files are installed" "$WORK/files-expected.txt" "$WORK/files.txt"
}

PREFIX=$WORK/installed
libdir=$PREFIX/lib/x86_64-linux-gnu
install_into /usr/local "$PREFIX" lib/x86_64-linux-gnu
as_listed "$PREFIX" "$libdir"
# CMake looks into such a folder when it is the one of the machine, and where it is told.
consumers "$libdir/cmake"
mv "$PREFIX" "$WORK/moved"
PREFIX=$WORK/moved
libdir=$PREFIX/lib/x86_64-linux-gnu
consumers "$libdir/cmake"
rm -rf "$WORK/moved"

# The same prefix for all, then another one when installing.
for PREFIX in "$WORK/configured" "$WORK/installed"; do
    libdir=$WORK/elsewhere/lib
    install_into "$WORK/configured" "$PREFIX" "$libdir"
    as_listed "$PREFIX" "$libdir"
    consumers "$WORK/elsewhere"
done

# As packages are made: what is installed below DESTDIR is for use at its own place.
PREFIX=$WORK/configured
rm -rf "$PREFIX"
export DESTDIR="$WORK/staged"
install_into "$PREFIX" "$PREFIX/usr" "$libdir"
for path in "$PREFIX" "$libdir"; do
    [ ! -e "$path" ] || fail "DESTDIR is passed over: $path"
done
staged=$DESTDIR$libdir
grep -qx "prefix=$PREFIX/usr" "$staged/pkgconfig/vesksystemd.pc" || fail 'another prefix in the .pc file'
grep -qxF "set(_IMPORT_PREFIX \"$PREFIX/usr\")" "$staged/cmake/vesksystemd/vesksystemdTargets.cmake" ||
    fail 'another prefix in the CMake package'
finish
