#!/bin/sh
# soak.sh [--seed N] --minutes M: random accidents for that long; ends with what was tried and found.
here=$(dirname "$0")
export PYTHONPATH="$here/../host:$here/../support" PYTHONDONTWRITEBYTECODE=1
: "${QUINREP:=$here/../../build/x86-release/quinrep.exe}"
export QUINREP
exec python3 "$here/accidents_test.py" "$@"
