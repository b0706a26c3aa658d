#!/usr/bin/env bash
# Changes one operator, constant or text of the decision code at a time (src/replication, src/conflicts) and tells which
# changes the unit tests do not notice.
#
#   mutate.sh [--count N] [--seed S] [--only FILE:LINE] [--list]
#
# Without --count all of them, some 680. One line for each, the living ones again at the end.
# Exit status: 0 at most 5 % live, 1 more, 2 the unit tests fail without any change.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

"$repoRoot/scripts/install-deps.sh"
build unit_tests
startTestbed
runInterruptible python3 "$repoRoot/scripts/mutate.py" "$binaries" "$@"
