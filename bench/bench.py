#!/usr/bin/env python3
"""Runs the parts of the bench, prints their figures as a table and writes them as JSON; see docs/performance.md."""

import argparse
import json
import sys
import traceback

import clients
import component
import pt_table_sync
import round_trips
from figures import within
from measure import processors_awake
from side import REPOSITORY, is_postgresql

PARTS = {"run": component.run, "growth": component.growth, "log": component.log, "full-copy": component.full_copy,
         "nothing-to-do": component.nothing_to_do, "round-trips": round_trips.count,
         "pt-table-sync": pt_table_sync.compare}
# They compare with programs of PostgreSQL or MariaDB, or need no database.
ON_POSTGRESQL_ONLY = ("log", "full-copy", "pt-table-sync")
JSON = REPOSITORY / "build" / "bench.json"


def line(name, value, limit, verdict):
    print(f"{name:95} {value:>9} {limit:>7}  {verdict}", flush=True)


def measure_parts(names, rows, rounds):
    """Prints the figures of each part and keeps all figures so far. Returns whether all parts were measured and are
    within their limits.
    """
    figures, whole = [], True
    line("figure", "value", "limit", "")
    for name in names:
        try:
            taken = PARTS[name](rows, rounds)
        except Exception:  # pylint: disable=broad-except
            # The figures of the other parts are useful all the same.
            whole = False
            print(f"{name}: could not be measured", flush=True)
            traceback.print_exc()
            continue
        figures += taken
        for entry in taken:
            limit = "-" if entry["limit"] is None else f"{entry['limit']:g}"
            line(entry["name"], f"{entry['value']:.3f}", limit, "" if within(entry) else "beyond")
        JSON.write_text(json.dumps({"figures": figures}, indent=2) + "\n", encoding="utf-8")
    return whole and all(within(entry) for entry in figures)


def main():
    parts = [name for name in PARTS if is_postgresql() or name not in ON_POSTGRESQL_ONLY]
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--rows", type=int, default=10_000, help="size of the tables in which rows of all kinds differ")
    parser.add_argument("--rounds", type=int, help="of each comparison; 5, and from 100000 rows on 3")
    parser.add_argument("--only", nargs="+", default=parts, choices=PARTS, metavar="PART", help=", ".join(PARTS))
    given = parser.parse_args()
    if refused := set(given.only).difference(parts):
        parser.error(f"on a SQL Server there is no measurement of {' and '.join(sorted(refused))}")
    clients.FOLDER.mkdir(parents=True, exist_ok=True)
    JSON.unlink(missing_ok=True)
    with processors_awake():
        return 0 if measure_parts(given.only, given.rows, given.rounds or (5 if given.rows < 100_000 else 3)) else 1


if __name__ == "__main__":
    sys.exit(main())
