"""One database of the test bed: the one place where tests in Python talk to a server."""

import configparser
import contextlib
import os
import pathlib
import subprocess
import sys
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
SQL_FILES = REPOSITORY / "database" / "postgres"
SETTINGS = ["QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN", "QUINMARK_PASSWORD", "QUINMARK_OFFICE_PREFIX",
            "QUINMARK_LAPTOP_PREFIX", "ODBCINI", "ODBCSYSINI"]
PATIENCE = 20
# The tests' own connections are known by their name.
APPLICATION = "tests"
OTHERS = f"backend_type = 'client backend' and application_name <> '{APPLICATION}'"


def skip(reason, required):
    """Ends the program as one whose tests cannot be run here, or as failed where they must be."""
    print(f"{'FAILED' if required else 'SKIPPED'}: {reason}")
    sys.exit(1 if required else 77)


try:
    import psycopg2
except ImportError:
    skip("python3-psycopg2 is missing; run scripts/install-deps.sh --tests",
         os.environ.get("QUINMARK_REQUIRE_TOOLS") == "1")


def skip_without_databases():
    """Skips the program where the private PostgreSQL is not used."""
    if os.environ.get("QUINMARK_SERVER") == "sqlserver":
        skip("the private PostgreSQL is not used", False)
    if missing := [name for name in SETTINGS if not os.environ.get(name)]:
        skip(f"{missing} are not set", os.environ.get("QUINMARK_REQUIRE_DATABASE") == "1")


def wait_until(condition, what, patience=PATIENCE):
    """The condition's value once it is true; fails when it does not become so."""
    end = time.monotonic() + patience
    while not (value := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"waited {patience} s in vain until {what}")
        time.sleep(0.01)
    return value


def data_sources(environment):
    """The ODBC data sources of an environment."""
    sources = configparser.ConfigParser(interpolation=None)
    sources.optionxform = str
    sources.read(environment["ODBCINI"])
    return sources


class Side:
    """One database, through a connection of the test's own that is made when it is needed."""

    def __init__(self, **where):
        self._where = {"host": "127.0.0.1", "application_name": APPLICATION, **where}
        self._connection = None

    @classmethod
    def of(cls, dsn, environment):
        """The database that a data source names, with its login."""
        settings = data_sources(environment)[dsn]
        return cls(port=settings["Port"], dbname=settings["Database"], user=settings["Username"],
                   password=environment["QUINMARK_PASSWORD"])

    @classmethod
    def owned(cls, database, environment):
        """A database on the environment's server, as the server's owner."""
        state = pathlib.Path(environment["ODBCSYSINI"])
        return cls(port=(state / "port").read_text().strip(), dbname=database, user="postgres",
                   passfile=str(state / "pgpass"))

    def _connected(self):
        if not self._connection or self._connection.closed:
            self._connection = psycopg2.connect(**self._where)
            self._connection.autocommit = True
        return self._connection

    def disconnect(self):
        if self._connection:
            self._connection.close()

    def is_up(self):
        """Whether the server takes connections."""
        with contextlib.suppress(psycopg2.OperationalError):
            self.disconnect()
            return bool(self._connected())
        return False

    def sql(self, statements, values=None):
        """Runs statements as one transaction; the rows that the last of them gives. `values` are for their %s."""
        with self._connected().cursor() as cursor:
            cursor.execute(statements, values)
            return cursor.fetchall() if cursor.description else []

    def column(self, query):
        return [value for value, in self.sql(query)]

    def value(self, query):
        value, = self.column(query)
        return value

    def insertion(self, table, rows):
        """The statement that inserts rows, each given as its values by column."""
        if not rows:
            return ""
        marks = f"({', '.join(['%s'] * len(rows[0]))})"
        with self._connected().cursor() as cursor:
            values = ", ".join(cursor.mogrify(marks, tuple(row.values())).decode() for row in rows)
        return f"insert into {table} ({', '.join(rows[0])}) values {values};"

    def run_files(self, *names, login=None, **variables):
        """Runs files of database/postgres, which are written for psql; as another login if told."""
        command = ["psql", "-X", "-q", "-o", "/dev/null", "-v", "ON_ERROR_STOP=1"]
        if login:
            command += ["-c", f"set session authorization {login}"]
        for name in names:
            command += ["-f", SQL_FILES / name]
        for option, key in (("-h", "host"), ("-p", "port"), ("-U", "user"), ("-d", "dbname")):
            command += [option, self._where[key]]
        for variable, value in variables.items():
            command += ["-v", f"{variable}={value}"]
        subprocess.run(command, check=True, env={**os.environ, "PGPASSFILE": self._where["passfile"],
                                                 "PGOPTIONS": "-c client_min_messages=warning"})

    @contextlib.contextmanager
    def transaction(self, statement):
        """Runs a statement on a connection of its own, in a transaction that is committed at the end."""
        with contextlib.closing(psycopg2.connect(**self._where)) as connection:
            with connection, connection.cursor() as cursor:
                cursor.execute(statement)
                yield

    def locked(self, table, mode="exclusive"):
        """Makes everybody else who writes to a table wait; with "access exclusive" also those who read it."""
        return self.transaction(f"lock table {table} in {mode} mode")

    def wait_for_waiter(self):
        """Waits until somebody waits for a lock."""
        waiting = "select count(*) from pg_locks where not granted and database = " \
                  "(select oid from pg_database where datname = current_database())"
        wait_until(lambda: self.value(waiting), "somebody waits for a lock")

    def end_waiters(self):
        """Ends the statements that wait for a lock, which the server does not do when their client is gone."""
        self.sql("select pg_terminate_backend(pid, 5000) from pg_locks where not granted and pid <> pg_backend_pid()")
