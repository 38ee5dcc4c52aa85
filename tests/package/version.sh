#!/bin/sh
# The headers tell the version of the package, in numbers that the preprocessor compares; CHANGELOG.md begins with it.
. "$SOURCE/tests/package/lib.sh"

cat >"$WORK/version.c" <<'END'
#include <stdio.h>
#include <vesksystemd.h>

#if VESK_SYSTEMD_VERSION < VESK_SYSTEMD_VERSION_NUMBER(7, 0, 0) || VESK_SYSTEMD_VERSION >= \
    VESK_SYSTEMD_VERSION_NUMBER(8, 0, 0)
#error "not of version 7"
#endif

int main(void)
{
    printf("%d.%d.%d\n", VESK_SYSTEMD_VERSION_MAJOR, VESK_SYSTEMD_VERSION_MINOR, VESK_SYSTEMD_VERSION_PATCH);
    return VESK_SYSTEMD_VERSION_NUMBER(7, 1, 0) > VESK_SYSTEMD_VERSION_NUMBER(7, 0, 99) ? 0 : 1;
}
END
version=$(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --modversion vesksystemd)
build c99 "$WORK/version.c" "$WORK/version"
run "$WORK/version" 0 "$version"
[ -e "$libdir/libvesksystemd.so.$version" ] || fail "there is no libvesksystemd.so.$version"
[ "$(sed -n 's/^## \([0-9.]*\).*/\1/p' "$SOURCE/CHANGELOG.md" | head -n 1)" = "$version" ] ||
    fail "CHANGELOG.md does not begin with $version"
finish
