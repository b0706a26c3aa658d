#!/usr/bin/env bash
# Looks for faults for a given time: every tests/*/soak.sh gets its share of it, and a table tells at the end what was
# tried and what was found.
#
#   soak.sh MINUTES [SEED [PART [OPTION...]]]
#
# With a PART, such as `faults`, only that one, which is given the options; the faults are tried in an order that the
# seed fixes, and `faults --first PLACE` goes on where an earlier night has ended.
#
# Each part prints `tried WHAT: COUNT, found: COUNT` lines at its end; what it prints before, with all that is needed to
# repeat a find, stays in build/soak/. Exit status: 0 nothing found, 1 something found or a part did not go through.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

[[ ${1-} =~ ^[1-9][0-9]*$ && ${2-1} =~ ^[0-9]+$ ]] || die -2 'usage: soak.sh MINUTES [SEED [PART [OPTION...]]]'
readonly seconds=$(($1 * 60)) seed=${2-$RANDOM$RANDOM} out=build/soak only=${3-*} options=("${@:4}")
# shellcheck disable=SC2206
parts=(tests/$only/soak.sh)
[[ -x ${parts[0]} ]] || die -2 "no part of that name: $only"

row() { # PART TRIED COUNT FOUND
    printf '%-12s %-52s %10s %6s\n' "$@"
}

# The finds of a part, as rows; a part that fails without telling one is a find itself.
rowsOf() { # PART STATUS
    local part=$1 log="$out/$1.log" found=0
    while read -r tried count number; do
        row "$part" "${tried//_/ }" "$count" "$number"
        found=$((found + number))
    done < <(sed -nE 's/^tried (.*): ([0-9]+), found: ([0-9]+)\r?$/\1\t\2\t\3/p' "$log" | tr ' ' '_')
    [[ $2 -eq 0 || $found -gt 0 ]] || row "$part" "ended with status $2, see $log" - 1
    [[ $2 -eq 0 && $found -eq 0 ]]
}

"$repoRoot/scripts/install-deps.sh" --tests
build
startTestbed
registerServers >/dev/null 2>&1
export QUINMARK_REQUIRE_DATABASE=1 QUINMARK_REQUIRE_DISPLAY=1 QUINMARK_BINARIES="$binaries"
mkdir -p "$out"

begin=$SECONDS
table=''
result=0
for index in "${!parts[@]}"; do
    part=$(basename "$(dirname "${parts[$index]}")")
    share=$(((seconds - (SECONDS - begin)) / (${#parts[@]} - index)))
    minutes=$(awk "BEGIN { print ($share > 6 ? $share : 6) / 60 }")
    note "$part for $minutes minutes, seed $seed"
    status=0
    runInterruptible "${parts[$index]}" --minutes "$minutes" --seed "$seed" "${options[@]}" >"$out/$part.log" 2>&1 || status=$?
    rows=$(rowsOf "$part" "$status") || result=1
    table+="$rows"$'\n'
done

row part tried count found
printf '%s' "$table"
for part in "${parts[@]}"; do
    sed -n '/^next: /p' "$out/$(basename "$(dirname "$part")").log" | tr -d '\r'
done
note "$(((SECONDS - begin) / 60)) minutes, seed $seed; all that was said is in $out/"
exit "$result"
