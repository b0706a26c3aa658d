"""Random values through the literal routines and row builders, under several regional settings and date orders of the
server, executed by the database and read back: equal, refused, or wrong as foretold.

The last lines say what was tried and how much was found; the exit status is 1 when anything was, 77 when a setting for
the databases is missing (1 with QUINMARK_REQUIRE_DATABASE=1). `--seed` repeats a run.
"""

import collections
import contextlib
import datetime
import random
import sys
import unittest

import drawing
from literal_host import LiteralDatabase, RegionalPrefix, copy_rows
from rows import COLUMNS, carried_row, random_row, routine_results
from side import skip, skip_without_databases

ROWS = 200
SECOND = datetime.timedelta(seconds=1)
ENOUGH = 10


def expectations(row, region, login):
    """The values expected in each table for a row; None where the statement is refused."""
    copy = carried_row(row, region, login)
    return {"inserted": copy, "updated": copy, "routines": routine_results(row, region, login)}


def kind(wanted, row):
    """The kind of outcome that is expected for a row."""
    if wanted is None:
        return "refused"
    if wanted["d"] and abs(wanted["d"] - row["d"]) > SECOND:
        return "with a wrong date"
    return "equal" if (wanted["t"] or "") == (row["t"] or "") else "with joined lines"


def faults(key, wanted, stored, refused):
    """In words, what is not as foretold for one row."""
    for table, values in wanted.items():
        error = refused.get((key, table))
        arrived = stored[table].get(key)
        # Where a statement is refused, nothing is written.
        left = {**dict.fromkeys(COLUMNS), "t": "former"} if values is None and table == "updated" else values
        if (values is None) != (error is not None):
            yield f"{table}: refused with {error}, expected {values}, arrived {arrived}"
        elif arrived != left:
            yield f"{table}: expected {left}, arrived {arrived}"


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
    """Random rows under one pair of settings; how many differ. The tally counts what was foretold."""
    region, login = pair
    source = database.fill([login.held(random_row(chance)) for _ in range(ROWS)])
    prefix.use(region)
    begin = datetime.datetime.now().replace(microsecond=0)
    refused = copy_rows(prefix, login)
    found = check_log(region, prefix.take_log(), begin)
    stored = {table: {key: login.comparable(row) for key, row in database.read(table).items()}
              for table in ("inserted", "updated", "routines")}
    for key, row in source.items():
        wanted = expectations(row, region, login)
        tally[kind(wanted["inserted"], row)] += 1
        lines = list(faults(key, wanted, stored, refused))
        if lines:
            found += 1
            if found <= ENOUGH:
                print(f"{region.name}, {login.setting}, row {key}: { {n: v for n, v in row.items() if v is not None} }",
                      *lines, sep="\n  ", flush=True)
    return found


def run(chosen, database, prefix):
    """Rows tried and found in all: each turn has every pair of settings."""
    pairs = database.pairs()
    tallies = {pair: collections.Counter() for pair in pairs}
    tried = found = 0
    for turn in drawing.numbers(chosen):
        for number, pair in enumerate(pairs):
            chance = random.Random(f"{chosen.seed} {turn} {number}")
            found += try_pair(chance, pair, database, prefix, tallies[pair])
            tried += ROWS
        if found:
            print(f"--seed {chosen.seed} --first {turn} --turns 1")
            break
    for (region, login), tally in tallies.items():
        told = ", ".join(f"{count} {name}" for name, count in tally.items())
        print(f"{region.name}, server reads {login.setting}: {told}")
    return tried, found


def main():
    skip_without_databases()
    chosen = drawing.parser(__doc__, "turns", 1).parse_args()
    try:
        with contextlib.closing(RegionalPrefix()) as prefix, contextlib.closing(LiteralDatabase()) as database:
            tried, found = run(chosen, database, prefix)
    except unittest.SkipTest as reason:
        skip(reason, False)
    print(f"tried literal rows: {tried}, found: {found}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
