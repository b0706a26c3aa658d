#!/usr/bin/env bash
# Runs the main job on sample data: a script host copies the office database's tables to the laptop through the
# registered component, and both databases are then compared row by row. Exit status: 0 when they are equal.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

readonly log=build/demo.log
readonly summary=build/demo.summary

tableRows() { # SIDE TABLE: every row, in a fixed order
    "$repoRoot/scripts/devdb.sh" psql "$1" -X -q -v ON_ERROR_STOP=1 \
        -c "copy (select * from $1.$2 order by 1) to stdout"
}

# The tables of the summary, and the one that computer_type brings along.
replicatedTables() {
    awk '$1 ~ /^[a-z_]+$/ && $2 ~ /^[0-9]+$/ { print $1 } END { print "computer_type_setting" }' "$summary"
}

compareDatabases() {
    local table tables rows=0 different=0
    tables="$(replicatedTables)"
    for table in $tables; do
        tableRows office "$table" >build/demo.office
        tableRows laptop "$table" >build/demo.laptop
        if cmp -s build/demo.office build/demo.laptop; then
            rows=$((rows + $(wc -l <build/demo.office)))
        else
            note "$table differs"
            different=$((different + 1))
        fi
    done
    [[ $different -eq 0 ]] || die "$different of $(wc -w <<<"$tables") tables differ"
    [[ $rows -gt 0 ]] || die 'nothing was copied'
    printf 'Both databases hold the same %s rows in %s tables.\n' "$rows" "$(wc -w <<<"$tables")"
}

"$repoRoot/scripts/install-deps.sh"
buildAll
startTestbed
cd "$repoRoot"
note 'loading the sample into the office database'
scripts/devdb.sh reset 9>&-
registerServers
rm -f "$log"
note 'replicating'
status=0
runInterruptible wine cscript //nologo examples/replicate.vbs "$log" >"$summary.crlf" || status=$?
tr -d '\r' <"$summary.crlf" | tee "$summary"
[[ $status -eq 0 ]] || exit "$status"
compareDatabases
