# Shared by the scripts in this folder: where things are, packages, building. Sourced by bash, not run.
# shellcheck shell=bash disable=SC2034 # used by those who source this

VESK_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

VESK_PACKAGES_BUILD=(g++ make cmake ninja-build pkg-config libboost-dev libcli11-dev libjsoncpp-dev
    libpam0g-dev)
VESK_PACKAGES_TEST=(abigail-tools libgtest-dev libgmock-dev binutils procps util-linux mount
    systemd dbus libpam-systemd groff-base tmux zsh fish)
VESK_PACKAGES_BENCH=(libglib2.0-dev psmisc lsof)
VESK_PACKAGES_REPORT=(python3-matplotlib)
VESK_PACKAGES_CHECK=(clang clang-format clang-tidy shellcheck)
VESK_PACKAGES_COVERAGE=(gcovr)
VESK_PACKAGES_FUZZ=(clang libclang-rt-dev)
VESK_PACKAGES_REFERENCE=(doxygen)
VESK_PACKAGES_BROWSER=(chromium)
VESK_PACKAGES_PACKAGE=(build-essential debhelper lintian)

say() { printf '%s\n' "$*"; }
die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# missing_packages PACKAGE... : prints those that are not installed.
missing_packages() {
    local package
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || say "$package"
    done
}

# need_packages PACKAGE... : installs those that are missing; whoever may not install is told the command.
need_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    if ((${#missing[@]} == 0)); then
        return
    fi
    if ((EUID != 0)); then
        say "Some Debian packages are missing. Install them with this command, then start $0 again:"
        say "sudo apt-get install --no-install-recommends -y ${missing[*]}"
        exit 1
    fi
    say "Installing Debian packages: ${missing[*]}"
    install_packages "${missing[@]}"
}

install_packages() {
    local log
    log=$(mktemp)
    if ! { apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install --no-install-recommends -y "$@"; } \
        >"$log" 2>&1 </dev/null; then
        tail -n 30 "$log" >&2
        rm -f "$log"
        die "the packages could not be installed"
    fi
    rm -f "$log"
}

# Compiles through ccache where there is one and the caller has not chosen otherwise.
use_compiler_cache() {
    if command -v ccache >/dev/null; then
        export CMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER-ccache}
        export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
        export CCACHE_BASEDIR=${CCACHE_BASEDIR-$VESK_ROOT}
    fi
}

# quietly COMMAND... : shows what the command printed only when it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    if ((status != 0)); then
        say "$* ended with $status:"
        tail -n 100 "$log"
    fi >&2
    rm -f "$log"
    return "$status"
}

# build_preset PRESET [TARGET...] : configures and builds below build/PRESET.
build_preset() {
    local preset=$1
    shift
    use_compiler_cache
    (cd "$VESK_ROOT" && quietly cmake --preset "$preset") || return
    quietly cmake --build "$VESK_ROOT/build/$preset" --parallel "$(nproc)" ${1:+--target "$@"}
}
