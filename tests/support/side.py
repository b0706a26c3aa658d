"""One database of the test bed: the one place where tests in Python talk to a server."""

import abc
import configparser
import contextlib
import datetime
import importlib
import os
import pathlib
import re
import sys
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
SETTINGS = ["QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN", "QUINMARK_PASSWORD", "QUINMARK_OFFICE_PREFIX",
            "QUINMARK_LAPTOP_PREFIX", "ODBCINI", "ODBCSYSINI"]
LOGIN = "quinmarkapp_user"
PATIENCE = 60


def skip(reason, required):
    """Ends the program as one whose tests cannot be run here, or as failed where they must be."""
    print(f"{'FAILED' if required else 'SKIPPED'}: {reason}")
    sys.exit(1 if required else 77)


def is_postgresql(environment=None):
    """PostgreSQL, unless QUINMARK_SERVER says "sqlserver"."""
    return (environment or os.environ).get("QUINMARK_SERVER") != "sqlserver"


def server_of(environment=None):
    """The server of an environment: a PostgreSql or a SqlServer."""
    environment = environment or os.environ
    if is_postgresql(environment):
        return _module("postgresql", "psycopg2").PostgreSql(environment)
    return _module("sqlserver", "pymssql").SqlServer(environment)


def _module(name, driver):
    try:
        return importlib.import_module(name)
    except ImportError as error:
        if error.name != driver:
            raise
        return skip(f"python3-{driver} is missing; run scripts/install-deps.sh --tests",
                    os.environ.get("QUINMARK_REQUIRE_TOOLS") == "1")


def skip_without_databases():
    """Skips the program where the practice's databases are not told."""
    if missing := [name for name in SETTINGS if not os.environ.get(name)]:
        skip(f"{missing} are not set", os.environ.get("QUINMARK_REQUIRE_DATABASE") == "1")


def skip_without_postgresql():
    """Skips the program where the databases are not those of the private PostgreSQL."""
    skip_without_databases()
    if not is_postgresql():
        skip("the private PostgreSQL is not used", False)


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


def literal(value):
    """A value in SQL, as both servers read it."""
    if value is None:
        return "null"
    if isinstance(value, bool):
        return str(int(value))
    if isinstance(value, (int, float)):
        return repr(value)
    if isinstance(value, datetime.datetime):
        value = value.isoformat(timespec="milliseconds")
    return "'" + str(value).replace("'", "''") + "'"


def with_variables(sql, variables):
    """SQL with the values of its variables, $(NAME), as sqlcmd puts them in."""
    return re.sub(r"\$\((\w+)\)", lambda found: str(variables[found[1]]), sql)


class Side(abc.ABC):
    """One database, through a connection of the test's own that is made when it is needed."""

    REFUSED = ()  # the exceptions of the server's driver

    def __init__(self):
        self._connection = None

    @staticmethod
    def of(dsn, environment=None):
        """The database that a data source names, with the component's login."""
        environment = environment or os.environ
        return server_of(environment).login(data_sources(environment)[dsn]["Database"])

    @abc.abstractmethod
    def _connect(self):
        """A connection of the driver; statements on it commit by themselves."""

    def _connected(self):
        if not self._connection:
            self._connection = self._connect()
        return self._connection

    def disconnect(self):
        if self._connection:
            with contextlib.suppress(self.REFUSED):
                self._connection.close()
        self._connection = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.disconnect()

    def is_up(self):
        """Whether the server takes connections."""
        with contextlib.suppress(self.REFUSED):
            self.disconnect()
            return bool(self._connected())
        return False

    @abc.abstractmethod
    def sql(self, statements):
        """Runs statements; the rows that the last of them gives."""

    def refusal(self, statements):
        """The server's message where it refuses statements; else None."""
        try:
            self.sql(statements)
        except self.REFUSED as error:
            return self.said(error)
        return None

    def said(self, error):
        """The server's own message in an exception of the driver."""
        return str(error)

    def column(self, query):
        return [value for value, in self.sql(query)]

    def value(self, query):
        value, = self.column(query)
        return value

    def now(self):
        """The server's clock."""
        return self.value("select getdate()")

    def table_names(self):
        # PostgreSQL has them in a schema of the database's name.
        return sorted(self.column("select table_name from information_schema.tables where table_type = 'BASE TABLE'"
                                  " and table_schema in (table_catalog, 'dbo')"))

    @abc.abstractmethod
    def tables(self, *names):
        """All rows of each table by its name, each row as its values by column, in the order in which the server lists
        them. A GUID is a text in lower case."""

    @staticmethod
    def insertion(table, rows):
        """The statements that insert rows, each given as its values by column. A SQL Server takes 1000 in one."""
        parts = [rows[begin:begin + 1000] for begin in range(0, len(rows), 1000)]
        return "".join(f"insert into {table} ({', '.join(rows[0])}) values " +
                       ", ".join(f"({', '.join(map(literal, row.values()))})" for row in part) + ";" for part in parts)

    def has_patient_key(self):
        return self.value("select count(*) from information_schema.table_constraints"
                          " where lower(constraint_name) = 'fk_patient_dentist'") == 1

    def restore_patient_key(self):
        if not self.has_patient_key():
            self.sql("alter table patient add constraint FK_patient_dentist foreign key (dc_id, dentist_id)"
                     " references dentist (dc_id, dentist_id)")

    @abc.abstractmethod
    def run_files(self, *names, **variables):
        """Runs files of the server's folder of database/."""

    @abc.abstractmethod
    def transaction(self, statement):
        """A context: runs a statement on a connection of its own, in a transaction that is committed at the end."""

    @abc.abstractmethod
    def may(self, statement):
        """Whether a statement goes past the locks that others hold."""

    @abc.abstractmethod
    def sessions(self, *databases):
        """Those that others than the tests have with these databases, the oldest first; an owner sees them."""
