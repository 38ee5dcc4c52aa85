#!/bin/sh
# Every test that docs/security.md and docs/reliability.md name as Suite.Test is written in a source of the tests.
. "$SOURCE/tests/package/lib.sh"

# shellcheck disable=SC2016 # backquotes as in Markdown
cat "$SOURCE"/docs/security.md "$SOURCE"/docs/reliability.md |
    grep -oE '`[A-Z][A-Za-z]*\.[A-Z][A-Za-z0-9]*`' | tr -d '`' | grep -vx 'Suite\.Test' | sort -u >"$WORK/named"
[ "$(wc -l <"$WORK/named")" -ge 40 ] || fail "hardly any test is named"
grep -rhE '^TEST(_F|_P)?\(' --include='*.cpp' "$SOURCE/tests" "$SOURCE/platform/tests" |
    sed -E 's/^TEST(_F|_P)?\(([A-Za-z0-9]+), *([A-Za-z0-9]+)\).*/\2.\3/' | sort -u >"$WORK/written"
comm -23 "$WORK/named" "$WORK/written" >"$WORK/missing"
while read -r test; do
    fail "there is no test $test"
done <"$WORK/missing"
finish
