# shellcheck shell=bash
# The surroundings of the demo and the tests: built binaries, databases, a Wine prefix and a display, all of it below
# build/. Source it after lib.sh; `startTestbed` brings it up, and it goes down with the script, however that ends.

preset=x86-release
# shellcheck disable=SC2034
binaries="$repoRoot/build/$preset"
interruptible=''
displayPid=''
wineServerPid=''
testbedUp=''
# The commands start, reset and stop of the databases, and the settings that they leave.
databases=("$repoRoot/scripts/devdb.sh")
databaseSettings="$repoRoot/build/devdb/env.sh"
sqlServer=''

mkdir -p "$repoRoot/build"
cd "$repoRoot"

# File names beyond ASCII need a locale that knows them.
export LC_ALL=C.UTF-8
export PYTHONDONTWRITEBYTECODE=1
export WINEPREFIX="$repoRoot/build/wine" WINEARCH=win32 WINEDEBUG="${WINEDEBUG:--all}"
# No offers to download browser or .NET engines. And no debugger for a program that crashed: having told where, it may
# end it with status 0, which would pass for success.
export WINEDLLOVERRIDES='mscoree,mshtml,winedbg.exe='

# Runs a long command in a group of its own, so that a signal to the script ends it and all that it started at once.
runInterruptible() {
    local status=0
    setsid "$@" &
    interruptible=$!
    wait "$interruptible" || status=$?
    interruptible=''
    return "$status"
}

build() { # [TARGET...]: everything unless told
    local log="$repoRoot/build/build.log"
    note "building ($preset)"
    { runInterruptible cmake --preset "$preset" &&
        runInterruptible cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1 || {
        grep -E 'error|FAILED' -A5 "$log" | head -n 60 >&2 || tail -n 40 "$log" >&2
        die 'the build failed; all of its output is in build/build.log'
    }
}

# The display's number is free by construction: the server picks it and tells.
startDisplay() {
    local number="$repoRoot/build/display"
    : >"$number"
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$number" >"$repoRoot/build/xvfb.log" 2>&1 9>&- &
    displayPid=$!
    while [[ ! -s $number ]]; do
        kill -0 "$displayPid" 2>/dev/null || die 'the display server does not start; see build/xvfb.log'
        sleep 0.02
    done
    export DISPLAY=":$(<"$number")"
}

# A server that stays saves every program two seconds.
startWine() {
    [[ ! -e $WINEPREFIX || -O $WINEPREFIX ]] || die "build/wine belongs to another user; delete it"
    if [[ ! -f $WINEPREFIX/system.reg ]]; then
        note 'creating the Wine prefix'
        wineboot -i >"$repoRoot/build/wineboot.log" 2>&1 9>&- || die 'wineboot failed; see build/wineboot.log'
        # A crash ends the program; a dialog would wait for somebody. And there is no window manager to wait for.
        wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 9>&-
        wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 9>&-
        wineserver -w
    fi
    # A run that was killed leaves its server, beside which no other starts.
    stopWine
    # In a group of its own, since Ctrl+C would end it before its programs.
    setsid wineserver -f -p >/dev/null 2>&1 9>&- &
    wineServerPid=$!
    # The first program starts Windows' own programs, which would hold on to the pipe of its reader. The desktop ends
    # with the last program and starts again with the next: so one program stays until its input ends, which is when
    # this script ends.
    wine cmd /c exit >/dev/null 2>&1 9>&-
    coproc staying { exec wine cmd >/dev/null 2>&1 9>&-; }
}

livingPrograms() {
    local environment pid
    for environment in $(grep -lszxF -- "WINEPREFIX=$WINEPREFIX" /proc/[0-9]*/environ); do
        pid=${environment//[^0-9]/}
        if tr '\0' ' ' 2>/dev/null <"/proc/$pid/cmdline" | grep -q '\.exe'; then
            printf '%s\n' "$pid"
        fi
    done
}

# Windows' own programs notice only a moment later that their server is gone.
stopWine() {
    local attempt
    wineserver -k 2>/dev/null || true
    wineserver -w 2>/dev/null || true
    for attempt in {1..100}; do
        [[ -n $(livingPrograms) ]] || return 0
        sleep 0.05
    done
    note "killing what is still alive after $attempt looks"
    livingPrograms | xargs -r kill -KILL || true
}

stopTestbed() {
    local status=$?
    trap '' INT TERM HUP
    [[ -z $interruptible ]] || { kill -- "-$interruptible" && wait "$interruptible"; } 2>/dev/null || true
    if [[ -n $testbedUp ]]; then
        # Programs whose Wine server is gone end with status 0.
        if [[ $status -lt 128 && -n $wineServerPid ]] && ! kill -0 "$wineServerPid" 2>/dev/null; then
            note "Wine's server has crashed: no result counts"
            status=1
        fi
        stopWine
        [[ -z $displayPid ]] || { kill "$displayPid" && wait "$displayPid"; } 2>/dev/null || true
        "${databases[@]}" stop 9>&- || status=1
    fi
    exit "$status"
}

# One demo or test run at a time in a working copy.
startTestbed() {
    exec 9>"$repoRoot/build/testbed.lock"
    flock -w 5 9 || die 'another run of the demo or the tests is going on in this working copy'
    testbedUp=yes
    startDisplay
    startWine
    note 'starting the databases'
    "${databases[@]}" start ${sqlServer:+"$sqlServer"} 9>&-
    # shellcheck source=/dev/null
    source "$databaseSettings"
}

# Databases on the SQL Server HOST[:PORT], in place of the private PostgreSQL's.
useSqlServer() { # HOST[:PORT]
    [[ -n ${QUINMARK_ADMIN-} && -n ${QUINMARK_ADMIN_PASSWORD-} ]] ||
        die -2 '--sqlserver needs the login of an administrator in QUINMARK_ADMIN and QUINMARK_ADMIN_PASSWORD'
    sqlServer=$1
    databases=(/usr/bin/python3 "$repoRoot/tests/support/sqlserver_pair.py")
    databaseSettings="$repoRoot/build/sqlserver/env.sh"
}

registerServers() {
    local server
    for server in adodb.dll QuinmarkRepDLL.dll; do
        (cd "$binaries" && wine regsvr32 /s "$server") || die "$server could not be registered"
    done
}

trap stopTestbed EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP
