#!/bin/sh
# soak.sh [--seed N] --minutes M: failures at calls, allocations and log entries for that long.
exec wine "$QUINMARK_BINARIES/fault_runs.exe" "$@"
