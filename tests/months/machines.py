"""The office and its laptops, each with databases and a clock of its own: schemas of one database, as the databases of
one SQL Server are."""

import os

from bed import Host
from dialect import DIALECT
from practice import RECORDS
from side import LOGIN, server_of
from tables import TABLES, parsed, schema
from values import iso

OFFICE = "office"
LAPTOPS = ("laptop1", "laptop2", "laptop3")
MACHINES = (OFFICE, *LAPTOPS)
CLOCK = """create table clock (now timestamp(3)); insert into clock values ('2025-03-01');
    create function getdate() returns timestamp(3) stable language sql return (select now from clock);"""


class Machines:
    """All machines; those of other numbers are apart from them."""

    def __init__(self, number):
        self.database = f"months_{number}"
        server = server_of()
        server.create(self.database, **DIALECT.OPTIONS)
        for machine in MACHINES:
            self._make(server, machine)
        self._hosts = {}
        self._logins = {machine: self._login(server, machine) for machine in MACHINES}

    def _make(self, server, machine):
        with server.owner() as owner:
            owner.sql(f"alter database {self.database} set search_path = {machine}, dbo, public")
        with server.owner(self.database) as owner:
            owner.sql(f"create schema {machine} authorization {LOGIN}")
            owner.run_files(*server.CONTROL_FILES, login=LOGIN)
        with server.login(self.database) as login:
            login.sql(schema() + CLOCK)

    def _login(self, server, machine):
        login = server.login(self.database)
        login.sql(f"set search_path = {machine}, dbo, public")
        return login

    def sql(self, statements):
        """Statements that name each table's machine."""
        self._logins[OFFICE].sql(statements)

    def empty(self, tables, begin):
        """No rows and no records of runs; sites that ran last at `begin`."""
        self.sql("".join(f"""delete from {machine}.{name};""" for machine in MACHINES
                         for name in (*tables, *RECORDS[:-1])) + "".join(
            f"""update {machine}.replication_control set ready_f = 1, error_f = 0, error_message = null,
            last_timestamp = '{iso(begin)}', next_timestamp = '2000-01-01';""" for machine in MACHINES))

    def read(self, machine, tables, site):
        """The machine's tables, and what runs recorded there."""
        login = self._logins[machine]
        state = DIALECT.read(login, tables, site)
        state["key"] = login.value("select count(*) from pg_constraint"
                                   " where conrelid = 'patient'::regclass and contype = 'f'") == 1
        for name in tables:
            state[name] = [parsed(TABLES[name], row) for row in state[name] or []]
        return state

    def pair(self, laptop):
        return Pairing(self, laptop)

    def host(self, laptop, *place):
        """The component in a process of the laptop's, connected for this site and role. There is not one process for
        each of these, since the server takes a hundred connections."""
        host, where = self._hosts.get(laptop, (None, None))
        if not host:
            host = Host(self.pair(laptop), *place)
        elif where != place:
            host.connect(self.pair(laptop), *place)
        self._hosts[laptop] = host, place
        return host


class Pairing:
    """The office's database as the source and a laptop's as the destination."""

    def __init__(self, machines, laptop):
        self._machines = machines
        self._sides = {"source": OFFICE, "destination": laptop}
        self.names = dict.fromkeys(self._sides, machines.database)

    def read(self, tables, site):
        return {side: self._machines.read(machine, tables, site) for side, machine in self._sides.items()}

    def data_sources(self):
        dsn = f"{os.environ['QUINMARK_OFFICE_DSN']};Database={self._machines.database};ConnSettings=set+search_path%3d"
        return [field for machine in self._sides.values()
                for field in (f"{machine}.", f"{dsn}{machine}%2cdbo%2cpublic")]
