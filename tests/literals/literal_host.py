"""The place where literals are tried: a database of their own, and a Wine prefix of their own for regional settings."""

import os
import subprocess

from practice import BINARIES
from logins import LoginHere
from rows import COLUMNS, ROUTINE_COLUMNS
from side import server_of
from wine_prefix import Prefix

LOG = "literals.log"
TABLES = {"source": COLUMNS, "inserted": COLUMNS, "updated": COLUMNS, "routines": ROUTINE_COLUMNS}


class LiteralDatabase:
    """Source rows, and the tables into which the host copies them."""

    def __init__(self):
        self._server = server_of()
        self._server.create(LoginHere.DATABASE)
        self._side = self._server.login(LoginHere.DATABASE)
        for table, columns in TABLES.items():
            declared = ", ".join(f"{name} {LoginHere.TYPES.get(kind, kind)}" for name, kind in columns.items())
            self._side.sql(f"create table literal_{table} (unid int primary key, {declared})")

    def pairs(self):
        """Regional settings, each with a login of this server."""
        return LoginHere.pairs(self._side)

    def fill(self, rows):
        """The source's rows by their keys, with values as the server holds them."""
        self._side.sql("".join(f"truncate table literal_{table};" for table in TABLES) +
                       self._side.insertion("literal_source", [{"unid": key, **row} for key, row in enumerate(rows)]) +
                       # Marked, so that an update to Null is seen.
                       "insert into literal_updated (unid, t) select unid, 'former' from literal_source")
        source = self.read("source")
        if [source[key]["t"] for key in range(len(rows))] != [row["t"] for row in rows]:
            raise RuntimeError("the source has other texts than were inserted")
        return source

    def read(self, table):
        """The rows of a table by their keys."""
        return {key: dict(zip(TABLES[table], values))
                for key, *values in self._side.sql(f"select * from literal_{table}")}

    def close(self):
        self._side.disconnect()
        self._server.drop(LoginHere.DATABASE)


class RegionalPrefix(Prefix):
    """The host's Wine prefix, of a user with other regional settings."""

    def __init__(self):
        super().__init__()
        self.register(BINARIES / "adodb.dll")
        self._region = None

    def use(self, region):
        if region is self._region:
            return
        self._region = region
        file = self.path / "region.reg"
        file.write_text(region.registry(), encoding="utf-16")
        self.run("wine", "regedit", "/S", file.name, cwd=self.path)

    def take_log(self):
        """The log's lines so far, which is then gone."""
        log = self.path / LOG
        lines = log.read_text(encoding="cp1252").splitlines()
        log.unlink()
        return lines


def copy_rows(prefix, login):
    """Runs the host over all rows; the statements that were refused, as (key, table), with their errors."""
    dsn = f"{os.environ['QUINMARK_OFFICE_DSN']};Database={LoginHere.DATABASE};{login.option}"
    # To a file: Wine's desktop holds on to a pipe for longer than the host lives.
    output = prefix.path / "host.txt"
    with output.open("wb") as file:
        run = subprocess.run(["wine", BINARIES / "literal_host.exe", dsn, os.environ["QUINMARK_PASSWORD"], LOG],
                             env=prefix.environment, cwd=prefix.path, stdout=file, stderr=subprocess.STDOUT,
                             timeout=600, check=False)
    lines = output.read_bytes().decode().replace("\r\n", "\n").split("\n")[:-1]
    if run.returncode or lines[-1:] != ["done"]:
        raise RuntimeError(f"the host has ended with {run.returncode}: {lines[-2:]}")
    refused = {}
    for line in lines[:-1]:
        key, table, number, text = line.split("\t")
        refused[int(key), table] = f"{int(number):#x} {text}"
    return refused
