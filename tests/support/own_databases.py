"""The practice on databases of a test's own."""

import importlib

from practice import Practice
from side import is_postgresql, wait_until


def _home(*arguments):
    if is_postgresql():
        return importlib.import_module("own_postgresql").OwnPostgreSql(*arguments)
    return importlib.import_module("own_sqlserver").OwnSqlServerPair(*arguments)


class OwnDatabases(Practice):
    """The practice on two databases that are made for it and go with it: on a PostgreSQL of their own, which may be
    killed, or on the SQL Server that all tests use. Its data sources are its own, since quinrep runs once for a data
    source on a machine. `password` is the login's; a SQL Server has the one that it has."""

    def __init__(self, tables, password=None):
        self.home = _home(password)
        super().__init__(tables, self.home.environment)

    def kill_session(self, choose):
        """Kills the server's side of a program's connection. A PostgreSQL then ends all others and comes back."""
        with self.server.owner() as owner:
            if sessions := owner.sessions(*self.home.databases):
                self.home.kill_session(owner, choose(sessions))

    def restore(self):
        """Waits until network and server are there, and no statement of a program is under way: statements go on after
        their client is gone.
        """
        for relay in self.relays.values():
            relay.heal()
        wait_until(lambda: self.office.is_up() or self.home.revive(), "the server comes back", 30)
        for side in self.sides.values():
            side.disconnect()
        with self.server.owner() as owner:
            wait_until(lambda: not owner.sessions(*self.home.databases), "the statements under way have ended", 30)

    def close(self):
        super().close()
        self.home.close()
