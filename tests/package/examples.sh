#!/bin/sh
# The programs in examples/ build with the flags of pkg-config alone, and each does in a private systemd what it says.
. "$SOURCE/tests/package/lib.sh"

mkdir "$WORK/bin"
for file in "$SOURCE"/examples/*.c; do
    build c99 "$file" "$WORK/bin/$(basename "$file" .c)"
done
for file in "$SOURCE"/examples/*.cpp; do
    build c++17 "$file" "$WORK/bin/$(basename "$file" .cpp)"
done

run "$WORK/bin/start_unit" 1 'start: failed'
run "$WORK/bin/tell_error" 1 '0x0D00: that cannot be the name of a unit'

case $(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --variable=systemd vesksystemd) in
platform) ground='--cgroup platform' ;;
current) ground='--cgroup unified --no-adapter' ;;
*) fail 'the package does not tell its systemd' ;;
esac
# shellcheck disable=SC2086 # several words
"$LIVE" $ground --install-prefix "$PREFIX" --bind "$SOURCE" --bind "$WORK" -- \
    env LD_LIBRARY_PATH="$libdir" bash "$SOURCE/tests/package/examples_live.sh" "$WORK/bin"
status=$?
[ "$status" != 77 ] || exit 77
[ "$status" = 0 ] || fail 'the examples do not do what they say'
finish
