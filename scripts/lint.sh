#!/usr/bin/env bash
# Runs cppcheck and clang-tidy over the sources of the component, quinrep and the ADO stand-in.
#
#   lint.sh
#
# clang-tidy sees the sources as the preset x86-joined joins them, several to a unit: that takes an eighth of the time.
# Exit status: 0 clean, 1 something was found, 77 a tool is missing (1 with QUINMARK_REQUIRE_TOOLS=1).
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$repoRoot"

readonly build=build/x86-joined compiler=i686-w64-mingw32-g++-posix
readonly folders=(src host wine/adodb)

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

unitsOf() { # FOLDER...
    local folder
    for folder; do
        sed -nE "s|^ *\"file\": \"($repoRoot/($build/)?$folder/.*\.(cpp\|cxx))\",?$|\1|p" "$build/compile_commands.json"
    done
}

# Silent when clean.
tidyOne() { # FILE
    local output
    output=$(xargs -d '\n' -a "$build/tidy-options" clang-tidy-14 "$1" 2>&1) || {
        printf '%s\n' "$output"
        return 1
    }
}

for tool in clang-tidy-14 cppcheck; do
    command -v "$tool" >/dev/null && continue
    [[ ${QUINMARK_REQUIRE_TOOLS-} != 1 ]] || die "$tool is missing; run scripts/install-deps.sh --tests"
    note "$tool is missing"
    exit 77
done
{ cmake --preset x86-joined && cmake --build --preset x86-joined --target quinmark_typelib; } >"$build.log" 2>&1 ||
    die "the preset x86-joined cannot be configured; see $build.log"
tidyOptions >"$build/tidy-options"
export build
export -f tidyOne
status=0
cppcheck --enable=warning,performance,portability --inline-suppr --quiet --std=c++20 \
    --suppressions-list=scripts/lint.suppressions -j"$(nproc)" -Isrc -Ihost --error-exitcode=1 "${folders[@]}" || status=1
unitsOf "${folders[@]}" | xargs -P"$(nproc)" -I{} bash -c 'tidyOne "$1"' - {} || status=1
[[ $status -ne 0 ]] || note "clean: ${folders[*]}"
exit "$status"
