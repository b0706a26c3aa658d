#!/usr/bin/env bash
# Builds everything and runs all tests; the last lines are CTest's summary and the exit status is its own.
#
#   test.sh [CTEST ARGUMENT...]
#   test.sh --sqlserver HOST[:PORT] [CTEST ARGUMENT...]
#   test.sh --sqlserver SOURCE_DSN DESTINATION_DSN SOURCE_PREFIX DESTINATION_PREFIX [CTEST ARGUMENT...]
#
# With --sqlserver those tests run that mean something there, unless an ARGUMENT says which. With a HOST they use
# databases that they make on this SQL Server and take away again; QUINMARK_ADMIN and QUINMARK_ADMIN_PASSWORD are an
# administrator's login there. With data sources they use these, with the password in QUINMARK_PASSWORD and the ODBC
# settings of the caller (ODBCINI). They EMPTY the practice's tables, and are skipped where they need databases of their
# own, or cut connections and QUINMARK_SERVER_ADDRESS (127.0.0.1:PORT) does not say where on this machine the server is.
# Tests that need what cannot be installed (a browser, sanitizers) are skipped, unless QUINMARK_REQUIRE_TOOLS is 1.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

useDataSources() {
    export QUINMARK_OFFICE_DSN=$1 QUINMARK_LAPTOP_DSN=$2 QUINMARK_OFFICE_PREFIX=$3 QUINMARK_LAPTOP_PREFIX=$4
    export QUINMARK_PASSWORD=$callerPassword ODBCINI=$callerOdbcIni QUINMARK_SERVER=sqlserver
    export QUINMARK_SERVER_ADDRESS=$callerServerAddress
}

# The tests empty the practice's tables: a practice's own databases have the name of its office.
refuseOffices() {
    local side offices
    for side in office laptop; do
        offices=$(/usr/bin/python3 tests/support/sql.py "$side" \
            "select id from control where type = 'DBOffice' and id <> 'Norvale'") ||
            die "the tests cannot look whether the $side database is an office's"
        [[ -z $offices ]] || die "the $side database is that of $offices, whose rows the tests would delete"
    done
}

callerPassword=${QUINMARK_PASSWORD-}
callerOdbcIni=${ODBCINI-$HOME/.odbc.ini}
callerServerAddress=${QUINMARK_SERVER_ADDRESS-}
dataSources=()
if [[ ${1-} == --sqlserver ]]; then
    shift
    while [[ $# -gt 0 && $1 != -* ]]; do
        dataSources+=("$1")
        shift
    done
    case ${#dataSources[@]} in
        1)
            useSqlServer "${dataSources[0]}"
            dataSources=()
            ;;
        4) [[ -n $callerPassword ]] || die -2 '--sqlserver with data sources needs the password in QUINMARK_PASSWORD' ;;
        *) die -2 '--sqlserver needs HOST[:PORT], or two data sources and two prefixes' ;;
    esac
    [[ $# -gt 0 ]] || set -- -L server
fi

# The reasons for which tests were skipped that ask a server for what it does not have.
tellWhatIsLacking() {
    local lacking
    lacking=$(grep -aoh 'the server lacks .*' "$binaries/Testing/Temporary/LastTest.log" | tr -d '\r' | sort -u) || true
    note "what ${sqlServer:-the server} lacks, as tests found it:" "${lacking:-nothing}"
}

"$repoRoot/scripts/install-deps.sh" --tests
build
startTestbed
# The first program with a window brings up the desktop, which would hold on to a test's output like the others.
registerServers >/dev/null 2>&1
if [[ ${#dataSources[@]} -gt 0 ]]; then
    useDataSources "${dataSources[@]}"
    refuseOffices
fi
export QUINMARK_REQUIRE_DATABASE=1 QUINMARK_REQUIRE_DISPLAY=1 QUINMARK_REQUIRE_REGISTRATION=1
note 'testing'
# One more than there are processors: many tests wait for a server or a person.
status=0
runInterruptible ctest --preset "$preset" --parallel "$(($(nproc) + 1))" "$@" || status=$?
[[ ${QUINMARK_SERVER-} != sqlserver ]] || tellWhatIsLacking
exit "$status"
