"""Random values through the literal routines and row builders, under several regional settings and date orders of the
server, executed by the database and read back: equal, refused, or wrong as foretold.

The last lines say what was tried and how much was found; the exit status is 1 when anything was, 77 when a setting for
the databases is missing (1 with QUINMARK_REQUIRE_DATABASE=1). `--seed` repeats a run.
"""

import argparse
import contextlib
import datetime
import random
import sys
import time

from literal_host import LiteralDatabase, RegionalPrefix, copy_rows
from rows import carried_row, random_row, routine_results
from settings import PAIRS
from side import skip_without_databases

ROWS = 200
SECOND = datetime.timedelta(seconds=1)
ENOUGH = 10


def options():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(2**32))
    parser.add_argument("--minutes", type=float, help="how long to try; otherwise once with every pair of settings")
    return parser.parse_args()


def expectations(row, region, server):
    """What each table holds for a row; None where the statement is refused."""
    copy = carried_row(row, region, server)
    return {"inserted": copy, "updated": copy, "routines": routine_results(row, region, server)}


class Tally:
    """What was foretold under one pair of settings."""

    def __init__(self):
        self.equal = self.wrong = self.refused = 0

    def count(self, wanted, row):
        if wanted is None:
            self.refused += 1
        elif wanted["d"] and abs(wanted["d"] - row["d"]) > SECOND:
            self.wrong += 1
        else:
            self.equal += 1


def faults(key, row, wanted, stored, refused):
    """In words, what is not as foretold for one row."""
    for table, values in wanted.items():
        error = refused.get((key, table))
        arrived = stored[table].get(key)
        if values is None and error is None:
            yield f"{table} is not refused: {arrived}"
        elif values is not None and error is not None:
            yield f"{table} is refused: {error}"
        elif values is not None and arrived != values:
            names = [name for name in values if arrived is None or arrived[name] != values[name]]
            yield f"{table}: expected {[values[n] for n in names]}, " \
                  f"arrived {arrived and [arrived[n] for n in names]} of {names}"
        elif values is None and table == "inserted" and arrived is not None:
            yield "inserted is refused and there"
        elif values is None and table == "updated" and arrived["t"] != "former":
            yield "updated is refused and changed"


def check_log(region, lines, begin):
    """1 when the log is other than one entry since `begin`, stamped as users there read it; else 0."""
    seconds = range(int((datetime.datetime.now() - begin) / SECOND) + 1)
    # The log is in the ANSI code page, which lacks some regions' letters.
    stamps = [region.text(begin + second * SECOND).encode("cp1252", "replace").decode() for second in seconds]
    if lines in [["", f"{stamp}: INFO : copied"] for stamp in stamps]:
        return 0
    print(f"{region.name}: the log has {lines} between {stamps[0]} and {stamps[-1]}", flush=True)
    return 1


def try_pair(chance, pair, database, prefix, tally):
    """Random rows under one pair of settings; how many differ."""
    region, server = pair
    rows = [random_row(chance) for _ in range(ROWS)]
    database.fill(rows)
    prefix.use(region)
    database.read_dates_as(server)
    begin = datetime.datetime.now().replace(microsecond=0)
    refused = copy_rows(prefix)
    found = check_log(region, prefix.take_log(), begin)
    stored = {table: database.read(table) for table in ("inserted", "updated", "routines")}
    for key, row in enumerate(rows):
        wanted = expectations(row, region, server)
        tally.count(wanted["inserted"], row)
        lines = list(faults(key, row, wanted, stored, refused))
        if lines:
            found += 1
            if found <= ENOUGH:
                print(f"{region.name}, {server}, row {key}: { {n: v for n, v in row.items() if v is not None} }",
                      *lines, sep="\n  ", flush=True)
    return found


def run(chosen, database, prefix):
    """Rows tried and found in all."""
    end = time.monotonic() + (chosen.minutes or 0) * 60
    tallies = {pair: Tally() for pair in PAIRS}
    found = turn = 0
    while turn == 0 or time.monotonic() < end:
        for number, pair in enumerate(PAIRS):
            chance = random.Random(f"{chosen.seed} {turn} {number}")
            found += try_pair(chance, pair, database, prefix, tallies[pair])
        turn += 1
        if found:
            print(f"--seed {chosen.seed}, turn {turn}")
            break
    for (region, server), tally in tallies.items():
        print(f"{region.name}, server reads {server}: {tally.equal} equal, {tally.refused} refused, "
              f"{tally.wrong} with a wrong date")
    return turn * len(PAIRS) * ROWS, found


def main():
    skip_without_databases()
    chosen = options()
    print(f"seed {chosen.seed}", flush=True)
    with contextlib.closing(RegionalPrefix()) as prefix, contextlib.closing(LiteralDatabase()) as database:
        tried, found = run(chosen, database, prefix)
    print(f"tried literal rows: {tried}, found: {found}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
