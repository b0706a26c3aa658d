#!/usr/bin/env bash
# The private PostgreSQL of this working copy: everything lies in build/devdb, and it listens on 127.0.0.1 only.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

readonly kPassword=quinmark # of quinmarkapp_user; a development password, no secret
readonly kDefaultPatients=2000
readonly sqlDir="$repoRoot/database/postgres"
readonly state="$repoRoot/build/devdb"
readonly data="$state/data"
readonly log="$state/log/server.log"

usage() {
    cat <<'TEXT'
usage: devdb.sh start                        start the server; load the databases when new or when their SQL changed
       devdb.sh stop                         stop it; fine when it does not run
       devdb.sh status                       exit 0 when it runs, 1 when not
       devdb.sh psql [office|laptop] ARG...  psql as superuser (default office)
       devdb.sh reset [PATIENTS] [--both]    back to the sample: PATIENTS (2000) at the office or on both sides

Scripts source build/devdb/env.sh after start.
Exit status: 0 done, 1 failed, 2 wrong usage, 3 a package is missing.
TEXT
}

findServerPrograms() {
    local newest
    newest="$(printf '%s\n' /usr/lib/postgresql/*/bin/postgres | sort -V | tail -n 1)"
    [[ -x $newest ]] || die -3 'PostgreSQL is not installed; run scripts/install-deps.sh'
    bin="$(dirname "$newest")"
}

# PostgreSQL refuses to run as root; then it runs as the user of Debian's package. A working copy under a directory
# that this user may not enter (/root, mode 0700) is reached with one capability, which only allows reading.
chooseServerUser() {
    asServer=()
    [[ $EUID -eq 0 ]] || return 0
    requireCommand setpriv
    asServer=(setpriv --reuid=postgres --regid=postgres --init-groups)
    # stat, because test -x asks access(2), which ignores capabilities.
    if ! "${asServer[@]}" stat "$state/." >/dev/null 2>&1; then
        asServer+=(--inh-caps=+dac_read_search --ambient-caps=+dac_read_search)
        "${asServer[@]}" stat "$state/." >/dev/null 2>&1 ||
            die "user postgres cannot reach $repoRoot, and may not be given CAP_DAC_READ_SEARCH; move the working copy"
    fi
}

# Runs a server program as the server's user, in a directory that it can enter, without the lock and with none of
# the caller's PG* settings but the port, which postgres_fdw takes from the environment.
serverProgram() {
    (cd / && exec 9>&- && "${asServer[@]}" env -i PATH="$bin:/usr/bin:/bin" LC_ALL=C.UTF-8 \
        ${TZ:+TZ="$TZ"} ${port:+PGPORT="$port"} "$bin/$1" "${@:2}")
}

serverPid() {
    local pid
    read -r pid 2>/dev/null <"$data/postmaster.pid" && [[ $pid =~ ^[0-9]+$ ]] && printf '%s' "$pid"
}

# A pid file outlives a killed server, and another process may have got its number: the command line decides.
isRunning() {
    local pid
    pid="$(serverPid)" || return 1
    tr '\0' '\n' 2>/dev/null <"/proc/$pid/cmdline" | grep -qxF -- "$data"
}

removeStalePidFile() {
    local pid
    pid="$(serverPid)" || return 0
    grep -qs postgres "/proc/$pid/cmdline" || rm -f "$data/postmaster.pid"
}

createCluster() {
    note 'creating the database cluster'
    rm -rf "$data" "$state/sample"
    (umask 077 && od -An -N16 -tx1 /dev/urandom | tr -d ' \n' >"$state/owner.password")
    printf '127.0.0.1:*:*:postgres:%s\n' "$(<"$state/owner.password")" >"$state/pgpass"
    chmod 600 "$state/pgpass"
    mkdir -p "$data" "$state/log"
    [[ $EUID -ne 0 ]] || chown postgres: "$data" "$state/log" "$state/owner.password"
    chmod 700 "$data"
    serverProgram initdb --pgdata="$data" --username=postgres --pwfile="$state/owner.password" --auth=scram-sha-256 \
        --encoding=UTF8 --locale=C.UTF-8 --no-sync --no-instructions >"$state/initdb.log" 2>&1 || {
        cat "$state/initdb.log" >&2
        rm -rf "$data"
        die 'initdb failed'
    }
    rm -f "$state/owner.password"
    cat "$sqlDir/development.conf" >>"$data/postgresql.conf"
}

# Another program may hold the port: then the next one is tried. The first candidate depends on the path, so that
# working copies beside each other do not collide.
startServer() {
    local attempt
    port="$(cat "$state/port" 2>/dev/null)" || port=$((20000 + $(cksum <<<"$repoRoot" | cut -d' ' -f1) % 10000))
    removeStalePidFile
    for attempt in {1..20}; do
        printf -- '--- start on port %s\n' "$port" | "${asServer[@]}" tee "$log" >/dev/null
        if serverProgram pg_ctl start --pgdata="$data" --log="$log" --options="-p $port" --wait --timeout=60 \
            --silent >/dev/null 2>&1; then
            printf '%s\n' "$port" >"$state/port"
            return 0
        fi
        grep -q 'Address already in use' "$log" || break
        port=$((20000 + (port - 20000 + 7) % 10000))
    done
    tail -n 20 "$log" >&2
    die "the server does not start (attempt $attempt); if its data is damaged, delete build/devdb"
}

# superSql DATABASE ARG...: psql without the user's settings; stops at the first error and prints errors only.
superSql() {
    PGPASSFILE="$state/pgpass" PGOPTIONS='-c client_min_messages=warning' "$bin/psql" -X -q -v ON_ERROR_STOP=1 \
        -h 127.0.0.1 -p "$port" -U postgres -d "$1" -o /dev/null "${@:2}"
}

copyDatabase() { # TEMPLATE DATABASE
    superSql postgres -c "drop database if exists $2 with (force)" -c "create database $2 template $1"
}

sqlChecksum() {
    cat "$sqlDir"/*.sql | cksum | cut -d' ' -f1
}

ensureLogin() {
    superSql postgres -At -o /dev/stdout -c "select 1 from pg_roles where rolname = 'quinmarkapp_user'" | grep -q 1 ||
        superSql postgres -v password="$kPassword" -f "$sqlDir/05_login.sql"
}

createDatabases() {
    local db
    ensureLogin
    for db in office_template laptop_template; do
        superSql postgres -c "drop database if exists $db with (force)"
    done
    for db in office laptop; do
        copyDatabase template0 "$db"
        superSql postgres -v db="$db" -f "$sqlDir/06_database_settings.sql"
        superSql "$db" -f "$sqlDir/schema.sql"
    done
    superSql office -v peer=laptop -v password="$kPassword" -f "$sqlDir/75_peer_database.sql"
    superSql laptop -v peer=office -v password="$kPassword" -f "$sqlDir/75_peer_database.sql"
}

# loadSample PATIENTS office|both: ends with a copy of both databases that reset can return to.
loadSample() {
    local db
    note "loading $1 patients"
    rm -f "$state/sample"
    createDatabases
    for db in office laptop; do
        [[ $db == laptop && $2 == office ]] || superSql "$db" -v patients="$1" -f "$sqlDir/sample.sql"
        copyDatabase "$db" "${db}_template"
        superSql postgres -c "alter database ${db}_template allow_connections false"
    done
    printf '%s %s %s\n' "$1" "$2" "$(sqlChecksum)" >"$state/sample"
}

restoreSample() {
    local db
    for db in office laptop; do
        copyDatabase "${db}_template" "$db"
        superSql postgres -v db="$db" -f "$sqlDir/06_database_settings.sql"
    done
}

replaceFile() { # PATH, content from stdin; readers never see half a file
    cat >"$1.new"
    mv -f "$1.new" "$1"
}

writeDsn() { # NAME DATABASE
    cat <<INI
[$1]
Servername = 127.0.0.1
Port = $port
Database = $2
Username = quinmarkapp_user
$(grep -v '^;' "$sqlDir/dsn_options.ini")

INI
}

writeClientFiles() {
    local drivers=/usr/lib/i386-linux-gnu/odbc
    replaceFile "$state/odbcinst.ini" <<INI
[QuinmarkAnsi]
Driver = $drivers/psqlodbca.so

[QuinmarkUnicode]
Driver = $drivers/psqlodbcw.so
INI
    { writeDsn QuinmarkOffice office && writeDsn QuinmarkLaptop laptop; } | replaceFile "$state/odbc.ini"
    replaceFile "$state/env.sh" <<ENV
export ODBCINI=$(printf %q "$state/odbc.ini")
export ODBCSYSINI=$(printf %q "$state")
export QUINMARK_OFFICE_DSN=QuinmarkOffice
export QUINMARK_LAPTOP_DSN=QuinmarkLaptop
export QUINMARK_SERVER_ADDRESS=127.0.0.1:$port
export QUINMARK_PASSWORD=$kPassword
export QUINMARK_OFFICE_PREFIX=office.
export QUINMARK_LAPTOP_PREFIX=laptop.
ENV
}

# One command at a time; the lock goes with the process.
takeLock() {
    mkdir -p "$state"
    exec 9>"$state/lock"
    flock -w 120 9 || die 'another devdb.sh has been busy for two minutes'
}

ensureStarted() {
    if isRunning; then
        port="$(<"$state/port")"
    else
        chooseServerUser
        [[ -f $data/PG_VERSION ]] || createCluster
        startServer
    fi
    writeClientFiles
}

# Loads the sample unless it was made from the present SQL files.
ensureLoaded() {
    [[ -f $state/sample && "$(<"$state/sample")" == *" $(sqlChecksum)" ]] || loadSample "$kDefaultPatients" office
}

start() {
    takeLock
    ensureStarted
    ensureLoaded
}

stop() {
    [[ -d $data ]] || return 0
    takeLock
    if ! isRunning; then
        removeStalePidFile
        return 0
    fi
    local pid
    pid="$(serverPid)"
    chooseServerUser
    serverProgram pg_ctl stop --pgdata="$data" --mode=fast --wait --timeout=60 --silent ||
        die 'the server does not stop'
    # pg_ctl waits for the pid file only; the process lives a moment longer.
    while grep -qs . "/proc/$pid/cmdline"; do sleep 0.01; done
}

requireRunning() {
    isRunning || die 'not running; use devdb.sh start'
    port="$(<"$state/port")"
}

openPsql() {
    local db=office
    case ${1-} in
        office | laptop)
            db=$1
            shift
            ;;
    esac
    requireRunning
    PGPASSFILE="$state/pgpass" exec "$bin/psql" -h 127.0.0.1 -p "$port" -U postgres -d "$db" "$@"
}

reset() {
    local patients='' sides=office argument
    for argument in "$@"; do
        case $argument in
            --both) sides=both ;;
            *) patients=$argument ;;
        esac
    done
    [[ -z $patients || $patients =~ ^[1-9][0-9]{0,6}$ ]] || die -2 "not a number of patients: $patients"
    patients=${patients:-$kDefaultPatients}
    takeLock
    ensureStarted
    if [[ -f $state/sample && "$(<"$state/sample")" == "$patients $sides $(sqlChecksum)" ]]; then
        restoreSample
    else
        loadSample "$patients" "$sides"
    fi
}

port=''
findServerPrograms
case ${1-} in
    start) start ;;
    stop) stop ;;
    status) isRunning ;;
    psql) openPsql "${@:2}" ;;
    reset) reset "${@:2}" ;;
    -h | --help | help) usage ;;
    *)
        usage >&2
        exit 2
        ;;
esac
