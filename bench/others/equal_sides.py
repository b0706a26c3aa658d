"""The component's databases with the equal work in them, and the clients that may be sent at it."""

import contextlib

from bed import LOGIN, psql, windows_path
from others import equal_work

OFF = 5  # log level: nothing of a run without conflicts is an error
ONE_WAY_ALLOW_DELETES = 3
DURABILITY = ("fsync", "full_page_writes", "synchronous_commit")


@contextlib.contextmanager
def durable():
    """The server of the test bed as durable as PostgreSQL is by default; it does not wait for the disk otherwise."""
    try:
        _configure("set {} = on")
        yield
    finally:
        _configure("reset {}")


def _configure(change):
    for name in DURABILITY:
        psql("postgres", f"alter system {change.format(name)};")
    psql("postgres", "select pg_reload_conf();")


class EqualSides:
    """Two databases of a PostgreSQL server. Connecting is part of what clients are measured by."""

    def __init__(self, bed, name="equal"):
        self._bed = bed
        equal_work.write_rows(bed.work)
        self.pair = bed.pair(name, equal_work.POSTGRES)
        self._prepare()
        for side, rows in (("S", "source"), ("D", "destination")):
            self.pair.psql(self._home(side), f"\\copy {self.table(side)} from '{bed.work.resolve() / rows}.rows'")
        self.pair.psql("S", f"update replication_control set last_timestamp = '{equal_work.LAST_RUN}';")
        if self.differences() != equal_work.DIFFERENCES:
            raise RuntimeError(f"the sides differ in {self.differences()} rows")
        self.pair.save("differing")

    def restore(self):
        self.pair.restore("differing")

    def run(self):
        log = windows_path((self._bed.work / "equal.log").resolve())
        return self._bed.measure([*self._bed.program("bench_run"), "--whole",
                                  self._dsn("S"), self.pair.prefix("S"),
                                  self._dsn("D"), self.pair.prefix("D"),
                                  OFF, log, f"{ONE_WAY_ALLOW_DELETES}:{equal_work.TABLE}"])

    def differences(self):
        """How many rows, of both sides together, the other side does not have so."""
        one, other = self.table("S"), self.table("D")
        return int(self.pair.psql("S", f"select count(*) from ((table {one} except table {other}) union all "
                                       f"(table {other} except table {one})) x"))

    def close(self):
        self.pair.forget()

    def table(self, side):
        return self.pair.prefix(side) + equal_work.TABLE

    def _prepare(self):
        """Before the rows are loaded."""

    def _home(self, side):
        """The side in whose database a side's rows are."""
        return side

    def _dsn(self, side):
        return self.pair.dsn(side)


class EqualSchemas(EqualSides):
    """The same with the table's rows of both sides in one database, in a schema each. To a statement that is what two
    databases of one SQL Server or MariaDB are: nothing travels between servers.
    """

    def __init__(self, bed):
        super().__init__(bed, "schemas")

    def _prepare(self):
        schema = self.pair.databases["D"]
        self.pair.psql("S", f"drop foreign table {self.table('D')}; set session authorization {LOGIN};"
                            f"set search_path = {schema}; {equal_work.POSTGRES}")

    def _home(self, side):
        return "S"

    def _dsn(self, side):
        setting = f";ConnSettings=set+search_path%3d{self.pair.databases['D']}%2cdbo%2cpublic"
        return self.pair.dsn("S") + (setting if side == "D" else "")
