#!/usr/bin/env bash
# package_test.sh installation|run BUILD NAME CMAKE: takes the package into a copy of the tests' prefix. `installation`
# installs it with msiexec, repairs and upgrades an older version, removes it, and holds registry and files against what
# was there before; `run` lets the installed quinrep run between the two databases. Without their settings it is skipped, and with
# QUINMARK_REQUIRE_DATABASE=1 it fails.
set -euo pipefail

part=$1
build=$2
name=$3
cmake=$4
version=${name##*-}
original=$WINEPREFIX
work="$(mktemp -d "$(dirname "$original")/wine-package-XXXX")"
failures=0
export WINEPREFIX="$work/wine" LC_ALL=C.UTF-8
# Wine would enter the shortcuts into the menu of whoever runs the test.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES-};winemenubuilder.exe="
program="$WINEPREFIX/drive_c/Program Files/Quinmark Replication"
data="$WINEPREFIX/drive_c/ProgramData/Quinmark Replication"

finish() {
    wineserver -k 2>/dev/null || true
    wineserver -w 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT

expect() { # TEXT COMMAND...
    local text=$1
    shift
    if "$@"; then
        printf 'ok    %s\n' "$text"
    else
        printf 'FAIL  %s\n' "$text"
        failures=$((failures + 1))
    fi
}

same() { # FILE FILE
    diff "$1" "$2" | head -n 40
    cmp -s "$1" "$2"
}

exportKey() { # KEY FILE
    wine reg export "$1" "$2.reg" /y >/dev/null 2>&1 9>&-
    iconv -f utf-16 "$2.reg" | tr -d '\r' >"$2"
}

# The installer keeps the keys of its own records when it has emptied them; nothing else may stay.
withoutEmptyInstallerKeys() {
    awk -v RS='' '!(NF > 0 && $0 !~ /\n/ && $0 ~ /\\Installer(\\|\])/) { print $0 "\n" }'
}

snapshot() { # NAME
    exportKey 'HKLM\Software' machine
    exportKey 'HKCU\Software' user
    cat machine user | withoutEmptyInstallerKeys >"$1.registry"
    find "$WINEPREFIX/drive_c" ! -path '*/windows/Installer*' ! -path '*/Temp/*' | sort >"$1.files"
}

# The component's entries. A folder that the installer names ends in a backslash, one that regsvr32 names does not.
classes() { # FILE
    exportKey 'HKLM\Software\Classes' "$1.all"
    withoutEmptyInstallerKeys <"$1.all" |
        awk -v RS='' '/Quinmark|9B1D537E-7D6C-4723-8D46-F708D8D5F33C|79586827-05E1-4F56-8EB0-EA73BFA5E163/' |
        sed -E '/^@=/s/\\\\"$/"/' >"$1"
}

creatable() {
    [[ $(wine cscript //nologo create.js 2>/dev/null | tr -d '\r') == "$1" ]]
}

installed() { # the number of versions that the installer knows
    wine reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall' /s 2>/dev/null |
        grep -c 'DisplayName.*Quinmark replication' || true
}

# Wine's icacls does nothing; it tells what it was called with.
install() { WINEDEBUG=-all,fixme+icacls wine msiexec /i "$1" /qn "${@:2}" 2>icacls.txt; }
# As msiexec /f does, which Wine's cannot.
repair() { install "$1" REINSTALL=ALL REINSTALLMODE=omus; }
remove() { wine msiexec /x "$1" /qn; }

isAsBefore() { # TEXT
    snapshot after
    expect "$1: registry as before" same before.registry after.registry
    expect "$1: files as before" same before.files after.files
    expect "$1: the component cannot be created" creatable none
}

# The copy shares the files, which nobody changes, and not the registry, in which the servers may be registered.
startPrefix() {
    local lasting=(find drive_c -ipath '*/temp/*' -prune -o)
    mkdir "$WINEPREFIX"
    cp -a "$original/dosdevices" "$original"/*.reg "$original/.update-timestamp" "$WINEPREFIX"
    (cd "$original" && "${lasting[@]}" -type d -print0) | (cd "$WINEPREFIX" && xargs -0 mkdir -p)
    (cd "$original" && "${lasting[@]}" ! -type d -print0 | xargs -0 cp -dl --parents -t "$WINEPREFIX")
    wineserver -p
    wine cmd /c exit >/dev/null 2>&1 9>&-
    (cd "$build" && wine regsvr32 /s /u QuinmarkRepDLL.dll && wine regsvr32 /s /u adodb.dll)
}

prepare() {
    cd "$work"
    cp "$build/$name.msi" new.msi
    cat >create.js <<'JS'
try { WScript.Echo(new ActiveXObject("QuinmarkRepDLL.Factory").Version); } catch (error) { WScript.Echo("none"); }
JS
    startPrefix
    # The script host registers things of its own when it runs for the first time.
    expect 'before: the component cannot be created' creatable none
}

makeOlder() {
    local set="update \`Property\` set \`Value\`" where="where \`Property\`"
    cp new.msi old.msi
    msibuild old.msi -q "$set = '3.45.0' $where = 'ProductVersion'" \
        "$set = '{5C0F4F2B-7A51-4E0A-9D0B-0B5D8F1C3E45}' $where = 'ProductCode'"
}

closesDataFolder() {
    grep -F '"C:\\ProgramData\\Quinmark Replication\\."' icacls.txt |
        grep -qF '"/inheritance:r" "/grant" "*S-1-5-32-544:(OI)(CI)F" "*S-1-5-18:(OI)(CI)F"'
}

shortcut() { # NAME: the texts of a shortcut. Wine's installer puts them into the user's menu, Windows' into everybody's.
    strings -el "$WINEPREFIX"/drive_c/users/*/AppData/Roaming/*/*/Start\ Menu/Programs/Quinmark\ Replication/"$1.lnk"
}
opensConsole() { # SHORTCUT SAID: a console, which stays open and says that in the data folder
    printf '@cmd.exe %s\n' "$(shortcut "$1" | grep -o '/k .*')" >console.cmd
    wine cmd /c console.cmd </dev/null 2>&1 | tr -d '\r' >console.txt
    grep -qF -- "$2" console.txt && [[ $(tail -n 1 console.txt) == 'C:\ProgramData\Quinmark Replication>' ]] ||
        { cat console.txt; return 1; }
}
opensDocuments() { shortcut Documents | grep -qx documents.html; }

# Wine's installer leaves the separator in front of what it takes off the PATH.
path() {
    wine reg query 'HKLM\System\CurrentControlSet\Control\Session Manager\Environment' /v PATH 2>/dev/null |
        tr -d '\r' | sed -n 's/;*$//; s/.*REG_EXPAND_SZ *//p'
}
onThePath() { [[ $(path) == *';C:\Program Files\Quinmark Replication\' ]]; }

evening() { # what a first evening leaves in the data folder
    local file
    for file in quinrep.toml component.log component.history.jsonl component.decisions.jsonl; do
        printf 'of %s\n' "$file" >"$data/$file"
    done
    grep -r . "$data" | sort >evening.txt
}
eveningKept() { grep -r . "$data" | sort >kept.txt && same evening.txt kept.txt; }

testInstallation() {
    local path
    makeOlder
    path=$(path)
    snapshot before
    expect 'installs' install new.msi
    expect 'installed: the component can be created' creatable "$version"
    (cd "$build/package/$name" && find . -type f | sort) >packed.txt
    (cd "$program" && find . -type f | sort) >present.txt
    expect 'installed: every file of the package, and no other' same packed.txt present.txt
    expect 'installed: without the ADO classes of the test bed' test ! -e "$program/adodb.dll"
    expect 'installed: quinrep runs' wine "$program/quinrep.exe" --version
    expect 'installed: the data folder is for administrators' closesDataFolder
    expect 'installed: the menu has the review, which says what is missing' opensConsole 'Review conflicts' 'quinrep init'
    expect 'installed: the menu has a prompt for quinrep' opensConsole 'Command prompt' 'Exit codes:'
    expect 'installed: the menu has the documents' opensDocuments
    expect 'installed: the PATH is as before' test "$(path)" = "$path"
    classes installed.txt
    expect 'installed: there are registry entries' test -s installed.txt
    dll="$(winepath -w "$program/QuinmarkRepDLL.dll")"
    wine regsvr32 /s /u "$dll"
    wine regsvr32 /s "$dll"
    classes registered.txt
    expect 'installed: the registry entries are those of regsvr32' same registered.txt installed.txt
    expect 'removes' remove new.msi
    isAsBefore removed

    expect 'installs the older version with its options' install old.msi ADDLOCAL=ALL
    expect 'older version: known to the installer' test "$(installed)" = 1
    expect 'older version: quinrep is on the PATH' onThePath
    evening
    rm "$program/quinrep.exe"
    wine reg delete 'HKCR\QuinmarkRepDLL.Factory' /f >/dev/null
    expect 'repairs' repair old.msi
    expect 'repaired: quinrep runs' wine "$program/quinrep.exe" --version
    expect 'repaired: the component can be created' creatable "$version"
    expect 'repaired: quinrep is on the PATH' onThePath
    expect 'repaired: the data folder is as it was' eveningKept
    expect 'repaired: the rights on it are as they were' test ! -s icacls.txt
    expect 'upgrades' install new.msi
    expect 'upgraded: one version is installed' test "$(installed)" = 1
    expect 'upgraded: the component can be created' creatable "$version"
    expect 'upgraded: the data folder is as it was' eveningKept
    # Windows' installer takes the older version's options over, Wine's does not.
    expect 'upgraded: takes the option' install new.msi ADDLOCAL=Path
    expect 'upgraded: quinrep is on the PATH' onThePath
    expect 'removes after the upgrade' remove new.msi
    expect 'removed: the data folder is as it was' eveningKept
    expect 'removed: the PATH is as before' test "$(path)" = "$path"
    rm -r "$data"
    isAsBefore upgraded
}

tells() { # TEXT
    (cd "$name" && { wine example_replicate.exe run.log || true; } | grep -F "$1")
}

# Without ADO the host comes no further than the component's own first error, and that far only if it was loaded.
testUnregistered() {
    "$cmake" -E tar xf "$build/$name.zip"
    cp "$build/example_replicate.exe" "$name/"
    expect 'zip: without a manifest the component is not found' tells 0x80040154
    sed 's/"quinrep"/"example_replicate"/' "$name/quinrep.exe.manifest" >"$name/example_replicate.exe.manifest"
    expect 'zip: with the manifest it is, without a registration' tells 'Factory.init: '
}

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

if [[ $part == run && -z ${QUINMARK_OFFICE_DSN-} ]]; then
    printf 'needs the databases: QUINMARK_OFFICE_DSN is not set\n'
    [[ ${QUINMARK_REQUIRE_DATABASE-} == 1 ]] && exit 1 || exit 77
fi
prepare
if [[ $part == run ]]; then
    testRun
else
    testInstallation
    testUnregistered
fi
[[ $failures -eq 0 ]]
