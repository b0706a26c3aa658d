"""One-way replication with deletes against pt-table-sync, on equal work and with the durability that both kinds of
server have by default.
"""

import pathlib
import sys

from figures import figure, median, ratio, take_turns
from others import equal_work, mariadb
from others.equal_sides import EqualSchemas, EqualSides, durable

ROUNDS = 3
WRAPPER = pathlib.Path(__file__).with_name("pt_table_sync.pl")
# pt-table-sync writes all rows in one transaction unless told; that is its fastest way, so it is what counts.
ALGORITHMS = {"Chunk": ("--algorithms", "Chunk"),
              "Chunk of 10,000": ("--algorithms", "Chunk", "--chunk-size", "10000"),
              "Nibble": ("--algorithms", "Nibble"),
              "Nibble of 10,000": ("--algorithms", "Nibble", "--chunk-size", "10000"),
              "GroupBy": ("--algorithms", "GroupBy"), "Stream": ("--algorithms", "Stream")}
ROW_BY_ROW = "Chunk, every row committed"
OTHERS = {**ALGORITHMS, ROW_BY_ROW: (*ALGORITHMS["Chunk"], "--no-transaction")}
OURS = "component"
ONE_DATABASE = "component, both sides in one database"
NOT_DURABLE = "component, disk not waited for"


class PtTableSync:
    """pt-table-sync between two databases of a MariaDB server."""

    def __init__(self, bed, server):
        self._bed = bed
        self._server = server
        for database, rows in (("source", "source"), ("destination", "destination"), ("kept", "destination")):
            server.sql(f"create database {database} character set utf8mb4; use {database}; {equal_work.MARIADB}"
                       f"load data local infile '{bed.work.resolve() / rows}.rows' into table {equal_work.TABLE};"
                       f"analyze table {equal_work.TABLE};")

    def restore(self):
        table = equal_work.TABLE
        self._server.sql(f"use destination; truncate {table}; insert into {table} select * from kept.{table};"
                         f"analyze table {table}; set global innodb_log_checkpoint_now = on;")

    def run(self, options):
        return self._bed.measure(["perl", WRAPPER, "--execute", "--no-version-check", *options,
                                  *(f"{self._server.dsn(name)},t={equal_work.TABLE}"
                                    for name in ("source", "destination"))])

    def differences(self):
        sums = self._server.sql(f"checksum table source.{equal_work.TABLE}, destination.{equal_work.TABLE};")
        return len({line.split()[1] for line in sums.splitlines()}) - 1


def figures(bed, scale):
    """Ratios to the fastest algorithm, and, without limits, the seconds of all of them."""
    if not mariadb.is_installed():
        print("pt-table-sync or a MariaDB server is missing; run scripts/install-deps.sh --bench", file=sys.stderr)
        return []
    sides, schemas = EqualSides(bed), EqualSchemas(bed)
    try:
        with mariadb.MariaDb(bed.work.resolve() / "mariadb") as server:
            other = PtTableSync(bed, server)
            clients = {name: lambda options=options: _twice(other, lambda: other.run(options))
                       for name, options in OTHERS.items()}
            ours = {OURS: lambda: _durable(sides), ONE_DATABASE: lambda: _durable(schemas),
                    NOT_DURABLE: lambda: _twice(sides, sides.run)}
            taken = take_turns(min(scale.rounds, ROUNDS), {**clients, **ours})
    finally:
        sides.close()
        schemas.close()
    changes, nothing = ({name: [pair[case] for pair in pairs] for name, pairs in taken.items()} for case in (0, 1))
    return [*_judge("one-way with deletes", changes, 0.8), *_judge("nothing to do", nothing, 1.0), _memory(changes)]


def _durable(sides):
    with durable():
        return _twice(sides, sides.run)


def _twice(sides, run):
    """A run with everything to do, and one with nothing left to do."""
    sides.restore()
    pair = run(), run()
    if sides.differences() != 0:
        raise RuntimeError("the sides are not equal after a run")
    return pair


def _judge(what, taken, limit):
    fastest = min(ALGORITHMS, key=lambda name: median(taken[name], "wall"))
    against = f"{what}, against pt-table-sync"
    return [figure(f"{against} ({fastest}): wall time", ratio(taken[OURS], taken[fastest], "wall"), limit),
            figure(f"{what}, both sides in one database ({fastest}): wall time",
                   ratio(taken[ONE_DATABASE], taken[fastest], "wall"), limit),
            figure(f"{against} ({ROW_BY_ROW})", ratio(taken[OURS], taken[ROW_BY_ROW], "wall")),
            *(figure(f"{what}, {name}: seconds", median(runs, "wall")) for name, runs in taken.items())]


def _memory(taken):
    least = min(ALGORITHMS, key=lambda name: median(taken[name], "peak_kb"))
    return figure(f"peak memory against pt-table-sync ({least})", ratio(taken[OURS], taken[least], "peak_kb"), 1.0)
