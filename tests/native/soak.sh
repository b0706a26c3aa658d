#!/usr/bin/env bash
# soak.sh [--seed N] [--minutes M]: builds the code that needs no platform for this machine, under the address and
# undefined-behaviour sanitizers, and lets libFuzzer feed it for that long. Exit status: 0 nothing found, 77 no compiler
# for it, else something was found; the input that shows it is named.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)"
readonly root build="$root/build/native"
seed=1
minutes=0.1
while [[ $# -gt 0 ]]; do
    case $1 in
    --seed) seed=$2 ;;
    --minutes) minutes=$2 ;;
    *) echo "unknown option $1" >&2 && exit 2 ;;
    esac
    shift 2
done

readonly sources=(tests/native/fuzz.cpp host/html_page.cpp host/review/HttpRequest.cpp
    host/review/difference.cpp src/db/sql_text.cpp)

mkdir -p "$build/corpus"
cd "$root"
# As one source, since the headers and templates in common take most of the time. The library of texts comes compiled.
printf '#include "%s"\n' "${sources[@]/#/$root/}" >"$build/all.cpp"
if ! clang++ -fsanitize=fuzzer-no-link,address -x c++ - -o "$build/probe" 2>/dev/null <<<'int main() {}'; then
    echo 'SKIPPED: clang++ with its sanitizers is missing; run scripts/install-deps.sh --tests' >&2
    [[ ${QUINMARK_REQUIRE_TOOLS-} != 1 ]] || exit 1
    exit 77
fi
clang++ -std=c++20 -O1 -gline-tables-only -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all \
    -Wall -Wextra -Werror -I host -I src "$build/all.cpp" -lfmt -o "$build/fuzz"

seconds=$(awk "BEGIN { print int($minutes * 60 + 0.5) }")
echo "seed $seed"
status=0
"$build/fuzz" -seed="$seed" -max_total_time="$seconds" -max_len=20000 -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$build/" "$build/corpus" tests/native/seeds >"$build/fuzz.log" 2>&1 || status=$?
[[ $status -eq 0 ]] || tail -n 60 "$build/fuzz.log"
count=$(sed -n 's/^stat::number_of_executed_units: *//p' "$build/fuzz.log")
echo "tried inputs of what needs no platform: ${count:-0}, found: $((status != 0))"
exit "$status"
