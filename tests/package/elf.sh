#!/bin/sh
# The libraries' names, and that nothing weakens them: bound at once, read-only after that, no executable
# stack, no text relocations, no search path but their own folder, and nothing is destroyed while other threads of an
# ending process may still be in them.
. "$SOURCE/tests/package/lib.sh"

dynamic() { readelf -dW "$1" | sed -n "s/.*($2) *//p"; }

check() { # FILE
    dynamic "$1" FLAGS | grep -q BIND_NOW || fail "$1 binds lazily"
    [ -z "$(dynamic "$1" TEXTREL)$(dynamic "$1" FLAGS | grep TEXTREL)" ] || fail "$1 has text relocations"
    [ -z "$(dynamic "$1" RPATH)" ] || fail "$1 has an RPATH"
    readelf -lW "$1" | grep -q GNU_RELRO || fail "$1 has no RELRO segment"
    ! readelf -sW "$1" | grep ' __cxa_atexit' >/dev/null || fail "$1 destroys objects at exit"
    readelf -lW "$1" | grep GNU_STACK | grep -q ' RW ' || fail "$1 has an executable stack"
}

for name in vesksystemd veskcore veskbootseq; do
    library=$PREFIX/lib/lib$name.so.7
    check "$library"
    [ "$(dynamic "$library" SONAME)" = "Library soname: [lib$name.so.7]" ] || fail "$library: wrong soname"
    dynamic "$library" FLAGS_1 | grep -q NODELETE || fail "$library can be unloaded"
    # shellcheck disable=SC2016 # $ORIGIN is the loader's word
    [ "$(dynamic "$library" RUNPATH)" = 'Library runpath: [$ORIGIN]' ] || fail "$library: wrong runpath"
    [ "$(readlink -f "$PREFIX/lib/lib$name.so")" = "$(readlink -f "$library")" ] || fail "lib$name.so: wrong link"
done
check "$PREFIX/libexec/vesk-platform/vesklogset"

# Only the platform, PAM, jsoncpp of whatever release and the compiler's own libraries are needed.
dynamic "$PREFIX/lib/libvesksystemd.so.7" NEEDED | sed 's/.*\[\(.*\)\]/\1/' |
    sed 's/^\(libjsoncpp\.so\)\.[0-9]*$/\1/' | sort >"$WORK/needed.txt"
sort >"$WORK/needed-expected.txt" <<'END'
libc.so.6
libgcc_s.so.1
libjsoncpp.so
libpam.so.0
libstdc++.so.6
libveskbootseq.so.7
libveskcore.so.7
END
grep -vxFf "$WORK/needed-expected.txt" "$WORK/needed.txt" && fail 'libvesksystemd.so.7 needs these too'
finish
