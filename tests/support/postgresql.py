"""The private PostgreSQL of scripts/devdb.sh, as tests in Python talk to it."""

import contextlib
import os
import pathlib
import subprocess

import psycopg2

from side import LOGIN, REPOSITORY, Side, literal

SQL_FILES = REPOSITORY / "database" / "postgres"
PEER_FILE = "75_peer_database.sql"
# The tests' own connections are known by their name.
APPLICATION = "tests"


class PostgreSql:
    """The server of an environment, and databases on it."""

    FILES = tuple(sorted(file.name for file in SQL_FILES.glob("[1-7]*.sql") if file.name != PEER_FILE))
    CONTROL_FILES = tuple(name for name in FILES if name < "6")

    def __init__(self, environment):
        self._environment = environment
        self._state = pathlib.Path(environment["ODBCSYSINI"])
        self.host = "127.0.0.1"
        self.port = (self._state / "port").read_text().strip()

    def login(self, database):
        """A database, with the component's login."""
        return PostgreSqlSide(port=self.port, dbname=database, user=LOGIN,
                              password=self._environment["QUINMARK_PASSWORD"])

    def owner(self, database="postgres"):
        """A database, as the server's owner."""
        return PostgreSqlSide(port=self.port, dbname=database, user="postgres", passfile=str(self._state / "pgpass"))

    @staticmethod
    def prefix(database):
        """The prefix of a database's tables in a statement on either side."""
        return f"{database}."

    def create(self, database, *files, settings=()):
        """Makes a database anew that belongs to the component's login; runs files in it as that login. Its tables are
        in a schema of its own name. `settings` are those of later connections."""
        self.copy("template0", database, settings)
        with self.owner(database) as owner:
            owner.run_files("00_server_compat.sql")
            owner.sql(f"create schema {database} authorization {LOGIN}")
            owner.run_files(*files, login=LOGIN)

    def copy(self, template, database, settings=()):
        """Makes a database anew as a copy of another one."""
        self.drop(database)
        with self.owner() as server:
            server.sql(f"create database {database} template {template} strategy file_copy")
            for setting in (f"search_path = {database}, dbo, public", "datestyle = 'ISO, MDY'", *settings):
                server.sql(f"alter database {database} set {setting}")

    def introduce(self, *databases):
        """Makes the tables of two databases known to each other under their prefixes."""
        for database, peer in zip(databases, reversed(databases)):
            with self.owner(database) as owner:
                owner.run_files(PEER_FILE, peer=peer, password=self._environment["QUINMARK_PASSWORD"])

    def drop(self, *databases):
        with self.owner() as server:
            for database in databases:
                server.sql(f"drop database if exists {database} with (force)")


class PostgreSqlSide(Side):
    """A database of PostgreSQL; `where` is psycopg2's."""

    REFUSED = (psycopg2.Error,)

    def __init__(self, **where):
        super().__init__()
        self._where = {"host": "127.0.0.1", "application_name": APPLICATION, **where}

    def _connect(self):
        connection = psycopg2.connect(**self._where)
        connection.autocommit = True
        return connection

    def _connected(self):
        if self._connection and self._connection.closed:
            self._connection = None
        return super()._connected()

    def sql(self, statements):
        with self._connected().cursor() as cursor:
            cursor.execute(statements)
            return cursor.fetchall() if cursor.description else []

    def tables(self, *names):
        found = {}
        for name in names:
            with self._connected().cursor() as cursor:
                cursor.execute(f"select * from {name}")
                columns = [column.name for column in cursor.description]
                found[name] = [dict(zip(columns, row)) for row in cursor]
        return found

    def run_files(self, *names, login=None, **variables):
        """They are written for psql; run as another login if told."""
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
        with contextlib.closing(psycopg2.connect(**self._where)) as connection:
            with connection, connection.cursor() as cursor:
                cursor.execute(statement)
                yield

    def may(self, statement):
        with contextlib.suppress(*self.REFUSED):
            self.sql(f"set lock_timeout = 100; {statement}; reset lock_timeout")
            return True
        self.sql("reset lock_timeout")
        return False

    def sessions(self, *databases):
        return self.column(f"""select pid from pg_stat_activity where datname in ({', '.join(map(literal, databases))})
            and backend_type = 'client backend' and application_name <> '{APPLICATION}' order by backend_start, pid""")
