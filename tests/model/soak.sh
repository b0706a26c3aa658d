#!/bin/sh
# soak.sh [--seed N] --minutes M: random cases against the model for that long; ends with what was tried and found.
here=$(dirname "$0")
PYTHONPATH=$here/../support exec /usr/bin/python3 "$here/model_test.py" "$@"
