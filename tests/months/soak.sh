#!/bin/sh
# soak.sh [--seed N] --minutes M: random months of three laptops for that long; ends with what was tried and found.
here=$(dirname "$0")
PYTHONPATH=$here/../support:$here/../model exec /usr/bin/python3 "$here/months_test.py" "$@"
