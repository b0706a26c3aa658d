"""Random cases, and the kept ones, on the component against the model.

The last lines say what was tried and how much was found; the exit status is 1 when anything was, 77 when a setting for
the databases is missing (1 with QUINMARK_REQUIRE_DATABASE=1). `--seed` repeats a run.
"""

import argparse
import json
import os
import pathlib
import random
import sys
import tempfile
import time

import bed
from cases import Case, Generator
from check import Bench, faults
from shrink import shrunk

ENOUGH = 5
KEPT = pathlib.Path(__file__).parent / "cases"
SETTINGS = ("QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN", "QUINMARK_PASSWORD", "ODBCINI")


def options():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--host", type=pathlib.Path, help="model_host.exe",
                        default=bed.REPOSITORY / "build" / "x86-release" / "model_host.exe")
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(2**32))
    parser.add_argument("--cases", type=int, help="how many random cases; 2000 unless --minutes is given")
    parser.add_argument("--minutes", type=float, help="how long to try random cases")
    parser.add_argument("--stop", action="store_true", help="at the first find, and without making it small")
    parser.add_argument("--keep", action="store_true", help="put what is found, made small, into cases/")
    parser.add_argument("--first", type=int, default=0, help="the number of the first case of the seed")
    chosen = parser.parse_args()
    if chosen.cases is None and chosen.minutes is None:
        chosen.cases = 2000
    return chosen


def leave_without_databases():
    missing = [name for name in SETTINGS if not os.environ.get(name)]
    if missing or os.environ.get("QUINMARK_SERVER") == "sqlserver":
        print(f"SKIPPED: needs the private PostgreSQL; missing: {', '.join(missing) or 'QUINMARK_SERVER is sqlserver'}")
        sys.exit(1 if missing and os.environ.get("QUINMARK_REQUIRE_DATABASE") == "1" else 77)


def replay(bench):
    """The kept cases: how many there are, how many fail."""
    files = sorted(KEPT.glob("*.json"))
    found = 0
    for file in files:
        lines = faults(Case.from_json(json.loads(file.read_text(encoding="utf-8"))), bench)
        if lines:
            found += 1
            print(f"{file.name}:", *lines, sep="\n  ")
    return len(files), found


def explain(case, name, lines, bench):
    """Prints a failing case and returns it as small as it still fails."""
    small = shrunk(case, lambda candidate: faults(candidate, bench))
    print(f"{name}:", *lines[:8], sep="\n  ")
    print("small:", *faults(small, bench)[:8], sep="\n  ")
    print(json.dumps(small.to_json(), ensure_ascii=False), flush=True)
    return small


def keep(case, name):
    text = json.dumps(case.to_json(), ensure_ascii=False, indent=1)
    (KEPT / f"{name}.json").write_text(text + "\n", encoding="utf-8")


def try_random(chosen, bench):
    """How many cases were tried and how many differ."""
    end = time.monotonic() + (chosen.minutes * 60 if chosen.minutes else float("inf"))
    number = chosen.first
    found = 0
    while (chosen.cases is None or number - chosen.first < chosen.cases) and time.monotonic() < end:
        case = Generator(random.Random(f"{chosen.seed} {number}")).case()
        lines = faults(case, bench)
        if lines:
            found += 1
            if chosen.stop or found >= ENOUGH:
                print(f"--seed {chosen.seed} --first {number}:", *lines[:8], sep="\n  ")
                return number - chosen.first + 1, found
            small = explain(case, f"--seed {chosen.seed} --first {number} --cases 1", lines, bench)
            if chosen.keep:
                keep(small, f"seed_{chosen.seed}_{number}")
        number += 1
    return number - chosen.first, found


def main():
    leave_without_databases()
    chosen = options()
    print(f"seed {chosen.seed}", flush=True)
    bed.create_databases()
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(chosen.host, folder)
        start = time.monotonic()
        kept = replay(bench)
        tried = try_random(chosen, bench)
        seconds = time.monotonic() - start
        bench.close()
    print(f"{(kept[0] + tried[0]) / seconds:.1f} cases a second")
    print(f"tried kept model cases: {kept[0]}, found: {kept[1]}")
    print(f"tried random model cases: {tried[0]}, found: {tried[1]}")
    return 1 if kept[1] or tried[1] else 0


if __name__ == "__main__":
    sys.exit(main())
