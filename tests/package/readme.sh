#!/bin/sh
# The programs that the README shows are those in examples/, and the files that it names are there.
. "$SOURCE/tests/package/lib.sh"

block() { # LANGUAGE
    awk -v fence="\`\`\`$1" '$0 == "```" { inside = 0 } inside { print } $0 == fence { inside = 1 }' \
        "$SOURCE/README.md"
}

block c >"$WORK/start_unit.c"
same 'the C program in README.md is not examples/start_unit.c' "$SOURCE/examples/start_unit.c" \
    "$WORK/start_unit.c"
block cpp >"$WORK/control_unit.cpp"
same 'the C++ program in README.md is not examples/control_unit.cpp' "$SOURCE/examples/control_unit.cpp" \
    "$WORK/control_unit.cpp"

# The lines of code in a comment of the header are those of an example.
sed -n 's/^ \*     \( \{0,8\}[^ ].*\)$/\1/p' "$SOURCE/include/vesksystemd.h" | sed 's/^ *//' >"$WORK/header.txt"
[ -s "$WORK/header.txt" ] || fail 'vesksystemd.h shows no code'
while read -r line; do
    cat "$SOURCE"/examples/*.c | grep -qF -- "$line" || fail "vesksystemd.h shows what no example does: $line"
done <"$WORK/header.txt"

grep -o '](\([^):]*\))' "$SOURCE/README.md" | sed 's/^](//; s/)$//' >"$WORK/links.txt"
[ -s "$WORK/links.txt" ] || fail 'README.md has no links'
while read -r file; do
    [ -e "$SOURCE/$file" ] || fail "README.md names $file, which is not there"
done <"$WORK/links.txt"
grep -oE '/usr/(vesk|bin)/[a-z/.-]*[a-z]|/bin/[a-z]+' "$SOURCE/README.md" | sort -u >"$WORK/programs.txt"
[ -s "$WORK/programs.txt" ] || fail 'README.md has no programs'
while read -r program; do
    grep -rqF "\"$program\"" "$SOURCE/src" || fail "README.md names $program, which the library does not run"
done <"$WORK/programs.txt"
finish
