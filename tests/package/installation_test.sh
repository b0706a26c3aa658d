#!/usr/bin/env bash
# installation_test.sh BUILD NAME CMAKE: installs the package with msiexec, repairs and upgrades an older version,
# removes it, and holds registry and files against what was there before.
set -euo pipefail
# shellcheck source=tests/package/prefix.sh
source "$(dirname "${BASH_SOURCE[0]}")/prefix.sh"
cmake=$3

makeOlder() {
    local set="update \`Property\` set \`Value\`" where="where \`Property\`"
    cp new.msi old.msi
    msibuild old.msi -q "$set = '3.45.0' $where = 'ProductVersion'" \
        "$set = '{5C0F4F2B-7A51-4E0A-9D0B-0B5D8F1C3E45}' $where = 'ProductCode'"
}

# Windows refuses a package that does so at another place, Wine does not.
removesOlderBeforeItBegins() {
    msiinfo export new.msi InstallExecuteSequence | tr -d '\r' | sort -t$'\t' -k3n | cut -f1 |
        grep -xA2 InstallValidate | paste -sd' ' | grep -qx 'InstallValidate RemoveExistingProducts InstallInitialize'
}

closesDataFolder() {
    grep -F '"C:\\ProgramData\\Quinmark Replication\\."' icacls.txt |
        grep -qF '"/inheritance:r" "/grant" "*S-1-5-32-544:(OI)(CI)F" "*S-1-5-18:(OI)(CI)F"'
}

# The texts of a shortcut. Wine's installer makes it in the user's menu, Windows' in everybody's.
shortcut() { # NAME
    strings -el "$WINEPREFIX"/drive_c/users/*/AppData/Roaming/*/*/Start\ Menu/Programs/Quinmark\ Replication/"$1.lnk"
}
opensConsole() { # SHORTCUT SAID PROMPT: a console that says the one and stays open with the other
    printf '@cmd.exe %s\n' "$(shortcut "$1" | grep -o '/k .*')" >console.cmd
    wine cmd /c console.cmd </dev/null 2>&1 | tr -d '\r' >console.txt
    if ! grep -qF -- "$2" console.txt || [[ $(tail -n 1 console.txt) != *"$3>" ]]; then
        cat console.txt
        return 1
    fi
}
# Wine knows no rights: the folder that nobody may enter is one that is not there.
refusesWithoutRights() {
    local status=0
    mv "$data" "$data.away"
    opensConsole 'Review conflicts' 'icacls "C:\ProgramData\Quinmark Replication" /grant "' "${work##*/}" || status=1
    mv "$data.away" "$data"
    return $status
}
opensDocuments() { shortcut Documents | grep -qx documents.html; }

# Wine's installer leaves the separator in front of what it takes off the PATH.
path() {
    wine reg query 'HKLM\System\CurrentControlSet\Control\Session Manager\Environment' /v PATH 2>/dev/null |
        tr -d '\r' | sed -n 's/;*$//; s/.*REG_EXPAND_SZ *//p'
}
onThePath() { [[ $(path) == *";C:\\Program Files\\Quinmark Replication\\" ]]; }

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
    expect 'installed: the menu has the review, which says what is missing' \
        opensConsole 'Review conflicts' 'quinrep init' 'C:\ProgramData\Quinmark Replication'
    expect 'installed: the menu has a prompt for quinrep' \
        opensConsole 'Command prompt' 'Exit codes:' 'C:\ProgramData\Quinmark Replication'
    expect 'installed: the review says who gives the right to the data folder' refusesWithoutRights
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
    expect 'upgrades: the older version goes before the installation begins' removesOlderBeforeItBegins
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

prepare
testInstallation
testUnregistered
[[ $failures -eq 0 ]]
