#!/bin/bash
# The closing line of scripts/test counts what ctest saw: every way to pass, fail, skip or not run.
# Wants SOURCE and WORK in its environment.
set -u
. "$SOURCE/scripts/lib/common.sh"
. "$SOURCE/scripts/lib/ctest.sh"

VESK_ROOT=$WORK
mkdir -p "$VESK_ROOT/build/mixed" "$VESK_ROOT/build/good" "$VESK_ROOT/build/skipping" "$VESK_ROOT/build/empty"
cat >"$VESK_ROOT/build/mixed/CTestTestfile.cmake" <<'END'
add_test(passes true)
add_test(fails false)
add_test(crashes sh -c "kill -SEGV $$")
add_test(hangs sleep 60)
set_tests_properties(hangs PROPERTIES TIMEOUT 1)
add_test(is_not_built no_such_program)
add_test(skips_by_code sh -c "echo 'ground: skipped: <no> \"ground\" here'; exit 77")
add_test(skips_by_code_too sh -c "echo 'ground: skipped: <no> \"ground\" here'; exit 77")
set_tests_properties(skips_by_code skips_by_code_too PROPERTIES SKIP_RETURN_CODE 77)
add_test(skips_by_word echo "[  SKIPPED ] Suite.Test")
set_tests_properties(skips_by_word PROPERTIES SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
add_test(is_disabled false)
set_tests_properties(is_disabled PROPERTIES DISABLED TRUE)
END
echo 'add_test(passes true)' >"$VESK_ROOT/build/good/CTestTestfile.cmake"
echo 'add_test(skips sh -c "exit 77")
set_tests_properties(skips PROPERTIES SKIP_RETURN_CODE 77)' >"$VESK_ROOT/build/skipping/CTestTestfile.cmake"
: >"$VESK_ROOT/build/empty/CTestTestfile.cmake"

failures=0
expect() { # PRESET STATUS LAST-LINE
    local output status=0
    output=$(run_ctest "$1" 2>&1) || status=$?
    if [[ $status != "$2" || $(tail -n 1 <<<"$output") != "$3" ]]; then
        printf '%s: status %s, expected %s and "%s":\n%s\n' "$1" "$status" "$2" "$3" "$output"
        failures=1
    fi
    printf '%s\n' "$output" >"$VESK_ROOT/$1.out"
}

expect mixed 1 "1 passed, 4 failed, 4 skipped"
expect good 0 "1 passed, 0 failed, 0 skipped"
expect skipping 1 "0 passed, 0 failed, 1 skipped"
expect empty 1 "0 passed, 0 failed, 0 skipped"
if ! grep -qxF 'Skipped 2: ground: skipped: <no> "ground" here' "$VESK_ROOT/mixed.out"; then
    echo "The reason of a skip is not told:"
    grep Skipped "$VESK_ROOT/mixed.out"
    failures=1
fi
exit $failures
