#!/bin/sh
# soak.sh [--seed N] --minutes M: random calls for that long; ends with what was tried and found.
cd "${QUINMARK_BINARIES:-$(dirname "$0")/../../build/x86-release}" && exec wine ./invoke_calls.exe "$@"
