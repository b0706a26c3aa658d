#!/usr/bin/env python3
"""Runs the parts of the bench, prints their figures as a table and writes them as JSON; see docs/performance.md."""

import argparse
import dataclasses
import json
import pathlib
import sys
import traceback

import component
from bed import Bed
from figures import within
from measure import processors_awake
from others import compare

PARTS = {"run": component.run_against_replay, "growth": component.growth, "logging": component.logging,
         "full-copy": component.full_copy, "nothing-to-do": component.nothing_to_do, "others": compare.figures}
MANY_ROWS = 100_000


@dataclasses.dataclass(frozen=True)
class Scale:
    """`rows` of the tables in which rows of all kinds differ; every comparison is made `rounds` times."""

    rows: int
    rounds: int


def parts(names):
    unknown = set(names) - set(PARTS)
    if unknown:
        sys.exit(f"no such part: {', '.join(sorted(unknown))}; there are: {', '.join(PARTS)}")
    return {name: part for name, part in PARTS.items() if not names or name in names}


def line(name, value, limit, verdict):
    print(f"{name:78} {value:>9} {limit:>7}  {verdict}", flush=True)


def show(entry):
    limit = "-" if entry["limit"] is None else f"{entry['limit']:g}"
    line(entry["name"], f"{entry['value']:.3f}", limit, "" if within(entry) else "beyond")


def measure_parts(names, bed, scale, json_path):
    """Prints the figures of each part and keeps those there are so far; whether every part could be measured."""
    figures, whole = [], True
    line("figure", "value", "limit", "")
    for name, part in parts(names).items():
        try:
            taken = part(bed, scale)
        except Exception:  # pylint: disable=broad-except
            # The other parts are worth having all the same.
            whole = False
            print(f"{name}: could not be measured", flush=True)
            traceback.print_exc()
            continue
        figures += taken
        for entry in taken:
            show(entry)
        json_path.write_text(json.dumps({"figures": figures}, indent=2) + "\n", encoding="utf-8")
    return whole and all(within(entry) for entry in figures)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--binaries", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("--json", required=True, type=pathlib.Path)
    parser.add_argument("--rows", type=int, default=10_000)
    parser.add_argument("--rounds", type=int, help="5, and from 100000 rows on 3")
    parser.add_argument("--only", nargs="+", default=[], metavar="PART", help=", ".join(PARTS))
    given = parser.parse_args()
    bed = Bed(given.binaries, given.work)
    scale = Scale(given.rows, given.rounds or (5 if given.rows < MANY_ROWS else 3))
    given.json.unlink(missing_ok=True)
    with processors_awake():
        return 0 if measure_parts(given.only, bed, scale, given.json) else 1


if __name__ == "__main__":
    sys.exit(main())
