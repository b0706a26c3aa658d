"""A SQL Server, as tests in Python talk to it."""

import contextlib
import re
import unittest
import uuid

import pymssql

from side import LOGIN, REPOSITORY, Side, data_sources, wait_until, with_variables

SQL_FILES = REPOSITORY / "database" / "sqlserver"
# The tests' own connections are known by their name.
APPLICATION = "tests"


class SqlServer:
    """The server of an environment, and databases on it."""

    FILES = tuple(sorted(file.name for file in SQL_FILES.glob("[1-7]*.sql")))
    CONTROL_FILES = tuple(name for name in FILES if name < "6")

    def __init__(self, environment):
        self._environment = environment
        source = data_sources(environment)[environment["QUINMARK_OFFICE_DSN"]]
        self.host, self.port = source["Server"], source.get("Port", "1433")

    def login(self, database):
        """A database, with the component's login."""
        return self._side(database, LOGIN, self._environment["QUINMARK_PASSWORD"])

    def owner(self, database="master"):
        """A database, as the administrator."""
        if not self._environment.get("QUINMARK_ADMIN"):
            raise unittest.SkipTest("needs an administrator's login in QUINMARK_ADMIN")
        return self._side(database, self._environment["QUINMARK_ADMIN"],
                          self._environment.get("QUINMARK_ADMIN_PASSWORD", ""))

    def _side(self, database, user, password):
        return SqlServerSide(server=self.host, port=self.port, user=user, password=password, database=database)

    @staticmethod
    def prefix(database):
        """The prefix of a database's tables in a statement on either side."""
        return f"{database}.dbo."

    def create(self, database, *files):
        """Makes a database anew that belongs to the component's login; runs files in it as that login."""
        with self.owner() as server:
            # A server makes one database at a time and refuses to begin another.
            server.sql("exec sp_getapplock 'QuinmarkTest', 'Exclusive', 'Session'")
            self.drop(database)
            try:
                server.run_files("00_database.sql", Database=database, Password=self._environment["QUINMARK_PASSWORD"])
            except pymssql.Error:
                # Where members of db_owner cannot be added the login may do everything, which a test server can bear.
                # It is no user of the database then.
                server.sql(f"use {database}; drop user if exists {LOGIN}; alter server role sysadmin add member {LOGIN}")
        with self.login(database) as login:
            login.run_files(*files)

    def introduce(self, *databases):
        """The prefixes of one server's databases are known on all connections."""

    def drop(self, *databases):
        with self.owner() as server:
            for database in databases:
                if server.value(f"select count(*) from sys.databases where name = '{database}'"):
                    server.end_sessions(database)
                    server.sql(f"drop database {database}")


class SqlServerSide(Side):
    """A database of SQL Server; `where` is pymssql's."""

    REFUSED = (pymssql.Error,)

    def __init__(self, **where):
        super().__init__()
        self._where = where

    def _connect(self):
        return pymssql.connect(**self._where, autocommit=True, appname=APPLICATION)

    def sql(self, statements):
        *_, (_, last) = [((), []), *self._results(statements)]
        return last

    def tables(self, *names):
        results = self._results("".join(f"select * from {name};" for name in names))
        return {name: [dict(zip(columns, row)) for row in rows] for name, (columns, rows) in zip(names, results)}

    def _results(self, statements):
        """The columns and rows of each result."""
        with self._connected().cursor() as cursor:
            cursor.execute(statements)
            results = []
            more = True
            while more:
                if cursor.description:
                    columns = [column[0] for column in cursor.description]
                    results.append((columns, [tuple(map(_plain, row)) for row in cursor.fetchall()]))
                more = cursor.nextset()
            return results

    def run_files(self, *names, **variables):
        """They are written for sqlcmd: `go` ends a batch, $(NAME) is a variable."""
        for name in names:
            text = with_variables((SQL_FILES / name).read_text(), variables)
            for batch in re.split(r"^go\s*$", text, flags=re.MULTILINE | re.IGNORECASE):
                if batch.strip():
                    self.sql(batch)

    @staticmethod
    def insertion(table, rows):
        # A backslash takes the line end after it out of a literal.
        return re.sub(r"\\(?=\r?\n)", r"\\'+'", Side.insertion(table, rows))

    def said(self, error):
        return said(error)

    @contextlib.contextmanager
    def transaction(self, statement):
        with pymssql.connect(**self._where, appname=APPLICATION) as connection:
            with connection.cursor() as cursor:
                cursor.execute(statement)
            yield
            connection.commit()

    def may(self, statement):
        with contextlib.suppress(*self.REFUSED):
            self.sql(f"set lock_timeout 100; {statement}; set lock_timeout -1")
            return True
        self.sql("set lock_timeout -1")
        return False

    def sessions(self, *databases):
        return self._sessions(databases, f"program_name <> '{APPLICATION}'")

    def _sessions(self, databases, condition):
        names = ", ".join(f"db_id('{database}')" for database in databases)
        return self.column(f"select session_id from sys.dm_exec_sessions where database_id in ({names})"
                           f" and session_id <> @@spid and {condition} order by login_time, session_id")

    def end_sessions(self, database):
        """Ends all connections to a database."""
        def own_and_others():
            return self._sessions([database], "1 = 1")
        for session in own_and_others():
            with contextlib.suppress(*self.REFUSED):
                self.sql(f"kill {session}")
        wait_until(lambda: not own_and_others(), f"nobody uses {database}")


def _plain(value):
    return str(value) if isinstance(value, uuid.UUID) else value


def said(error):
    """The message in an exception of the driver: the server's own, or the first of the driver, without their numbers."""
    text = error.args[-1]
    if isinstance(text, tuple):
        text = text[-1]
    if isinstance(text, bytes):
        text = text.decode()
    own, _, drivers = str(text).partition("DB-Lib error message")
    return own or drivers.splitlines()[1]
