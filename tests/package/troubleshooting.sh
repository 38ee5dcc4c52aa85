#!/bin/sh
# Each line that docs/troubleshooting.md explains is one that the library logs: each piece between the marks for names
# and numbers stands in the text of one call.
. "$SOURCE/tests/package/lib.sh"

# shellcheck disable=SC2016 # backquotes as in Markdown
grep '^| `' "$SOURCE/docs/troubleshooting.md" | cut -d '|' -f 2 | grep -o '`[^`]*`' | tr -d '`' >"$WORK/lines.txt"
[ "$(wc -l <"$WORK/lines.txt")" -ge 30 ] || fail 'docs/troubleshooting.md explains nothing'
grep -rhoE '"%s:%d [^"]*"' "$SOURCE/src" | sed 's/^"%s:%d \(vesksystemd: \)\{0,1\}//; s/"$//; s/\\n/ /g' >"$WORK/texts.txt"
sed 's/%[0-9]*\(ll\)\{0,1\}[sdXum]/…/g; s/ *(…)\.*$//; s/ *\[0x….*$//' "$WORK/texts.txt" | sed 's/ *…$//; s/ *$//' |
    sort -u >"$WORK/shown.txt"
while read -r line; do
    shown=$(printf '%s\n' "$line" | sed 's/ *(…)\.*$//; s/ *…$//; s/ *$//')
    grep -qxF -- "$shown" "$WORK/shown.txt" ||
        grep -qF -- "$shown" "$WORK/shown.txt" || fail "nothing logs: $line"
done <"$WORK/lines.txt"
finish
