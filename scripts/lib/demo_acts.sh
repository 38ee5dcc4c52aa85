#!/bin/bash
# Runs in the private systemd: plays the acts of the demonstration one after the other, up to the first that fails.
# Usage: demo_acts.sh FOLDER SYSTEMD: a folder that holds bin/, demo.d/, lib/ and installed/, and the kind of systemd
# that the library in there is for, current or platform.
set -euo pipefail

export PATH=$1/bin:$1/installed/bin:$PATH LD_LIBRARY_PATH=$1/installed/lib demo_systemd=$2
for act in "$1"/demo.d/[0-9]*.sh; do
    bash -euo pipefail "$act"
done
