#!/usr/bin/env bash
# A day between an office and a laptop, on sample data: the laptop takes a copy, both sides change, a run brings them
# together, and the conflicts are resolved. All of it through the registered component, driven by the script hosts in
# examples/ and by quinrep. Both databases are compared row by row. Exit status: 0 when all is as it should be.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

# Below build/, like all that the demo makes; the scripts get paths relative to the working copy.
readonly out=build/demo

heading() {
    printf '\n== %s ==\n' "$*"
}

# show STATUS NAME ENCODING COMMAND...: runs a Windows program, shows what it says as this system would and keeps that in
# $out/NAME.txt. It has to end with that status.
show() {
    local status=0
    runInterruptible wine "${@:4}" >"$out/$2.crlf" || status=$?
    tr -d '\r' <"$out/$2.crlf" | iconv -f "$3" -t utf-8 | tee "$out/$2.txt"
    [[ $status -eq $1 ]] || die "$2 ended with status $status"
}

script() { # NAME ARG...: runs examples/NAME.vbs
    show 0 "$1" cp437 cscript //nologo "examples/$1.vbs" "${@:2}"
}

quinrep() { # STATUS COMMAND...
    show "$1" "quinrep $2" utf-8 "$binaries/quinrep.exe" -q -c examples/demo/quinrep.toml "${@:2}"
}

sql() { # SIDE ARG...
    scripts/devdb.sh psql "$1" -X -q -At -v ON_ERROR_STOP=1 "${@:2}"
}

replicatedTables() {
    sql office -c "select table_name from information_schema.tables where table_schema = 'office'
                   and table_name not like 'replication%' and table_name <> 'control' order by 1"
}

rowsOf() { # SIDE TABLE: each through a connection of its own
    sql "$1" -c "copy (select * from $1.$2) to stdout" | LC_ALL=C sort
}

# compareDatabases TABLE=ROWS...: these tables differ in so many rows, all others in none.
compareDatabases() {
    local table rows=0 different expected count=0
    for table in $(replicatedTables); do
        rowsOf office "$table" >"$out/office"
        rowsOf laptop "$table" >"$out/laptop"
        count=$((count + 1))
        rows=$((rows + $(wc -l <"$out/office")))
        different=$(LC_ALL=C comm -23 "$out/office" "$out/laptop" | wc -l)
        expected=$(printf '%s\n' "$@" | sed -n "s/^$table=//p")
        [[ $different -eq ${expected:-0} && $(wc -l <"$out/office") -eq $(wc -l <"$out/laptop") ]] ||
            die "$table: $different rows differ, expected ${expected:-0}"
    done
    [[ $rows -gt 0 ]] || die 'there is nothing in the office database'
    printf 'Compared row by row: %s rows in %s tables, differing: %s\n' "$rows" "$count" "${*:-none}"
}

conflictIds() { # TABLE: in the order of the list
    sed -n "s/^\({[^}]*}\) $1, .*/\1/p" "$out/conflicts.txt"
}

"$repoRoot/scripts/install-deps.sh"
build QuinmarkRepDLL adodb quinrep
startTestbed
mkdir -p "$out"
rm -f "$out/replicate.log"
note 'loading the sample into the office database'
scripts/devdb.sh reset 9>&-
registerServers

heading 'The laptop takes a copy'
script replicate copy "$out/replicate.log"
compareDatabases

heading 'Both sides change, and a run brings them together'
sql office -f examples/demo/office_day.sql
sql laptop -f examples/demo/laptop_day.sql
note 'what a run would do'
quinrep 0 preview
note 'the run; status 2: conflicts were recorded'
quinrep 2 run --ready --report "$out/report.html"

heading 'What the run may not decide'
script conflicts list
mapfile -t charts < <(conflictIds chart_hdr)
mapfile -t shortcuts < <(conflictIds shortcut)
[[ ${#charts[@]} -eq 4 && ${#shortcuts[@]} -eq 1 ]] || die 'these are not the conflicts that were made'

heading 'One resolved each way'
script conflicts resolve "${charts[0]}" source
script conflicts resolve "${charts[1]}" destination
script conflicts resolve "${charts[2]}" later
script conflicts resolve "${shortcuts[0]}" source
compareDatabases chart_hdr=3

heading 'The next evening'
note 'the recorded error was of conflicts alone: the run clears it, and leaves the rows that wait as they are'
quinrep 0 run --ready
compareDatabases chart_hdr=3

note 'two conflicts are left: scripts/quinrep.sh review, or scripts/quinrep.sh conflicts --help'
note 'further evenings: scripts/quinrep.sh run --ready'
note "the run's report: $out/report.html"
