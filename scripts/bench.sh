#!/usr/bin/env bash
# Measures how fast replication is, as ratios of what it is compared with, prints the figures and leaves them in
# build/bench.json. Nothing else should run on the machine meanwhile.
#
#   bench.sh [--rows N] [--rounds N] [--only NAME...]
#
# --rows is the size of the compared tables, 10000 unless told; 100000 takes an hour and more. Every comparison is made
# in 5 rounds unless told, from 100000 rows on in 3. NAMEs are those of the parts that `bench.sh --help` lists.
# docs/performance.md says how it is measured.
# Exit status: 0 measured and within all limits, 1 a figure is beyond its limit or could not be measured.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

case ${1-} in -h | --help) exec python3 bench/bench.py --help ;; esac
"$repoRoot/scripts/install-deps.sh" --bench
build QuinmarkRepDLL adodb benches
startTestbed
registerServers >/dev/null 2>&1
export PYTHONDONTWRITEBYTECODE=1
runInterruptible python3 bench/bench.py "$@"
