# Runs a preset's tests and counts them. Sourced by bash after common.sh.
# shellcheck shell=bash

# count_results JUNIT-FILE : prints "PASSED FAILED SKIPPED". A test that could not be run has failed, though
# ctest's own sum in this file has it among the skipped.
count_results() {
    awk '
        /<testcase /                  { status = $0; sub(/.* status="/, "", status); sub(/".*/, "", status) }
        /<skipped message="SKIP_/     { status = "skipped" }
        /<\/testcase>/                { count[status]++ }
        END {
            print count["run"] + 0, count["fail"] + count["notrun"], count["skipped"] + count["disabled"]
        }' "$1"
}

# tell_skips JUNIT-FILE : why tests were skipped, each reason once with the number of its tests.
tell_skips() {
    awk '
        /<testcase /                                   { reason = ""; skipped = disabled = 0 }
        /status="disabled"/                            { disabled = 1 }
        /<skipped message="SKIP_/                      { skipped = 1 }
        reason == "" && (next_line || /skipped[:,] /)  { reason = $0 }
                                                       { next_line = /: Skipped$/ }
        /<\/testcase>/ && (skipped || disabled) {
            gsub(/<[^>]*>/, "", reason)
            gsub(/&lt;/, "<", reason); gsub(/&gt;/, ">", reason); gsub(/&amp;/, "\\&", reason)
            sub(/^[ \t]+/, "", reason)
            count[disabled ? "disabled" : reason == "" ? "no reason given" : reason]++
        }
        END { for (reason in count) printf "Skipped %d: %s\n", count[reason], reason }' "$1"
}

# run_ctest PRESET [CTEST-OPTION...] : 0 when at least one test passed and none failed. The last line printed
# is "N passed, N failed, N skipped".
run_ctest() {
    local folder=$VESK_ROOT/build/$1 status=0
    local results=$folder/test-results.xml passed=0 failed=0 skipped=0
    shift
    rm -f "$results"
    ctest --test-dir "$folder" -j "$(nproc)" --output-on-failure --output-junit "$results" "$@" \
        </dev/null || status=$?
    if [[ -f $results ]]; then
        tell_skips "$results"
        read -r passed failed skipped < <(count_results "$results")
    fi
    say "$passed passed, $failed failed, $skipped skipped"
    ((status == 0 && failed == 0 && passed > 0))
}
