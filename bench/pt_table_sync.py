"""One-way replication with deletes against pt-table-sync, on equal rows and with the durability that both kinds of
server have by default.
"""

import contextlib
import functools
import pathlib

import clients
import equal_rows
import mariadb
from databases import PostgreSqlPair
from equal_rows import TABLE
from figures import figure, median, ratio, take_turns
from measure import measure
from side import server_of

ROUNDS = 3
WRAPPER = pathlib.Path(__file__).with_name("pt_table_sync.pl")
ROWS_OF = {"S": clients.FOLDER / "source.rows", "D": clients.FOLDER / "destination.rows"}
REPLICATED = (3, TABLE, "")
# pt-table-sync writes all rows in one transaction unless told; the fastest of these ways is what counts.
ALGORITHMS = {"Chunk": ("--algorithms", "Chunk"),
              "Chunk of 10,000": ("--algorithms", "Chunk", "--chunk-size", "10000"),
              "Nibble": ("--algorithms", "Nibble"),
              "Nibble of 10,000": ("--algorithms", "Nibble", "--chunk-size", "10000"),
              "GroupBy": ("--algorithms", "GroupBy"), "Stream": ("--algorithms", "Stream")}
ROW_BY_ROW = "Chunk, every row committed"
OTHERS = {**ALGORITHMS, ROW_BY_ROW: (*ALGORITHMS["Chunk"], "--no-transaction")}
ONE_SERVER = "component, two databases of one server"
FOREIGN = "component, through postgres_fdw"


class ForeignSides(PostgreSqlPair):
    """Each side is a PostgreSQL database, which the other one reaches through postgres_fdw."""

    def __init__(self, name="foreign"):
        super().__init__(name, tables=equal_rows.create_table("timestamp"))
        self._prepare()
        for side, rows in ROWS_OF.items():
            self.psql(self._home(side), f"\\copy {self.prefix(side)}{TABLE} from '{rows}'")
        self.sql("S", f"update replication_control set last_timestamp = '{equal_rows.LAST_RUN}';")
        if self.differences() != equal_rows.DIFFERENCES:
            raise RuntimeError(f"the sides differ in {self.differences()} rows")
        self.keep("differing")

    def start(self):
        self.restore("differing")

    def run(self):
        return clients.run(self, (REPLICATED,), whole=True)

    def differences(self):
        """The number of rows, of both sides together, that the other side lacks or has with other values."""
        one, other = self.prefix("S") + TABLE, self.prefix("D") + TABLE
        (count,), = self.sql("S", f"select count(*) from ((table {one} except table {other}) union all "
                                  f"(table {other} except table {one})) x")
        return count

    def _prepare(self):
        """Before the rows are loaded."""

    def _home(self, side):
        """The side in whose database a side's rows are."""
        return side


class OneServerSides(ForeignSides):
    """Each side is a schema of one PostgreSQL database. A statement uses them like two databases of one SQL Server or
    MariaDB: nothing travels between servers.
    """

    def __init__(self):
        super().__init__("schemas")

    def dsn(self, side):
        setting = f";ConnSettings=set+search_path%3d{self.databases['D']}%2cdbo%2cpublic"
        return super().dsn("S") + (setting if side == "D" else "")

    def _prepare(self):
        self.sql("S", f"drop foreign table {self.prefix('D')}{TABLE}; set search_path = {self.databases['D']};"
                      + equal_rows.create_table("timestamp"))

    def _home(self, side):
        return "S"


class PtTableSync:
    """pt-table-sync with some options, between two databases of a MariaDB server."""

    def __init__(self, server, options):
        self._server = server
        self._options = options

    def start(self):
        self._server.sql(f"use destination; truncate {TABLE}; insert into {TABLE} select * from kept.{TABLE};"
                         f"analyze table {TABLE}; set global innodb_log_checkpoint_now = on;")

    def run(self):
        return measure(["perl", WRAPPER, "--execute", "--no-version-check", *self._options,
                        *(f"{self._server.dsn(database)},t={TABLE}" for database in ("source", "destination"))])

    def differences(self):
        sums = self._server.sql(f"checksum table source.{TABLE}, destination.{TABLE};")
        return len({line.split()[1] for line in sums.splitlines()}) - 1


def compare(_, rounds):
    """Ratios to the fastest algorithm and to rows that are committed one by one, and the seconds of all."""
    equal_rows.write(clients.FOLDER)
    with contextlib.ExitStack() as stack:
        server = stack.enter_context(mariadb.MariaDb(clients.FOLDER / "mariadb"))
        for database, side in (("source", "S"), ("destination", "D"), ("kept", "D")):
            server.sql(f"create database {database} character set utf8mb4; use {database};"
                       f"{equal_rows.create_table('datetime')}"
                       f"load data local infile '{ROWS_OF[side]}' into table {TABLE}; analyze table {TABLE};")
        contestants = {name: PtTableSync(server, options) for name, options in OTHERS.items()}
        for name, sides in ((FOREIGN, ForeignSides()), (ONE_SERVER, OneServerSides())):
            stack.callback(sides.close)
            contestants[name] = sides
        stack.enter_context(_durable())
        taken = take_turns(min(rounds, ROUNDS),
                           {name: functools.partial(_twice, one) for name, one in contestants.items()})
    changes, nothing = ({name: [pair[case] for pair in pairs] for name, pairs in taken.items()} for case in (0, 1))
    least = min(ALGORITHMS, key=lambda name: median(changes[name], "peak_kb"))
    return [*_judge("one-way with deletes", changes, 0.9, 0.6), *_judge("nothing to do", nothing, 0.95, 0.9),
            figure(f"peak memory against pt-table-sync ({least})",
                   ratio(changes[ONE_SERVER], changes[least], "peak_kb"), 1.0)]


@contextlib.contextmanager
def _durable():
    """The server of the test bed as durable as PostgreSQL is by default; it does not wait for the disk otherwise."""
    def alter(change):
        with server_of().owner() as server:
            for name in ("fsync", "full_page_writes", "synchronous_commit"):
                server.sql("alter system " + change.format(name))
            server.sql("select pg_reload_conf()")

    try:
        alter("set {} = on")
        yield
    finally:
        alter("reset {}")


def _twice(contestant):
    """A run with everything to do, and one with nothing left to do."""
    contestant.start()
    pair = contestant.run(), contestant.run()
    if contestant.differences() != 0:
        raise RuntimeError("the sides are not equal after a run")
    return pair


def _judge(case, taken, limit, limit_row_by_row):
    fastest = min(ALGORITHMS, key=lambda name: median(taken[name], "wall"))
    against = f"{case}, against pt-table-sync"
    return [figure(f"{against} ({fastest}): wall time", ratio(taken[ONE_SERVER], taken[fastest], "wall"), limit),
            figure(f"{against} ({ROW_BY_ROW}): wall time", ratio(taken[ONE_SERVER], taken[ROW_BY_ROW], "wall"),
                   limit_row_by_row),
            figure(f"{case}, through postgres_fdw, against pt-table-sync ({fastest}): wall time",
                   ratio(taken[FOREIGN], taken[fastest], "wall")),
            *(figure(f"{case}, {name}: seconds", median(runs, "wall")) for name, runs in taken.items())]
