#!/bin/sh
# Every installed header compiles by itself, twice in a row, in each of its languages.
. "$SOURCE/tests/package/lib.sh"

compile() { # LANGUAGE HEADER
    case $1 in
    c99) file=$WORK/header.c compiler="$CC -std=c99" ;;
    c++17) file=$WORK/header.cpp compiler="$CXX -std=c++17" ;;
    esac
    printf '#include <%s>\n#include <%s>\n' "$2" "$2" >"$file"
    # shellcheck disable=SC2046,SC2086 # several words each
    $compiler -Wall -Wextra -Wpedantic -Werror -fsyntax-only $(flags --cflags) "$file" || fail "$2 as $1"
}

for header in "$PREFIX"/include/*; do
    header=${header##*/}
    case $header in
    *.h) compile c99 "$header" && compile c++17 "$header" ;;
    *.hpp) compile c++17 "$header" ;;
    *) fail "$header is no header" ;;
    esac
done
finish
