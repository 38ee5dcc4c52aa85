#!/bin/bash
# Runs in the private systemd: plays the acts of the demonstration one after the other, up to the first that fails.
# Usage: demo_acts.sh FOLDER, which holds bin/, demo.d/, lib/ and installed/
set -euo pipefail

export PATH=$1/bin:$PATH LD_LIBRARY_PATH=$1/installed/lib
for act in "$1"/demo.d/[0-9]*.sh; do
    bash -euo pipefail "$act"
done
