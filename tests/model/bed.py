"""The databases and the component that a case runs on."""

import datetime
import os
import subprocess
import sys

from dialect import DIALECT
from practice import BINARIES, RECORDS
from side import server_of
from tables import TABLES, parsed, plain, schema
from values import iso


class Databases:
    """A pair of databases, set to a state and read as one. Pairs of other numbers are apart from it."""

    def __init__(self, number):
        names = {side: name.format(number) for side, name in DIALECT.NAMES.items()}
        server = server_of()
        for name in names.values():
            server.create(name, *server.CONTROL_FILES, **DIALECT.OPTIONS)
            with server.login(name) as login:
                login.sql(schema())
        server.introduce(*names.values())
        self.prefixes = [server.prefix(name) for name in names.values()]
        self._sides = {side: DIALECT.opened(server, name) for side, name in names.items()}
        # As the server spells them.
        self.names = {side: database.value("select max(table_catalog) from information_schema.tables")
                      for side, database in self._sides.items()}
        # How far the server's clock is ahead of ours.
        self.clock = self._sides["source"].now() - datetime.datetime.now()

    def set(self, state, tables, site, last):
        """Fills the tables of the case and empties what a run writes besides; `last` ends the site's last run."""
        clear = "".join(f"delete from {name};" for name in (*tables, *RECORDS[:-1])) + f"""
            update replication_control set ready_f = 1, error_f = 0, error_message = null,
            last_timestamp = '{iso(last)}', next_timestamp = '2000-01-01' where unique_key = {site};"""
        for side, database in self._sides.items():
            database.sql(clear + "".join(
                database.insertion(name, [plain(TABLES[name], row) for row in state[side][name]]) for name in tables))

    def read(self, tables, site):
        """For each side its tables, and what the run recorded."""
        found = {}
        for side, database in self._sides.items():
            found[side] = DIALECT.read(database, tables, site) | {"key": database.has_patient_key()}
            for name in tables:
                found[side][name] = [parsed(TABLES[name], row) for row in found[side][name] or []]
        return found

    def has_patient_key(self):
        return {side: database.has_patient_key() for side, database in self._sides.items()}

    def data_sources(self):
        """Prefix and data source of either side."""
        variables = ("QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN")
        return [field for variable, prefix, name in zip(variables, self.prefixes, self.names.values())
                for field in (prefix, f"{os.environ[variable]};Database={name}")]


def _escape(text):
    return text.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n").replace("\r", "\\r")


def _unescape(text):
    codes = {"t": "\t", "n": "\n", "r": "\r", "\\": "\\"}
    pieces = iter(text)
    return "".join(codes[next(pieces)] if c == "\\" else c for c in pieces)


class Host:
    """The component in a process of its own, connected for one site and role. It ends when this process does."""

    def __init__(self, databases, site, role):
        self._process = subprocess.Popen(["wine", str(BINARIES / "model_host.exe")], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, stderr=sys.stderr)
        self.connect(databases, site, role)

    def connect(self, databases, site, role):
        """Connects, anew for another site or role."""
        if answer := self.ask("init", site, role, *databases.data_sources(), os.environ["QUINMARK_PASSWORD"], 4, "NUL"):
            raise RuntimeError(f"the component cannot be set up: {answer}")

    def ask(self, *fields):
        """The answer's lines, each as its fields."""
        line = "\t".join(_escape(str(field)) for field in fields) + "\n"
        self._process.stdin.write(line.encode())
        self._process.stdin.flush()
        answer = []
        while line := self._process.stdout.readline().decode():
            if line.rstrip("\r\n") == "done":
                return answer
            answer.append([_unescape(field) for field in line.rstrip("\r\n").split("\t")])
        raise RuntimeError(f"the host has ended during {fields}")
