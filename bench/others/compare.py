"""One-way replication with deletes against pt-table-sync, on equal work and with the durability that both kinds of
server have by default.
"""

import contextlib
import pathlib
import statistics
import sys

import bed as benches

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import equal_work  # noqa: E402
import mariadb  # noqa: E402

ROUNDS = 3
OFF = 5  # log level: nothing of a run without conflicts is an error
ONE_WAY_ALLOW_DELETES = 3
WRAPPER = pathlib.Path(__file__).with_name("pt_table_sync.pl")
DURABILITY = ("fsync", "full_page_writes", "synchronous_commit")
# pt-table-sync writes all rows in one transaction unless told; that is its fastest way, so it counts.
ALGORITHMS = {"Chunk": ("--algorithms", "Chunk"), "Chunk, 10,000 rows": ("--algorithms", "Chunk", "--chunk-size", "10000"),
              "Nibble": ("--algorithms", "Nibble"),
              "Nibble, 10,000 rows": ("--algorithms", "Nibble", "--chunk-size", "10000"),
              "GroupBy": ("--algorithms", "GroupBy"), "Stream": ("--algorithms", "Stream")}
EACH_BY_ITSELF = "Chunk, each row committed"
CLIENTS = {**ALGORITHMS, EACH_BY_ITSELF: (*ALGORITHMS["Chunk"], "--no-transaction")}


@contextlib.contextmanager
def durable():
    """The server of the test bed as durable as PostgreSQL is by default; it does not wait for the disk otherwise."""
    try:
        _set(lambda name: f"alter system set {name} = on;")
        yield
    finally:
        _set(lambda name: f"alter system set {name} = off;")


def _set(statement):
    for name in DURABILITY:
        benches.psql("postgres", statement(name))
    benches.psql("postgres", "select pg_reload_conf();")


class Component:
    """The component between two databases of a PostgreSQL server."""

    def __init__(self, bed, rows):
        self._bed = bed
        self.pair = bed.pair("others", equal_work.POSTGRES)
        for side, name in (("S", "source"), ("D", "destination")):
            self.pair.psql(side, f"\\copy {self._table(side)} from '{bed.work / name}.rows'")
        self.pair.psql("S", f"update replication_control set last_timestamp = '{equal_work.LAST_RUN}';")
        self.pair.save(rows)
        self._rows = rows

    def restore(self):
        self.pair.restore(self._rows)

    def run(self):
        log = benches.windows_path(self._bed.work / "others.log")
        return self._bed.measure([*self._bed.program("bench_run"), "--whole", self.pair.dsn("S"),
                                  self.pair.prefix("S"), self.pair.dsn("D"), self.pair.prefix("D"), OFF, log,
                                  f"{ONE_WAY_ALLOW_DELETES}:{equal_work.TABLE}"])

    def differences(self):
        one, other = self._table("S"), self._table("D")
        return int(self.pair.psql("S", f"select count(*) from ((table {one} except table {other}) union all "
                                       f"(table {other} except table {one})) x"))

    def close(self):
        self.pair.forget()

    def _table(self, side):
        return self.pair.prefix(side) + equal_work.TABLE


class PtTableSync:
    """pt-table-sync between two databases of a MariaDB server."""

    def __init__(self, bed, server):
        self._bed = bed
        self._server = server
        for database, name in (("source", "source"), ("destination", "destination"), ("kept", "destination")):
            server.sql(f"create database {database} character set utf8mb4; use {database}; {equal_work.MARIADB}"
                       f"load data local infile '{bed.work / name}.rows' into table {equal_work.TABLE};"
                       f"analyze table {equal_work.TABLE};")

    def restore(self):
        table = equal_work.TABLE
        self._server.sql(f"use destination; truncate {table}; insert into {table} select * from kept.{table};"
                         f"analyze table {table}; set global innodb_log_checkpoint_now = on;")

    def run(self, options):
        return self._bed.measure(["perl", WRAPPER, "--execute", "--no-version-check", *options,
                                  self._dsn("source"), self._dsn("destination")])

    def differences(self):
        sums = self._server.sql(f"checksum table source.{equal_work.TABLE}, destination.{equal_work.TABLE};")
        return len({line.split()[1] for line in sums.splitlines()}) - 1

    def _dsn(self, database):
        return f"{self._server.dsn(database)},t={equal_work.TABLE}"


def figures(bed, scale):
    """The three ratios to the fastest algorithm, and, without limits, the seconds of all of them."""
    if not mariadb.is_installed():
        print("pt-table-sync or mariadb-server is missing; run scripts/install-deps.sh --bench", file=sys.stderr)
        return []
    for name, rows in (("source", equal_work.source_rows), ("destination", equal_work.destination_rows)):
        (bed.work / f"{name}.rows").write_text("".join(f"{row}\n" for row in rows(scale)), encoding="ascii")
    with durable(), mariadb.MariaDb(bed.work / "mariadb") as server:
        component = Component(bed, scale)
        try:
            return _judge(_measure_all(component, PtTableSync(bed, server), scale))
        finally:
            component.close()


def _measure_all(component, other, scale):
    """{client: {"changes": [...], "nothing": [...]}}, all clients in turn, round by round."""
    measured = {name: {"changes": [], "nothing": []} for name in ("component", *CLIENTS)}
    for _ in range(ROUNDS):
        _measure_round(measured["component"], component, component.run)
        for name, options in CLIENTS.items():
            _measure_round(measured[name], other, lambda options=options: other.run(options))
    for run in measured["component"]["changes"]:
        if run["added"] + run["updated"] + run["deleted"] != equal_work.changes(scale):
            raise RuntimeError(f"the component did not write every row: {run}")
    return measured


def _measure_round(measured, side, run):
    side.restore()
    measured["changes"].append(run())
    if side.differences() != 0:
        raise RuntimeError("the sides are not equal after a run")
    measured["nothing"].append(run())


def _judge(measured):
    figures = []
    for case, limit, name in (("changes", 0.8, "one-way with deletes"), ("nothing", 1.0, "nothing to do")):
        walls = {client: [run["wall"] for run in runs[case]] for client, runs in measured.items()}
        fastest = min(ALGORITHMS, key=lambda client: statistics.median(walls[client]))
        figures.append(_figure(f"{name}, against pt-table-sync ({fastest}): wall time",
                               _ratio(walls["component"], walls[fastest]), limit))
        if case == "changes":
            figures.append(_figure(f"{name}, against pt-table-sync ({EACH_BY_ITSELF}): wall time",
                                   _ratio(walls["component"], walls[EACH_BY_ITSELF]), None))
        figures += [_figure(f"{name}, {client}: seconds", statistics.median(seconds), None)
                    for client, seconds in walls.items()]
    peaks = {client: max(run["peak_kb"] for case in runs.values() for run in case) for client, runs in measured.items()}
    figures.append(_figure("peak memory of the client, against pt-table-sync (the least of all algorithms)",
                           peaks["component"] / min(peaks[client] for client in ALGORITHMS), 1.0))
    return figures


def _ratio(ours, theirs):
    """The median of the ratios of the rounds."""
    return statistics.median(one / other for one, other in zip(ours, theirs))


def _figure(name, value, limit):
    return {"name": name, "value": round(value, 3), "limit": limit}
