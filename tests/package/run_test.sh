#!/usr/bin/env bash
# run_test.sh BUILD NAME: installs the package and lets the installed quinrep run between the two databases. Without
# their settings it is skipped, and with QUINMARK_REQUIRE_DATABASE=1 it fails.
set -euo pipefail
if [[ -z ${QUINMARK_OFFICE_DSN-} ]]; then
    printf 'needs the databases: QUINMARK_OFFICE_DSN is not set\n'
    [[ ${QUINMARK_REQUIRE_DATABASE-} == 1 ]] && exit 1 || exit 77
fi
# shellcheck source=tests/package/prefix.sh
source "$(dirname "${BASH_SOURCE[0]}")/prefix.sh"

# The run of an installation, with the ADO classes of the test bed beside it.
configuration() { # the two databases, as an administrator at the office describes them
    cat <<TOML
site = "offices"
local = "source"
program_version = "3.46"
[source]
dsn = "$QUINMARK_OFFICE_DSN"
prefix = "$QUINMARK_OFFICE_PREFIX"
password = "env:QUINMARK_PASSWORD"
[destination]
dsn = "$QUINMARK_LAPTOP_DSN"
prefix = "$QUINMARK_LAPTOP_PREFIX"
password = "env:QUINMARK_PASSWORD"
[log]
file = "run.log"
[[table]]
name = "users"
method = "one_way_deletes"
TOML
}

sql() { # DSN STATEMENT: the first value of a query
    wine cscript //nologo sql.js "$1" "$2" 2>/dev/null | tr -d '\r'
}

quinrep() { # ARGUMENT...: the installed program, from its folder
    (cd "$program" && wine quinrep.exe -c "$(winepath -w "$work/quinrep.toml")" \
        --log-file "$(winepath -w "$work/run.log")" "$@" | tr -d '\r')
}

runs() { quinrep run --ready --reset-error --json >run.json && grep -q '"adds": 1,' run.json; }
findsNothing() { quinrep "$1" >"$1.txt" || { cat "$1.txt"; return 1; }; }
copied() { [[ $(sql "$QUINMARK_LAPTOP_DSN" 'select user_name from users') == installed ]]; }

# The program by itself has no manifest that leads it to the DLL: it finds the registered one.
loadsTheRegistered() {
    mkdir -p alone
    cp "$program/quinrep.exe" alone/
    (cd alone && wine quinrep.exe -c ../quinrep.toml --log-file ../run.log check | tr -d '\r' >../alone.txt) ||
        { cat alone.txt; return 1; }
}

testRun() {
    export QUINMARK_PASSWORD=${QUINMARK_PASSWORD-}
    cat >sql.js <<'JS'
var connection = new ActiveXObject("ADODB.Connection");
var password = new ActiveXObject("WScript.Shell").Environment("PROCESS")("QUINMARK_PASSWORD");
connection.Open("DSN=" + WScript.Arguments(0) + ";UID=quinmarkapp_user;PWD=" + password);
var rows = connection.Execute(WScript.Arguments(1));
if (rows.State) WScript.Echo(rows.EOF ? "" : rows.Fields(0).Value);
connection.Close();
JS
    configuration >quinrep.toml
    wine regsvr32 /s "$(winepath -w "$build/adodb.dll")"
    sql "$QUINMARK_OFFICE_DSN" 'select 1 from users' >/dev/null
    snapshot before
    expect 'run: installs' install new.msi
    sql "$QUINMARK_OFFICE_DSN" 'delete from users'
    sql "$QUINMARK_LAPTOP_DSN" 'delete from users'
    sql "$QUINMARK_OFFICE_DSN" "insert into users (unid, user_name, initials, access_level, active_f, mod_date)
        values (1, 'installed', null, 1, 1, '2025-03-11T09:15:00')"
    sql "$QUINMARK_OFFICE_DSN" "update replication_control set error_f = '0', error_message = null,
        last_timestamp = '2025-03-10T12:00:00'"
    expect 'run: quinrep check finds nothing' findsNothing check
    expect 'run: the registered component is the one that is used' loadsTheRegistered
    expect 'run: one row is added' runs
    expect 'run: the row is at the other side' copied
    expect 'run: quinrep verify finds both sides alike' findsNothing verify
    sql "$QUINMARK_OFFICE_DSN" 'delete from users'
    sql "$QUINMARK_LAPTOP_DSN" 'delete from users'
    expect 'run: removes' remove new.msi
    isAsBefore 'removed after a run'
}

prepare
testRun
[[ $failures -eq 0 ]]
