#!/bin/sh
# invoke_test.sh: the short form of the random calls. They are told by way of a file: the debugger of a program that
# crashed may hold on to a pipe for longer than the test's time.
said=$(mktemp) || exit 1
trap 'rm -f "$said"' EXIT
timeout 160 "$(dirname "$0")/soak.sh" "$@" >"$said" 2>&1
status=$?
cat "$said"
exit $status
