#!/bin/sh
# Two names in braces do not compile where one unit is wanted, in any family that has a form for lists; one name, a
# list with its failed units, and the address of either form do.
. "$SOURCE/tests/package/lib.sh"

# Families: those that the header declares both for a list and for one unit.
tr -s '\n ' ' ' <"$PREFIX/include/vesksystemd.hpp" | tr ';' '\n' | sed -n 's/.*VESK_API bool //p' |
    grep -v WithOptions >"$WORK/declarations.txt"
families() { # NAME OF THE LAST PARAMETER, WHAT STANDS BEFORE IT
    sed -n "s/^\\([A-Za-z]*\\)($2const std::string& $1)\$/\\1/p" "$WORK/declarations.txt" | while read -r name; do
        grep -qE "^$name\\($2const std::vector<std::string>& vec" "$WORK/declarations.txt" && echo "$name"
    done
}
families strUnit '' >"$WORK/units.txt"
families strService 'const std::string& strReason, ' >"$WORK/services.txt"
[ "$(wc -l <"$WORK/units.txt")" -ge 20 ] || fail 'families of units are missing'
[ "$(wc -l <"$WORK/services.txt")" -ge 3 ] || fail 'families of services are missing'

calls() { # ARGUMENTS FILE
    while read -r name; do
        printf '    %s(%s);\n' "$name" "$1"
    done <"$2"
}
program() {
    printf '#include <vesksystemd.hpp>\nvoid Calls(std::vector<std::string>& failed)\n{\n'
    cat
    printf '    failed.clear();\n}\n'
}
# clang stops at the twentieth error unless it is told not to.
case $($CXX --version) in
*clang*) every_error=-ferror-limit=0 ;;
*) every_error=-fmax-errors=0 ;;
esac
compile() { # FILE
    # shellcheck disable=SC2046 # several words
    $CXX -std=c++17 -Wall -Wextra -Werror "$every_error" -fsyntax-only $(flags --cflags) "$1" >"$WORK/log" 2>&1
}

{
    calls '"a"' "$WORK/units.txt"
    calls '{"a"}' "$WORK/units.txt"
    calls '{"a", "b"}, failed' "$WORK/units.txt"
    calls '"r", "a"' "$WORK/services.txt"
    calls '"r", {"a", "b"}, failed' "$WORK/services.txt"
    while read -r name; do
        printf '    { bool (*one)(const std::string&) = %s; one("a"); }\n' "$name"
    done <"$WORK/units.txt"
} | program >"$WORK/taken.cpp"
compile "$WORK/taken.cpp" || { cat "$WORK/log"; fail 'what is right does not compile'; }

{
    calls '{"a", "b"}' "$WORK/units.txt"
    calls '{"a", "b", "c"}' "$WORK/units.txt"
    calls '"r", {"a", "b"}' "$WORK/services.txt"
} | program >"$WORK/refused.cpp"
! compile "$WORK/refused.cpp" || fail 'a list in place of a unit compiles'
{ sed 'h;G;s/\n/ /' "$WORK/units.txt" | tr ' ' '\n'; cat "$WORK/services.txt"; } | sort >"$WORK/expected.txt"
# Each at its own line, as gcc ("use of deleted function") and clang ("call to deleted function") put it.
sed -n "s/^[^:]*refused\\.cpp:\\([0-9]*\\):.* error: .*deleted function.*/\\1/p" "$WORK/log" | sort -un |
    while read -r line; do
        sed -n "${line}s/^ *\\([A-Za-z]*\\)(.*/\\1/p" "$WORK/refused.cpp"
    done | sort >"$WORK/refused.txt"
same 'families that take a list for a unit (-)' "$WORK/expected.txt" "$WORK/refused.txt"
finish
