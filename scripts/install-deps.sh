#!/usr/bin/env bash
# Installs what building, running and testing need on Debian 12 (as root), and fetches the interface definitions
# that widl imports into build/libwine-dev. Does nothing, quickly, when all of it is there.
#
#   install-deps.sh [--tests|--bench]
#
# --tests also gets the tools of tests that are skipped without them: modules for Python, a browser and its driver (the
# latter into build/review-node_modules), a compiler for this machine with its sanitizers, one for C#, and checkers of
# the source. When these cannot be had, the script only says so, unless QUINMARK_REQUIRE_TOOLS is 1. --bench also gets
# the tools that the benches compare with.
# Exit status: 0 all there, 1 failed, 4 root is needed.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# The component and its test bed are 32-bit, so are the ODBC manager and the drivers that it loads under Wine.
readonly kPackages=(
    cmake ninja-build g++-mingw-w64-i686-posix mingw-w64-tools googletest
    wine wine32:i386 xvfb
    libodbc2:i386 odbc-postgresql:i386 tdsodbc:i386 postgresql python3 python3-psycopg2 python3-pymssql
    libcli11-dev libtomlplusplus-dev nlohmann-json3-dev libfmt-dev
    wixl msitools python3-markdown-it python3-mdit-py-plugins
)
readonly kTestPackages=(
    chromium clang libclang-rt-14-dev clang-tidy cppcheck gcovr mono-mcs
    python3-jsonschema python3-pexpect python3-pyte
)
# MariaDB without its service: the benches start a server of their own.
readonly kBenchPackages=(percona-toolkit mariadb-server-core mariadb-client-core)
readonly reviewTests="$repoRoot/tests/review" reviewModules="$repoRoot/build/review-node_modules"
readonly idlDir="$repoRoot/build/libwine-dev"

missingPackages() { # PACKAGE...
    local installed package native
    native="$(dpkg --print-architecture)"
    installed="$(dpkg-query -W -f '${Package}:${Architecture} ${db:Status-Status}\n' "$@" 2>/dev/null || true)"
    for package in "$@"; do
        [[ $package == *:* ]] || package="$package:($native|all)"
        grep -qxE -- "${package//+/\\+} installed" <<<"$installed" || printf '%s\n' "${package/:(*/}"
    done
}

# The tests run a server of their own (devdb.sh): Debian's would only occupy memory and port 5432. A machine that
# has PostgreSQL already keeps its settings.
keepPackagedClusterAway() {
    local settings=/etc/postgresql-common/createcluster.d
    [[ ! -e /etc/postgresql-common ]] || return 0
    mkdir -p "$settings"
    printf 'create_main_cluster = false\n' >"$settings/no-main-cluster.conf"
}

aptInstall() {
    DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"
}

# The security index of the second architecture can be out of step, which makes the update fail without harm.
updateIndexes() {
    apt-get update || note 'apt-get update reported errors; going on with the indexes there are'
}

installPackages() {
    local codename
    [[ $EUID -eq 0 ]] || die -4 "run as root, these packages are missing: $*"
    # shellcheck source=/dev/null
    codename="$(. /etc/os-release && printf '%s' "${VERSION_CODENAME-}")"
    dpkg --add-architecture i386
    updateIndexes
    keepPackagedClusterAway
    # The release itself first: it has both architectures at one version. A machine that already has newer
    # libraries from the security archive needs their i386 twins from there.
    aptInstall ${codename:+-t "$codename"} "$@" || aptInstall "$@" ||
        die 'apt-get could not install the packages; see its messages above (is the package archive reachable?)'
}

# Only libwine-dev ships oaidl.idl; it is unpacked, not installed, since it drags in a native compiler. It has to
# fit the type libraries that Wine has installed, so it is fetched in Wine's version.
fetchInterfaceDefinitions() {
    local version download
    version="$(dpkg-query -W -f '${Version}' libwine:i386)"
    [[ -f $idlDir/usr/include/wine/wine/windows/oaidl.idl && $version == "$(cat "$idlDir/version" 2>/dev/null)" ]] &&
        return 0
    mkdir -p "$repoRoot/build"
    download="$(mktemp -d "$repoRoot/build/libwine-dev.XXXXXX")"
    # shellcheck disable=SC2064
    trap "rm -rf $(printf %q "$download")" EXIT
    (cd "$download" && downloadPackage "libwine-dev=$version") ||
        die "libwine-dev $version could not be downloaded (is the package archive reachable?)"
    dpkg -x "$download"/libwine-dev_*.deb "$download/tree"
    printf '%s\n' "$version" >"$download/tree/version"
    rm -rf "$idlDir"
    mv "$download/tree" "$idlDir"
}

# As root apt would download as its own user, who may not be able to enter the working copy.
downloadPackage() {
    apt-get -q -o APT::Sandbox::User=root download "$1" && return 0
    [[ $EUID -eq 0 ]] || return 1
    updateIndexes
    apt-get -q -o APT::Sandbox::User=root download "$1"
}

installTestTools() {
    local packages
    mapfile -t packages < <(missingPackages "${kTestPackages[@]}")
    command -v npm >/dev/null || packages+=(nodejs npm)
    [[ ${#packages[@]} -eq 0 ]] || installPackages "${packages[@]}"
    cmp -s "$reviewTests/package-lock.json" "$reviewModules/package-lock.json" && return 0
    mkdir -p "$reviewModules"
    cp "$reviewTests"/package*.json "$reviewModules"
    npm ci --prefix "$reviewModules" --ignore-scripts --no-audit --no-fund || {
        rm "$reviewModules/package-lock.json"
        die 'npm could not fetch the driver of the browser; see its messages above'
    }
}

installBenchTools() {
    local packages
    mapfile -t packages < <(missingPackages "${kBenchPackages[@]}")
    [[ ${#packages[@]} -eq 0 ]] || installPackages "${packages[@]}"
}

[[ -x $(command -v dpkg-query) ]] || die 'this script needs Debian 12'
mapfile -t missing < <(missingPackages "${kPackages[@]}")
[[ ${#missing[@]} -eq 0 ]] || installPackages "${missing[@]}"
mapfile -t missing < <(missingPackages "${kPackages[@]}")
[[ ${#missing[@]} -eq 0 ]] || die "still missing after the installation: ${missing[*]}"
fetchInterfaceDefinitions
if [[ ${1-} == --tests ]]; then
    (installTestTools) || [[ ${QUINMARK_REQUIRE_TOOLS-} != 1 ]] || die 'what the tests need cannot be installed'
fi
[[ ${1-} != --bench ]] || installBenchTools
