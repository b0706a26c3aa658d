"""Pairs of databases for the benches, in states to which they can be brought back."""

import os
import pathlib
import subprocess

REPOSITORY = pathlib.Path(__file__).resolve().parents[1]
SQL = REPOSITORY / "database" / "postgres"
AS_LOGIN = "set session authorization quinmarkapp_user;\n"


def psql(database, sql, *arguments):
    """Runs SQL as superuser and returns what psql prints, unaligned and without heads. The first error raises."""
    command = [REPOSITORY / "scripts" / "devdb.sh", "psql", "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1",
               "-d", database, *arguments]
    answer = subprocess.run([str(word) for word in command], input=sql, capture_output=True, text=True,
                            encoding="utf-8", check=False)
    if answer.returncode != 0:
        raise RuntimeError(f"psql on {database}: {answer.stderr}")
    return answer.stdout.rstrip("\n")


class Pair:
    """Two databases with the practice's tables and those of `tables` (SQL), each seen from the other as the schema of
    its name. They are named NAME_office and NAME_laptop; the office's is the source, "S", the laptop's "D".
    """

    def __init__(self, name, tables):
        self._name = name
        self.close()
        self.databases = {"S": f"{name}_office", "D": f"{name}_laptop"}
        self.states = set()
        for database in self.databases.values():
            self._copy("template0", database)
            psql(database, "", "-f", SQL / "schema.sql")
            psql(database, AS_LOGIN + tables)
        for side, peer in (("S", "D"), ("D", "S")):
            psql(self.databases[side], "", "-v", f"peer={self.databases[peer]}",
                 "-v", f"password={os.environ['QUINMARK_PASSWORD']}", "-f", SQL / "75_peer_database.sql")

    def psql(self, side, sql):
        return psql(self.databases[side], sql)

    def prefix(self, side):
        """The prefix of this side's tables in a statement on either side."""
        return self.databases[side] + "."

    def dsn(self, side):
        """The data source, as `Factory.init` takes it."""
        name = os.environ["QUINMARK_OFFICE_DSN" if side == "S" else "QUINMARK_LAPTOP_DSN"]
        return f"{name};Database={self.databases[side]}"

    def keep(self, state):
        """Keeps both databases as they are."""
        for database in self.databases.values():
            psql(database, "vacuum analyze; checkpoint;")
            self._copy(database, f"{database}_{state}")
        self.states.add(state)

    def restore(self, state):
        """Restores the kept databases, and leaves the server nothing to do in the background."""
        for database in self.databases.values():
            self._copy(f"{database}_{state}", database)
        psql("postgres", "checkpoint;")

    def close(self):
        """Deletes the databases and all states of them."""
        for database in psql("postgres", f"select datname from pg_database where datname ~ '^{self._name}_';").split():
            psql("postgres", f"drop database {database} with (force);")

    @staticmethod
    def _copy(template, database):
        psql("postgres", f"drop database if exists {database} with (force);"
                         f"create database {database} template {template} strategy file_copy;")
        psql("postgres", "", "-v", f"db={database}", "-f", SQL / "06_database_settings.sql")
        # `not in` over a million keys has to stay a hash.
        psql("postgres", f"alter database {database} set work_mem = '512MB';")
