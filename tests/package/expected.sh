# shellcheck shell=sh disable=SC2034 # used by those who source this
# What the two programs in consumer/ print. Sourced after lib.sh.
names_c='2 one two
0 0xd00 0 0x700 1'
names_cpp='foo.service
7 foo.service stop waiting
Unit is not found [no-such-unit-anywhere]'
