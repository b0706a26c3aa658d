#!/usr/bin/env bash
# scripts/devdb.sh on a copy of its own: life cycle, what the login sees, and the accidents it has to survive.
set -euo pipefail

root="$(cd "$(dirname "$0")/../.." && pwd -P)"
work="$(mktemp -d)"
chmod 755 "$work"
mkdir "$work/copy"
cp -r "$root/scripts" "$root/database" "$work/copy/"
devdb="$work/copy/scripts/devdb.sh"
state="$work/copy/build/devdb"
other=''
failures=0

finish() {
    [[ -z $other ]] || kill "$other" 2>/dev/null || true
    "$devdb" stop || true
    rm -rf "$work"
}
trap finish EXIT

expect() { # TEXT EXPECTED ACTUAL
    if [[ $2 == "$3" ]]; then
        printf 'ok    %s\n' "$1"
    else
        printf 'FAIL  %s: expected [%s], got [%s]\n' "$1" "$2" "$3"
        failures=$((failures + 1))
    fi
}

statusOf() {
    local status=0
    "$@" >/dev/null 2>&1 || status=$?
    printf '%s' "$status"
}

# As the component's login, over TCP, with its password
query() { # DATABASE SQL
    # shellcheck source=/dev/null
    (source "$state/env.sh" && PGPASSWORD="$QUINMARK_PASSWORD" psql -XAtq -h 127.0.0.1 -p "$(<"$state/port")" \
        -U quinmarkapp_user -d "$1" -c "$2")
}

serverPid() { head -n 1 "$state/data/postmaster.pid"; }

expect 'status before the first start' 1 "$(statusOf "$devdb" status)"
expect 'stop before the first start' 0 "$(statusOf "$devdb" stop)"
expect 'psql before the first start' 1 "$(statusOf "$devdb" psql)"
expect 'unknown command' 2 "$(statusOf "$devdb" unknown)"
expect 'reset with a bad number' 2 "$(statusOf "$devdb" reset many)"

(cd / && "$devdb" start)
expect 'sample at the office' 2000 "$(query office 'select count(*) from patient')"
expect 'nothing at the laptop' 0 "$(query laptop 'select count(*) from patient')"
expect 'control rows at the laptop' 'Norvale|3.46' \
    "$(query laptop "select (select id from control where type = 'DBOffice'), (select id from control where type = 'Version')")"
expect 'the laptop sees the office' 2000 "$(query laptop 'select count(*) from office.patient')"
expect 'wrong password' 2 "$(statusOf env PGPASSWORD=wrong psql -h 127.0.0.1 -p "$(<"$state/port")" \
    -U quinmarkapp_user -d office -c 'select 1')"

query office 'insert into laptop.dentist select * from office.dentist' >/dev/null
expect 'rows copied by prefix' 20 "$(query laptop 'select count(*) from dentist')"
"$devdb" start
expect 'a second start leaves the data alone' 20 "$(query laptop 'select count(*) from dentist')"

expect 'braced key, function, text addition' 1 "$(query office "select count(*) from dentist
    where unid = '{8C532471-596F-C9D8-2571-7D583C9B33C4}' and dbo.FN_DentistFullName(unid) + isnull(null, '!') = 'Dr. Elin Fennmoor!'")"
expect 'quoted number as key' 'Corvane, Pelle' "$(query office "select full_name from patient where unid = '12'")"
query office "update replication_control set ready_f = 0, last_timestamp = '11/15/2026 12:04:11 AM' where unique_key = 0"
expect 'date in US form, bit from integer' 'f|2026-11-15 00:04:11' \
    "$(query office 'select ready_f, last_timestamp from replication_control where unique_key = 0')"
query office "select setReplicationError(1, 1, 'broken')" >/dev/null
expect 'error of one site' '0|f|;1|t|broken' "$(query office "select string_agg(concat_ws('|', unique_key, error_f,
    coalesce(error_message, '')), ';' order by unique_key) from replication_control")"
conflict="$(query office "select InsertReplicationConflict(0, now()::timestamp, 'patient', 12, null, 1, repeat('k', 200),
    now()::timestamp, now()::timestamp)")"
expect 'conflict under the returned key, texts cut' 125 \
    "$(query office "select length(key_info) from replication_conflict where unid = '{$conflict}'")"
query office 'alter table patient drop constraint FK_patient_dentist'

"$devdb" reset
expect 'reset empties the laptop' 0 "$(query laptop 'select count(*) from dentist')"
expect 'reset restores constraints' 1 "$(query office "select count(*) from pg_constraint where conname = 'fk_patient_dentist'")"
before="$(query office 'select md5(string_agg(p::text, chr(10) order by unid)) from patient p')"
"$devdb" reset 100 --both
expect 'reset with a size, on both sides' '100|100' "$(query office \
    'select (select count(*) from patient), (select count(*) from laptop.patient)')"
"$devdb" reset
expect 'the sample is the same every time' "$before" \
    "$(query office 'select md5(string_agg(p::text, chr(10) order by unid)) from patient p')"

kill -9 "$(serverPid)"
while "$devdb" status; do sleep 0.05; done
"$devdb" start
expect 'start after a crash' 2000 "$(query office 'select count(*) from patient')"

"$devdb" stop
expect 'status after stop' 1 "$(statusOf "$devdb" status)"
sleep 60 &
other=$!
printf '%s\n' "$other" >"$state/data/postmaster.pid"
expect 'a stale pid file is not a running server' 1 "$(statusOf "$devdb" status)"
"$devdb" start
expect 'start over a stale pid file' 0 "$(statusOf "$devdb" status)"
expect 'the process of the stale number lives' 0 "$(statusOf kill -0 "$other")"
"$devdb" stop
kill "$other"

port="$(<"$state/port")"
perl -MIO::Socket::INET -e 'my $s = IO::Socket::INET->new(LocalAddr => "127.0.0.1", LocalPort => $ARGV[0],
    Listen => 1, ReuseAddr => 1) or die "port: $!"; $| = 1; print "ready\n"; sleep 60' "$port" >"$work/listener" &
other=$!
until grep -q ready "$work/listener"; do kill -0 "$other" && sleep 0.05; done
"$devdb" start
expect 'another port when the old one is taken' no "$([[ $port == "$(<"$state/port")" ]] && echo yes || echo no)"
expect 'the DSNs follow the port' 2 "$(grep -c "^Port = $(<"$state/port")$" "$state/odbc.ini")"
expect 'the databases still see each other' 2000 "$(query laptop 'select count(*) from office.patient')"

[[ $failures -eq 0 ]] || { printf '%s checks failed\n' "$failures"; exit 1; }
