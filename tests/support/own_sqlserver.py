"""A pair of databases of a test's own on the SQL Server that all tests use."""

import os
import pathlib
import secrets
import shutil
import tempfile

from side import data_sources, skip
from sqlserver import SqlServer


class OwnSqlServerPair:
    """Databases and data sources of one name, which no other test has."""

    def __init__(self, _password=None):
        if not os.environ.get("QUINMARK_ADMIN"):
            skip("databases of its own need an administrator's login in QUINMARK_ADMIN", False)
        self._server = SqlServer(os.environ)
        mark = secrets.token_hex(4)
        self.databases = [f"QuinmarkTest{mark}{side}" for side in ("Office", "Laptop")]
        self._folder = pathlib.Path(tempfile.mkdtemp(prefix="quinmark-"))
        self.environment = self._make()

    def _make(self):
        """The environment of programs that use the pair."""
        settings = dict(os.environ)
        sources = data_sources(settings)
        for name, side in zip(self.databases, ("OFFICE", "LAPTOP")):
            self._server.create(name, *SqlServer.FILES)
            sources[name] = {**sources[settings[f"QUINMARK_{side}_DSN"]], "Database": name}
            settings[f"QUINMARK_{side}_DSN"] = name
            settings[f"QUINMARK_{side}_PREFIX"] = SqlServer.prefix(name)
        settings["ODBCINI"] = str(self._folder / "odbc.ini")
        with open(settings["ODBCINI"], "w", encoding="utf-8") as file:
            sources.write(file)
        return settings

    @staticmethod
    def kill_session(owner, session):
        owner.sql(f"kill {session}")

    @staticmethod
    def revive():
        """The server is everybody's and stays up."""
        return False

    def close(self):
        self._server.drop(*self.databases)
        shutil.rmtree(self._folder)
