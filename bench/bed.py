"""Where the benches run: pairs of databases, their states, and the programs that work on them."""

import os
import pathlib
import subprocess

from measure import measure

REPOSITORY = pathlib.Path(__file__).resolve().parents[1]
SQL = REPOSITORY / "database" / "postgres"
LOGIN = "quinmarkapp_user"


def psql(database, sql, *arguments):
    """What psql prints as superuser, unaligned and without heads. Stops at the first error and raises."""
    command = [REPOSITORY / "scripts" / "devdb.sh", "psql", "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1",
               "-d", database, *arguments]
    answer = subprocess.run([str(word) for word in command], input=sql, capture_output=True, text=True,
                            encoding="utf-8", check=False)
    if answer.returncode != 0:
        raise RuntimeError(f"psql on {database}: {answer.stderr}")
    return answer.stdout.rstrip("\n")


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Pair:
    """Two databases with the practice's tables and those of `tables` (SQL), each seen from the other as the schema of
    its name. They are named NAME_office and NAME_laptop; the office's is the source, "S", the laptop's "D".
    """

    def __init__(self, name, tables):
        self.databases = {"S": f"{name}_office", "D": f"{name}_laptop"}
        self._states = set()
        for side in self.databases:
            self._create(side, "template0")
            self._run(side, tables)
        for side, peer in (("S", "D"), ("D", "S")):
            psql(self.databases[side], "", "-v", f"peer={self.databases[peer]}",
                 "-v", f"password={os.environ['QUINMARK_PASSWORD']}", "-f", SQL / "75_peer_database.sql")

    def psql(self, side, sql):
        return psql(self.databases[side], sql)

    def prefix(self, side):
        """What a statement on the other side puts in front of this side's tables, and on its own side too."""
        return self.databases[side] + "."

    def dsn(self, side):
        """The data source, as `Factory.init` takes it."""
        name = os.environ["QUINMARK_OFFICE_DSN" if side == "S" else "QUINMARK_LAPTOP_DSN"]
        return f"{name};Database={self.databases[side]}"

    def save(self, state):
        """Keeps both databases as they are."""
        for database in self.databases.values():
            psql(database, "vacuum analyze; checkpoint;")
            psql("postgres", f"drop database if exists {database}_{state} with (force);")
            self._copy(database, f"{database}_{state}")
        self._states.add(state)

    def restore(self, state):
        """Back to what `save` kept, with nothing left for the server to do in the background."""
        for side, database in self.databases.items():
            psql("postgres", f"drop database if exists {database} with (force);")
            self._copy(f"{database}_{state}", database)
            self._configure(side)
        psql("postgres", "checkpoint;")

    def forget(self, *states):
        """Deletes what was saved; all of it, and the pair too, when no state is named."""
        gone = [f"{database}_{state}" for state in states or self._states for database in self.databases.values()]
        for database in gone if states else [*gone, *self.databases.values()]:
            psql("postgres", f"drop database if exists {database} with (force);")
        self._states.difference_update(states or set(self._states))

    @staticmethod
    def _copy(template, database):
        psql("postgres", f"create database {database} template {template} strategy file_copy;")

    def _configure(self, side):
        database = self.databases[side]
        psql("postgres", "", "-v", f"db={database}", "-f", SQL / "06_database_settings.sql")
        # `not in` over a million keys has to stay a hash.
        psql("postgres", f"alter database {database} set work_mem = '512MB';")

    def _create(self, side, template):
        database = self.databases[side]
        psql("postgres", f"drop database if exists {database} with (force);")
        self._copy(template, database)
        self._configure(side)
        psql(database, "", "-f", SQL / "schema.sql")

    def _run(self, side, sql):
        psql(self.databases[side], f"set session authorization {LOGIN};\n{sql}")


class Bed:
    """The built programs, and a directory for what the benches leave."""

    def __init__(self, binaries, work):
        self.binaries = pathlib.Path(binaries)
        self.work = pathlib.Path(work)
        self.work.mkdir(parents=True, exist_ok=True)

    def program(self, name):
        """The words that start a built program."""
        return ["wine", self.binaries / f"{name}.exe"]

    @staticmethod
    def pair(name, tables):
        return Pair(name, tables)

    @staticmethod
    def measure(argv, env=None):
        return measure(argv, env)
