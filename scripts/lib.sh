# shellcheck shell=bash
# Shared by the scripts of this folder: source it after `set -euo pipefail`.

# The root of the working copy, absolute, whatever directory the script is called from.
# shellcheck disable=SC2034
repoRoot="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"

# Progress goes to stderr, so that a script's output stays usable.
note() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
}

# die [-STATUS] TEXT...: the exit status is 1 unless given.
die() {
    local status=1
    if [[ ${1-} =~ ^-[0-9]+$ ]]; then
        status=${1#-}
        shift
    fi
    note "$*"
    exit "$status"
}

requireCommand() {
    command -v "$1" >/dev/null || die -3 "$1 is missing; run scripts/install-deps.sh"
}
