#!/usr/bin/env bash
# Runs cppcheck and clang-tidy over the sources of the component, quinrep and the ADO stand-in.
#
#   lint.sh [--build DIRECTORY] [--seconds N] [FOLDER...]: src host wine/adodb unless told
#
# DIRECTORY is a configured build whose generated headers are there (build/x86-release unless told). A file that was
# clean is not looked at again before it, a header or .clang-tidy changes; build/lint remembers. With --seconds no new
# file is begun after that time; how many are left for the next run is told.
# Exit status: 0 clean, 1 something was found, 77 a tool is missing (1 with QUINMARK_REQUIRE_TOOLS=1).
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$repoRoot"

build=build/x86-release
deadline=''
while [[ ${1-} == --* && $# -ge 2 ]]; do
    case $1 in
    --build) build=$2 ;;
    --seconds) deadline=$((EPOCHSECONDS + $2)) ;;
    *) die -2 "unknown option $1" ;;
    esac
    shift 2
done
folders=("$@")
[[ $# -gt 0 ]] || folders=(src host wine/adodb)
readonly remembered=build/lint compiler=i686-w64-mingw32-g++-posix

systemIncludes() {
    "$compiler" -xc++ -E -v /dev/null 2>&1 | sed -n '/^#include </,/^End/s|^ /|/|p' | grep -v '/include\(-fixed\)\?$' |
        xargs -n1 realpath
    realpath /usr/i686-w64-mingw32/include
}

tidyOptions() {
    local folder
    printf '%s\n' --quiet -p "$build" --extra-arg-before=--target=i686-w64-mingw32
    while read -r folder; do
        printf '%s\n' "--extra-arg=-isystem$folder"
    done < <(systemIncludes)
}

# Every header counts for every file: simple, and headers change seldom.
headersHash() {
    find src host wine/adodb "$build/src/typelib" -name '*.h' -print0 | sort -z |
        xargs -0 cat .clang-tidy | sha256sum | cut -c1-64
}

# FILE HEADERS-HASH: silent when clean.
tidyOne() {
    local mark output
    mark="$remembered/$({ cat "$1"; printf '%s' "$1 $2"; } | sha256sum | cut -c1-64)"
    [[ ! -e $mark ]] || return 0
    if [[ -n $deadline && $EPOCHSECONDS -ge $deadline ]]; then
        printf '%s\n' "$1" >>"$remembered/left"
        return 0
    fi
    if output=$(xargs -d '\n' -a "$remembered/options" clang-tidy-14 "$1" 2>&1); then
        : >"$mark"
    else
        printf '%s\n' "$output"
        return 1
    fi
}

for tool in clang-tidy-14 cppcheck; do
    command -v "$tool" >/dev/null && continue
    [[ ${QUINMARK_REQUIRE_TOOLS-} != 1 ]] || die "$tool is missing; run scripts/install-deps.sh --tests"
    note "$tool is missing"
    exit 77
done
mkdir -p "$remembered"
tidyOptions >"$remembered/options"
rm -f "$remembered/left"
export remembered deadline
export -f tidyOne
status=0
cppcheck --enable=warning,performance,portability --inline-suppr --quiet --std=c++20 --suppressions-list=scripts/lint.suppressions -j"$(nproc)" -Isrc -Ihost \
    --error-exitcode=1 "${folders[@]}" || status=1
find "${folders[@]}" -name '*.cpp' -print0 | sort -z |
    xargs -0 -P"$(nproc)" -I{} bash -c 'tidyOne "$1" "$2"' - {} "$(headersHash)" || status=1
[[ ! -e $remembered/left ]] || note "left for the next run: $(wc -l <"$remembered/left") files"
[[ $status -ne 0 ]] || note "clean: ${folders[*]}"
exit "$status"
