#!/bin/sh
# soak.sh [--seed N] --minutes M: random accidents for that long; ends with what was tried and found.
here=$(dirname "$0")
PYTHONPATH=$here/../support exec /usr/bin/python3 "$here/accidents_test.py" "$@"
