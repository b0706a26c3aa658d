# shellcheck shell=bash disable=SC2034
# A Wine prefix of a test's own, a copy of the tests', in which the package is installed and removed. Source it with the
# arguments BUILD NAME. `prepare` makes the prefix, and it goes with the script.
build=$1
name=$2
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
    cd "$work" || exit 1
    cp "$build/$name.msi" new.msi
    cat >create.js <<'JS'
try { WScript.Echo(new ActiveXObject("QuinmarkRepDLL.Factory").Version); } catch (error) { WScript.Echo("none"); }
JS
    startPrefix
    # The script host registers things of its own when it runs for the first time.
    expect 'before: the component cannot be created' creatable none
}
