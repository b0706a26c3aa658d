#!/bin/sh
# soak.sh [--seed N] --minutes M: random values as literals for that long; ends with what was tried and found.
here=$(dirname "$0")
PYTHONPATH=$here/../support exec /usr/bin/python3 "$here/literals_test.py" "$@"
