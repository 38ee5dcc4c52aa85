#!/bin/sh
# The programs in examples/ build and run with the flags of pkg-config alone.
. "$SOURCE/tests/package/lib.sh"

build c99 "$SOURCE/examples/start_unit.c" "$WORK/start_unit"
build c99 "$SOURCE/examples/hold_service.c" "$WORK/hold_service"
run "$WORK/start_unit" 1 'start: failed'
build c99 "$SOURCE/examples/tell_error.c" "$WORK/tell_error"
run "$WORK/tell_error" 1 '0x0D00: that cannot be the name of a unit'
build c++17 "$SOURCE/examples/control_unit.cpp" "$WORK/control_unit"
run "$WORK/control_unit" 2 'usage: control_unit start|restart|stop UNIT...'
build c++17 "$SOURCE/examples/unmount_volume.cpp" "$WORK/unmount_volume"
run "$WORK/unmount_volume" 2 'usage: unmount_volume users MOUNT-PATH | unmount_volume run MOUNT-PATH COMMAND'
finish
