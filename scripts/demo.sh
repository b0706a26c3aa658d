#!/usr/bin/env bash
# A day between an office and a laptop, on sample data: the first copy, a night after both sides have changed, and the
# morning, when the conflicts are resolved. All of it through the registered component, driven by quinrep and, for the
# conflicts, by a script host of examples/. Both databases are compared row by row.
#
#   demo.sh [--sqlserver HOST[:PORT]]
#
# With --sqlserver the databases are made on this SQL Server, where QUINMARK_ADMIN and QUINMARK_ADMIN_PASSWORD are an
# administrator's login, and taken away again. Exit status: 0 when all is as it should be.
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
    show 0 "$1" cp437 cscript //nologo "examples/$1.vbs" "${@:2}" "$QUINMARK_OFFICE_DSN" "$QUINMARK_OFFICE_PREFIX" \
        "$QUINMARK_LAPTOP_DSN" "$QUINMARK_LAPTOP_PREFIX"
}

quinrep() { # STATUS COMMAND...
    show "$1" "quinrep $2" utf-8 "$binaries/quinrep.exe" -q -c "$out/quinrep.toml" "${@:2}"
}

sql() { # SIDE ARG...
    /usr/bin/python3 tests/support/sql.py "$@"
}

# A day's changes. Times are whole seconds, because that is how a replicated row carries them.
day() { # SIDE
    local now
    now=$(sql "$1" 'select getdate()')
    sql "$1" -f "examples/demo/$1_day.sql" -v Now="${now%.*}" -v Later="$(date -d "${now%.*}Z +1 minute" -u +%FT%T)"
}

# compareDatabases TABLE=ROWS...: these tables differ in so many rows, all others in none.
compareDatabases() {
    local side rows count differing expected
    for side in office laptop; do
        sql "$side" --tables | LC_ALL=C sort >"$out/$side"
    done
    rows=$(wc -l <"$out/office")
    count=$(cut -f 1 "$out/office" | uniq | wc -l)
    [[ $rows -gt 0 ]] || die 'there is nothing in the office database'
    differing=$(for side in office laptop; do
        LC_ALL=C comm -13 "$out/office" "$out/$side"
        LC_ALL=C comm -13 "$out/laptop" "$out/$side"
    done | cut -f 1 | sort | uniq -c | awk '{ print $2 "=" $1 / 2 }')
    expected=$(printf '%s\n' "$@" | sort)
    [[ $differing == "$expected" ]] || die "rows differ: ${differing:-none}, expected ${expected:-none}"
    printf 'Compared row by row: %s rows in %s tables, differing: %s\n' "$rows" "$count" "${*:-none}"
}

conflictIds() { # TABLE: in the order of the list
    sed -n "s/^\({[^}]*}\) $1, .*/\1/p" "$out/conflicts.txt"
}

if [[ ${1-} == --sqlserver ]]; then
    [[ $# -eq 2 ]] || die -2 '--sqlserver needs HOST[:PORT]'
    useSqlServer "$2"
fi
"$repoRoot/scripts/install-deps.sh"
build QuinmarkRepDLL adodb quinrep
startTestbed
mkdir -p "$out"
rm -f "$out"/quinrep*
note 'loading the sample into the office database'
"${databases[@]}" reset 9>&-
registerServers

heading 'A configuration from both databases'
quinrep 0 init --source-dsn "$QUINMARK_OFFICE_DSN" --destination-dsn "$QUINMARK_LAPTOP_DSN" \
    --password env:QUINMARK_PASSWORD
note 'two tables are changed on both sides, and the conflicts of one evening do not keep the next from its work'
sed -i -e "/^name = 'patient_dates'/,+1 s/one_way_deletes/two_way/" \
    -e "/^name = 'config'/,+1 s/one_way_deletes/two_way_no_deletes/" \
    -e 's/^on_conflicts = "stop"/on_conflicts = "continue"/' "$out/quinrep.toml"
quinrep 0 check

heading 'The first copy'
quinrep 0 copy --ready
compareDatabases

heading 'Both sides change, and the night brings them together'
day office
day laptop
note 'what a run would do'
quinrep 0 preview
note 'the run; status 2: conflicts were recorded'
quinrep 2 run --ready --report "$out/report.html"

heading 'The morning: what the run may not decide'
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

[[ -z $sqlServer ]] || exit 0
note 'two conflicts are left: scripts/quinrep.sh review, or scripts/quinrep.sh conflicts --help'
note 'further evenings: scripts/quinrep.sh run --ready'
note "the run's report: $out/report.html"
