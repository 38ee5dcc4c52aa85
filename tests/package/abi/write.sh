#!/bin/sh
# Writes the binary interface of a libvesksystemd.so.7 that has debug information: write.sh LIBRARY FILE
set -e
abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed \
    --suppressions "$(dirname "$0")/ours.suppr" --out-file "$2" "$1"
# Where it was built is nobody's business.
sed -i "s|path='[^']*/\\(src/[^']*\\)'|path='\\1'|" "$2"
