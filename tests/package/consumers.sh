# shellcheck shell=sh disable=SC2034 # used by those who source this
# What the two programs in consumer/ print. Sourced after lib.sh.
names_c='2 one two
0 0xd00 0 0x700 1'
names_cpp='foo.service
7 foo.service stop waiting
Unit is not found [no-such-unit-anywhere]'

# consumers CMAKE-PREFIX-PATH : both programs build and run, by pkg-config and by CMake.
consumers() {
    build c99 "$SOURCE/tests/package/consumer/names.c" "$WORK/names_c"
    run "$WORK/names_c" 0 "$names_c"
    build c++17 "$SOURCE/tests/package/consumer/names.cpp" "$WORK/names_cpp"
    run "$WORK/names_cpp" 0 "$names_cpp"
    cmake_consumer "$1" || { cat "$WORK/consumer.log"; fail 'the CMake consumer does not build'; }
    ! grep -i warning "$WORK/consumer.log" || fail 'CMake warns'
    run "$WORK/consumer/names_c" 0 "$names_c"
    run "$WORK/consumer/names_cpp" 0 "$names_cpp"
}
