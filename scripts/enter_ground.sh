# For the scripts beside it: enter_ground LAUNCHER TARGET [OPTION]... [COMMAND [ARGUMENT]...] builds a test ground's
# launcher and what else it needs and runs a command in the ground, a shell by default. Options are the launcher's.
# VESK_BUILD_DIR names the build to use; by default build/debug, which is configured and built as needed.

enter_ground()
{
    launcher=$1
    target=$2
    shift 2
    source=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
    build=${VESK_BUILD_DIR:-$source/build/debug}

    if [ ! -f "$build/CMakeCache.txt" ]; then
        (cd "$source" && cmake --preset debug -B "$build") >&2
    fi
    cmake --build "$build" --target "$launcher" "$target" vesk_platform_tools >&2

    [ $# -gt 0 ] || set -- "${SHELL:-/bin/sh}"
    exec "$build/tests/ground/$launcher" --bind "$source" --bind "$build" \
        --platform "$build/tests/platform-tools" "$@"
}
