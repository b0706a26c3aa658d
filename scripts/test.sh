#!/usr/bin/env bash
# Builds everything and runs all tests; the last lines are CTest's summary and the exit status is its own.
#
#   test.sh [--sqlserver SOURCE_DSN DESTINATION_DSN SOURCE_PREFIX DESTINATION_PREFIX] [CTEST ARGUMENT...]
#
# With --sqlserver the runs between two databases use these, with the password in QUINMARK_PASSWORD and the ODBC
# settings of the caller (ODBCINI), instead of the private PostgreSQL. Tests that need what cannot be installed (a
# browser, sanitizers) are skipped, unless QUINMARK_REQUIRE_TOOLS is 1.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

useSqlServer() {
    [[ $# -ge 4 ]] || die -2 '--sqlserver needs two DSNs and two prefixes'
    [[ -n ${callerPassword-} ]] || die -2 '--sqlserver needs the password in QUINMARK_PASSWORD'
    export QUINMARK_OFFICE_DSN=$1 QUINMARK_LAPTOP_DSN=$2 QUINMARK_OFFICE_PREFIX=$3 QUINMARK_LAPTOP_PREFIX=$4
    export QUINMARK_PASSWORD=$callerPassword ODBCINI=$callerOdbcIni QUINMARK_SERVER=sqlserver
}

callerPassword=${QUINMARK_PASSWORD-}
callerOdbcIni=${ODBCINI-$HOME/.odbc.ini}
sqlServer=()
if [[ ${1-} == --sqlserver ]]; then
    sqlServer=("${@:2:4}")
    shift $(($# < 5 ? $# : 5))
fi

"$repoRoot/scripts/install-deps.sh" --tests
build
startTestbed
# The first program with a window brings up the desktop, which would hold on to a test's output like the others.
registerServers >/dev/null 2>&1
[[ ${#sqlServer[@]} -eq 0 ]] || useSqlServer "${sqlServer[@]}"
export QUINMARK_REQUIRE_DATABASE=1 QUINMARK_REQUIRE_DISPLAY=1
note 'testing'
# One more than there are processors: many tests wait for a server or a person.
runInterruptible ctest --preset "$preset" --parallel "$(($(nproc) + 1))" "$@"
