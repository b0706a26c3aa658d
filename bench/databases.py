"""Pairs of databases for the benches, in states to which they can be brought back."""

import abc
import os
import subprocess
import zlib

from side import REPOSITORY, is_postgresql, server_of

AS_LOGIN = "set session authorization quinmarkapp_user;\n"
# `not in` over a million keys has to stay a hash.
SETTINGS = ("work_mem = '512MB'",)


class Pair(abc.ABC):
    """Two databases with the practice's tables, those of `files` and those of `tables` (SQL), each seen from the other
    under its prefix. The office's is the source, "S", the laptop's "D".
    """

    NAME = "{}_{}"
    OPTIONS = {}

    def __init__(self, name, *files, tables=""):
        self.server = server_of()
        self.databases = {side: self.NAME.format(name, place) for side, place in (("S", "office"), ("D", "laptop"))}
        self.states = set()
        self.close()
        for side, database in self.databases.items():
            self.server.create(database, *self.server.FILES, *files, **self.OPTIONS)
            if tables:
                self.sql(side, tables)
        self.server.introduce(*self.databases.values())

    def sql(self, side, statements):
        """Runs statements as the component's login; the rows that the last of them gives."""
        with self.server.login(self.databases[side]) as login:
            return login.sql(statements)

    def owner_sql(self, side, *statements):
        """Runs statements as the server's owner, each by itself."""
        with self.server.owner(self.databases[side]) as owner:
            for statement in statements:
                owner.sql(statement)

    def sum_of(self, side, table):
        """The number and a sum of a table's rows, whose key is the first column."""
        rows = self.sql(side, f"select * from {table} order by 1")
        return len(rows), zlib.crc32(repr(rows).encode())

    def prefix(self, side):
        """The prefix of this side's tables in a statement on either side."""
        return self.server.prefix(self.databases[side])

    def dsn(self, side):
        """The data source, as `Factory.init` takes it."""
        name = os.environ["QUINMARK_OFFICE_DSN" if side == "S" else "QUINMARK_LAPTOP_DSN"]
        return f"{name};Database={self.databases[side]}"

    @abc.abstractmethod
    def fill(self, side, rows, kind):
        """Calls fill_work of the file with the tables of the benches."""

    @abc.abstractmethod
    def keep(self, state):
        """Keeps both databases as they are."""

    @abc.abstractmethod
    def restore(self, state):
        """Restores the kept databases, and leaves the server nothing to do in the background."""

    @abc.abstractmethod
    def close(self):
        """Deletes the databases and all states of them."""


class PostgreSqlPair(Pair):
    """A state is a copy of both databases."""

    OPTIONS = {"settings": SETTINGS}

    def psql(self, side, text):
        """What psql prints as superuser, unaligned and without heads. The first error raises."""
        command = [REPOSITORY / "scripts" / "devdb.sh", "psql", "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1",
                   "-d", self.databases[side]]
        answer = subprocess.run(command, input=text, capture_output=True, text=True, encoding="utf-8", check=False)
        if answer.returncode != 0:
            raise RuntimeError(f"psql on {self.databases[side]}: {answer.stderr}")
        return answer.stdout.rstrip("\n")

    def fill(self, side, rows, kind):
        self.sql(side, f"call fill_work({rows}, '{side}', '{kind}')")

    def keep(self, state):
        for side, database in self.databases.items():
            self.owner_sql(side, "vacuum analyze", "checkpoint")
            self.server.copy(database, f"{database}_{state}")
        self.states.add(state)

    def restore(self, state):
        for database in self.databases.values():
            self.server.copy(f"{database}_{state}", database, SETTINGS)
        self.owner_sql("S", "checkpoint")

    def close(self):
        with self.server.owner() as owner:
            for database in self.databases.values():
                self.server.drop(*owner.column(f"select datname from pg_database where datname ~ '^{database}(_|$)'"))


class SqlServerPair(Pair):
    """A state is a copy of the tables that a run writes to, beside them."""

    NAME = "QuinmarkTest_{}_{}"
    _WRITTEN = ("work_guid", "work_number", "replication_control")

    def fill(self, side, rows, kind):
        self.sql(side, f"exec fill_work {rows}, '{side}', '{kind}'")

    def keep(self, state):
        for side in self.databases:
            self.sql(side, "".join(f"if object_id('{table}_{state}') is not null drop table {table}_{state};"
                                   f"select * into {table}_{state} from {table};" for table in self._WRITTEN))
        self.states.add(state)

    def restore(self, state):
        for side in self.databases:
            self.sql(side, "".join(f"truncate table {table}; insert into {table} select * from {table}_{state};"
                                   for table in self._WRITTEN))
            self.owner_sql(side, "exec sp_updatestats", "checkpoint")

    def close(self):
        self.server.drop(*self.databases.values())


def new_pair(name, *files):
    """A pair on the server of the environment."""
    return (PostgreSqlPair if is_postgresql() else SqlServerPair)(name, *files)
