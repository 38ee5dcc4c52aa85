#!/bin/sh
# libvesksystemd.so.7 exports every function that the headers declare with VESK_API and nothing else, and the same
# names as when they were last accepted.
. "$SOURCE/tests/package/lib.sh"

: >"$WORK/functions.txt"
: >"$WORK/others.txt"
nm -D --defined-only --without-symbol-versions "$PREFIX/lib/libvesksystemd.so.7" |
    awk '$2 == "T" { print $3 > functions } $2 != "T" && $2 != "A" { print $2, $3 > others }' \
        functions="$WORK/functions.txt" others="$WORK/others.txt"
while read -r kind name; do
    fail "exported, but no function: $kind $(echo "$name" | c++filt)"
done <"$WORK/others.txt"

# Demangled, the standard library's types by their everyday names. Constructors come twice.
c++filt <"$WORK/functions.txt" | sed '
    s/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g
    s/, std::allocator<std::string *> *>/>/g
    s/, std::less<[^<>]*>, std::allocator<std::pair<[^<>]*> > >/>/g' | sort -u >"$WORK/exported-symbols.txt"
accepted=$SOURCE/tests/package/exported-symbols.txt
same "the exports are not those last accepted; to accept them: cp $WORK/exported-symbols.txt $accepted" \
    "$accepted" "$WORK/exported-symbols.txt"

sed 's/(.*//; s/\[abi:.*//; s/^VESK::Systemd:://' "$WORK/exported-symbols.txt" | sort | uniq -c |
    awk '{ print $2, $1 }' | sort >"$WORK/exported.txt"
awk -f "$SOURCE/tests/package/declared.awk" "$PREFIX/include/vesksystemd.h" "$PREFIX/include/vesksystemd.hpp" |
    sort >"$WORK/declared.txt"
same 'declared (-) and exported (+) differ' "$WORK/declared.txt" "$WORK/exported.txt"
finish
