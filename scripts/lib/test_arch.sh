# Builds for another processor and runs tests under an emulator of user programs. Sourced by scripts/test-arm64 and its
# like after common.sh; test_arch ARCHITECTURE [FOLDER [TEST-PROGRAM...]]
# shellcheck shell=bash disable=SC2034 # looked up by the name of the architecture

VESK_TRIPLET_arm64=aarch64-linux-gnu
VESK_TRIPLET_armhf=arm-linux-gnueabihf
VESK_EMULATOR_arm64=qemu-aarch64-static
VESK_EMULATOR_armhf=qemu-arm-static

# What stands at the begin of such a program, and what of it counts, as binfmt_misc takes them.
VESK_MAGIC_arm64='\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00'
VESK_MAGIC_armhf='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x28\x00'
VESK_MASK='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'

# Tests that an emulator of user programs cannot run: the reason, and a pattern of their names.
VESK_NOT_EMULATED=(
    "a child that the emulator starts has no memory in common with its parent, which is not told why it did not run"
    'ChildSignals.EveryMillisecondDisturbNothing|ChildStart.LeavesTheCallersDescriptorsAsTheyWere|ChildStart.FailsForArgumentsThatTheKernelRefuses|Threads.StartChildrenSideBySide|UnstartableProgram[.]|WithoutSystemctl|WhenSystemctlIsMissing'
    "the emulator has no filters of system calls"
    'FileCall.TouchLeavesNoFileWhoseModeCannotBeGiven|OldKernel[.]|ChildStart.TellsWhatIsUsedUpFromOtherFailures'
    "the emulator does not know the call that tells how a reaped child ended"
    'ReapedChildStatus[.]|ChildStatus.IsTheRightOneWhenAnotherThreadReapsAnything'
    "the emulator tells a process nothing of its time, and puts no memory behind a mapping before it is used"
    'ProcessSample.TakesTheNextFieldsWhenTheNameHasABlank|ProcessSample.AddsUpTheSharesOfManyMappings'
)

# The test programs of which it is known what the emulator cannot run: all pure ones, and these sandboxed ones.
VESK_EMULATED=(pure_tests proc_parse_tests pause_tests reader_tests cgroup_layout_tests systemctl_tests
    platform_tests key_tests process_tests reason_tests uninstall_tests unit_query_tests)

# with_emulator ARCHITECTURE COMMAND... : in a user namespace of its own the kernel runs programs for that processor; the
# machine's own table of emulators stays as it is.
with_emulator() {
    local arch=$1 emulator=VESK_EMULATOR_$1 magic=VESK_MAGIC_$1
    shift
    # shellcheck disable=SC2016 # expanded in there
    unshare --user --map-users=0,0,65536 --map-groups=0,0,65536 --setuid 0 --setgid 0 --mount bash -euc '
        mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc
        printf ":%s:M::%s:%s:%s:F" "$1" "$2" "$3" "$4" >/proc/sys/fs/binfmt_misc/register
        shift 4
        exec "$@"' bash "$arch" "${!magic}" "$VESK_MASK" "/usr/bin/${!emulator}" "$@"
}

# From the main archive alone: those of the other suites need not fit together for every processor.
cross_packages() {
    local arch=$1 triplet=VESK_TRIPLET_$1
    sed -i '/-updates \|-security /d' /etc/apt/sources.list
    dpkg --add-architecture "$arch"
    need_packages "${VESK_PACKAGES_BUILD[@]}" "${VESK_PACKAGES_TEST[@]}" "g++-${!triplet}" qemu-user-static uidmap \
        "libjsoncpp-dev:$arch" "libpam0g-dev:$arch" "libgtest-dev:$arch" "libgmock-dev:$arch"
    # Root may map all users into a namespace.
    printf 'root:0:65536\n' | tee /etc/subuid >/etc/subgid
}

# tell_libraries BUILD ARCHITECTURE : sizes and relocations.
tell_libraries() {
    local build=$1 arch=$2 triplet=VESK_TRIPLET_$2 library
    for library in src/libvesksystemd.so.7 platform/libveskcore.so.7 platform/libveskbootseq.so.7; do
        printf '%s %s: %s bytes of code and data, %s relocations\n' "$arch" "${library##*/}" \
            "$("${!triplet}-size" "$build/$library" | awk 'NR == 2 { print $4 }')" \
            "$("${!triplet}-readelf" -rW "$build/$library" | grep -c '^[0-9a-f]')"
    done
}

# start_time PROGRAM : of one start, in milliseconds, the least of several.
start_time() {
    local i before least=1000000000
    for ((i = 0; i < 20; ++i)); do
        before=${EPOCHREALTIME/[.,]/}
        "$1"
        ((least <= ${EPOCHREALTIME/[.,]/} - before)) || least=$((${EPOCHREALTIME/[.,]/} - before))
    done
    printf '%d.%d\n' $((least / 1000)) $((least % 1000 / 100))
}

# tell_load_time BUILD ARCHITECTURE : of programs that do nothing, with the library and without.
tell_load_time() {
    local build=$1 arch=$2 triplet=VESK_TRIPLET_$2
    "${!triplet}-gcc" -x c - -o "$build/without" <<<'int main(void) { return 0; }'
    "${!triplet}-gcc" -x c - -o "$build/with" -Wl,--no-as-needed -L"$build/src" -lvesksystemd \
        "-Wl,-rpath,$PWD/$build/src,-rpath-link,$PWD/$build/platform" <<<'int main(void) { return 0; }'
    printf '%s, emulated: a start takes %s ms with the library, %s ms without\n' "$arch" \
        "$(with_emulator "$arch" bash -euc "$(declare -f start_time); start_time \"\$1\"" bash "$build/with")" \
        "$(with_emulator "$arch" bash -euc "$(declare -f start_time); start_time \"\$1\"" bash "$build/without")"
}

# left_out : the pattern of the tests that are left out, each reason told.
left_out() {
    local i patterns=()
    for ((i = 0; i < ${#VESK_NOT_EMULATED[@]}; i += 2)); do
        say "Left out, since ${VESK_NOT_EMULATED[i]}: ${VESK_NOT_EMULATED[i + 1]//|/, }" >&2
        patterns+=("${VESK_NOT_EMULATED[i + 1]}")
    done
    (IFS='|' && say "${patterns[*]}")
}

test_arch_inside() {
    local arch=$1 build=build/$1
    shift
    (($#)) || set -- "${VESK_EMULATED[@]}"
    cross_packages "$arch"
    # The launchers are this machine's own: an emulator cannot make namespaces.
    build_preset debug vesk-sandbox systemctl-stand-in
    # The build lists the tests by running the programs.
    quietly with_emulator "$arch" cmake -G Ninja -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-debian.cmake \
        -DVESK_ARCHITECTURE="$arch" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVESK_BUILD_TESTS=ON
    say "Building for $arch ..."
    quietly with_emulator "$arch" cmake --build "$build" --parallel "$(nproc)" \
        --target vesksystemd veskctl_man vesk_platform_tools "$@"
    tell_libraries "$build" "$arch"
    tell_load_time "$build" "$arch"
    cp build/debug/tests/ground/{vesk-sandbox,systemctl-stand-in} "$build/tests/ground/"
    say "Testing: $*"
    with_emulator "$arch" bash -euc '. scripts/lib/common.sh; . scripts/lib/ctest.sh; run_ctest "$@"' bash "$arch" \
        --tests-regex "^($(IFS='|' && say "$*"))[.]" --exclude-regex "$(left_out)"
}

# What is committed is built, in a bare machine that is kept in FOLDER; the test programs named, or those above.
test_arch() {
    local arch=$1 folder=${2:-$VESK_ROOT/build/bare-$1}
    if [[ $folder == --inside ]]; then
        test_arch_inside "$arch" "${@:3}"
        return
    fi
    "$VESK_ROOT/scripts/bare-machine" "$folder" "scripts/test-$arch" --inside "${@:3}"
}
