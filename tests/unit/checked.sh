#!/usr/bin/env bash
# checked.sh BUILD: runs the unit tests with the component that traps undefined behaviour, checks containers and counts
# lines, on heaps with guards, and tells how many lines of the component ran. BUILD is the CMake build that has them.
#
# Runs in the test bed (WINEPREFIX and DISPLAY). Exit status: 0 all well, 77 gcovr is missing, else a test failed or
# less than 95 % of the lines of src/ ran.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)"
readonly root build=$1 counts="$1/tests/unit/CMakeFiles/checked_component.dir"
readonly options='HKLM\Software\Microsoft\Windows NT\CurrentVersion\Image File Execution Options\checked_unit_tests.exe'
# FLG_HEAP_ENABLE_TAIL_CHECK, FLG_HEAP_ENABLE_FREE_CHECK, FLG_HEAP_VALIDATE_PARAMETERS
readonly guards=0x70

# Removes the counts of an earlier run, and the notes of objects that are not part of the component.
find "$counts" -name '*.gcda' -delete
find "$counts" -name '*.gcno' -exec sh -c '[ -e "${1%gcno}obj" ] || rm "$1"' - {} \;
wine reg add "$options" /v GlobalFlag /t REG_DWORD /d "$guards" /f >/dev/null
# Freed strings go back to the heap instead of being kept for the next.
(cd "$build" && OANOCACHE=1 wine checked_unit_tests.exe --gtest_brief=1)

if ! command -v gcovr >/dev/null; then
    echo 'SKIPPED: gcovr is missing; run scripts/install-deps.sh --tests'
    [[ ${QUINMARK_REQUIRE_TOOLS-} != 1 ]] || exit 1
    exit 77
fi
gcovr --root "$root" --filter "$root/src/" --gcov-executable i686-w64-mingw32-gcov-posix --exclude-throw-branches \
    --fail-under-line 95 "$counts"
