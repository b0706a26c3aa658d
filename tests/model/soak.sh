#!/bin/sh
# soak.sh [--seed N] --minutes M: random cases against the model for that long; ends with what was tried and found.
exec python3 "$(dirname "$0")/model_test.py" "$@"
