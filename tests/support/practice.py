"""The practice's two databases and quinrep between them, for tests that act as a person or a network does."""

import datetime
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from relay import LOCALHOST, Relay
from side import REPOSITORY, data_sources, server_of, skip_without_databases

BINARIES = pathlib.Path(os.environ.get("QUINMARK_BINARIES", REPOSITORY / "build" / "x86-release"))
QUINREP = BINARIES / "quinrep.exe"
LAST_RUN = datetime.datetime(2026, 3, 1, 18)
NEW = datetime.datetime(2026, 3, 2, 9)
RECORDS = ("replication_conflict_data", "replication_conflict", "replication_counts", "replication_control")
PASSWORD = "env:QUINMARK_PASSWORD"


def main():
    """Runs the tests of the calling program, or skips them where the databases are not told."""
    skip_without_databases()
    unittest.main()


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Practice:
    """Both databases as an environment names them, and quinrep between them with its files in a folder of their own.

    `tables` are the settings by table that quinrep gets, `passwords` those of source and destination.
    """

    def __init__(self, tables, environment=None):
        self.environment = dict(environment or os.environ)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quinrep-"))
        self.log = self.folder / "replication.log"
        self.tables = tables
        self.site = "offices"
        self.passwords = [PASSWORD, PASSWORD]
        self.dsns = {side: self.environment[f"QUINMARK_{side.upper()}_DSN"] for side in ("office", "laptop")}
        self.server = server_of(self.environment)
        self.sides = self.connections()
        self.office, self.laptop = self.sides.values()
        self.relays = {}

    def connections(self):
        """Both databases, through connections of their own that no relay is in front of."""
        sources = data_sources(self.environment)
        return {side: self.server.login(sources[dsn]["Database"]) for side, dsn in self.dsns.items()}

    def close(self):
        for relay in self.relays.values():
            relay.close()
        for side in self.sides.values():
            side.disconnect()
        shutil.rmtree(self.folder)

    def reset(self):
        """No rows in quinrep's tables, no records of runs, and sites that are ready since the last run."""
        for side in self.sides.values():
            self.clear(side)

    def clear(self, side, *tables):
        """`reset` for one side, which empties other tables too."""
        sites = [{"unique_key": site, "ready_f": True, "error_f": False, "last_timestamp": LAST_RUN,
                  "next_timestamp": LAST_RUN} for site in (0, 1)]
        side.sql("".join(f"delete from {table};" for table in (*reversed(tables), *self.tables, *RECORDS)) +
                 side.insertion("replication_control", sites))
        side.restore_patient_key()

    def control(self, columns):
        """Columns of the site's control record."""
        side, key = (self.office, 0) if self.site == "offices" else (self.laptop, 1)
        row, = side.sql(f"select {columns} from replication_control where unique_key = {key}")
        return row if len(row) > 1 else row[0]

    def relay(self, side):
        """Puts a relay between quinrep and a database."""
        self.relays[side] = Relay(self.server.host, int(self.server.port))
        self.set_odbc(side, Server=LOCALHOST, Port=self.relays[side].port)
        return self.relays[side]

    def set_odbc(self, side, **options):
        """Changes options of a side's data source, for quinrep alone."""
        sources = data_sources(self.environment)
        sources[self.dsns[side]].update({name: str(value) for name, value in options.items()})
        self.environment["ODBCINI"] = str(self.folder / "odbc.ini")
        with open(self.environment["ODBCINI"], "w", encoding="utf-8") as file:
            sources.write(file)

    def command(self, *arguments):
        """The command line of quinrep with a configuration of this practice."""
        file = self.folder / "quinrep.toml"
        file.write_text(self._configuration())
        return ["wine", str(QUINREP), "-c", str(file), *arguments]

    def start(self, *arguments, before=(), **options):
        """Starts quinrep. Its output goes to files: Wine's desktop holds on to a pipe for longer than quinrep lives.
        `before` is a program that gets quinrep's command line.
        """
        wine, *quinrep = self.command(*arguments)
        with open(self.folder / "out.txt", "w", encoding="utf-8") as out, \
                open(self.folder / "err.txt", "w", encoding="utf-8") as err:
            return subprocess.Popen([wine, *before, *quinrep], env=self.environment, cwd=self.folder, stdout=out,
                                    stderr=err, **{"stdin": subprocess.DEVNULL, **options})

    def said(self):
        """The output of quinrep so far: results and messages."""
        return [(self.folder / name).read_text(errors="replace") for name in ("out.txt", "err.txt")]

    def quinrep(self, *arguments, patience=300):
        """Runs quinrep; returns its subprocess.CompletedProcess."""
        with self.start(*arguments) as process:
            try:
                process.wait(patience)
            finally:
                process.kill()
        return subprocess.CompletedProcess(process.args, process.returncode, *self.said())

    def _configuration(self):
        sides = "".join(
            f"[{role}]\ndsn = '{dsn}'\nprefix = '{self.environment[f'QUINMARK_{side.upper()}_PREFIX']}'\n"
            f"password = '{password}'\n"
            for role, (side, dsn), password in zip(("source", "destination"), self.dsns.items(), self.passwords))
        tables = "".join(f"[[table]]\nname = '{name}'\n{settings}\n" for name, settings in self.tables.items())
        return (f"site = '{self.site}'\nlocal = '{'source' if self.site == 'offices' else 'destination'}'\n"
                f"program_version = 'laptop'\nfrequency = 600\nmax_delete = 100\n{sides}"
                f"[log]\nlevel = 1\nfile = '{self.log}'\n{tables}")
