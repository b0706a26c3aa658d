#!/usr/bin/env bash
# Measures how fast replication is, as ratios of what it is compared with, prints the figures and leaves them in
# build/bench.json. Nothing else should run on the machine meanwhile.
#
#   bench.sh [--sqlserver HOST[:PORT]] [--rows N] [--rounds N] [--only NAME...]
#
# With --sqlserver the databases are made on this SQL Server, where QUINMARK_ADMIN and QUINMARK_ADMIN_PASSWORD are an
# administrator's login, and taken away again; `log`, `full-copy` and `pt-table-sync` are not measured there.
# --rows is the size of the compared tables, 10000 unless told; 100000 takes an hour and more. Every comparison is made
# in 5 rounds unless told, from 100000 rows on in 3. NAMEs are those of the parts that `bench.sh --help` lists.
# docs/performance.md says how it is measured.
# Exit status: 0 measured and within all limits, 1 a figure is beyond its limit or could not be measured.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

export PYTHONPATH="$repoRoot/tests/support"
case ${1-} in
    -h | --help) exec /usr/bin/python3 bench/bench.py --help ;;
    --sqlserver)
        [[ $# -ge 2 ]] || die -2 '--sqlserver needs HOST[:PORT]'
        useSqlServer "$2"
        shift 2
        ;;
esac
"$repoRoot/scripts/install-deps.sh" --bench
build QuinmarkRepDLL adodb benches
startTestbed
registerServers >/dev/null 2>&1
runInterruptible /usr/bin/python3 bench/bench.py "$@"
