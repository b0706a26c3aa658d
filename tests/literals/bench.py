"""Where literals are tried: a database of their own, and a Wine prefix of their own for the regional settings."""

import os
import subprocess

import bed
from rows import COLUMNS, decode, exact, literal
from wine_prefix import Prefix

DATABASE = "literals"
LOG = "literals.log"
ROUTINE_COLUMNS = {"q": "t", "l": "t", "r": "t", "w": "t", "n": "i", "d": "d"}
ROW_COLUMNS = {name: name for name in COLUMNS}
TABLES = {"source": ROW_COLUMNS, "inserted": ROW_COLUMNS, "updated": ROW_COLUMNS, "routines": ROUTINE_COLUMNS}
ADODB = bed.REPOSITORY / "build" / "x86-release" / "adodb.dll"


def _create_statements():
    columns = ", ".join(f"{name} {kind}" for name, kind in COLUMNS.items())
    routines = "q varchar(8000), l varchar(8000), r varchar(8000), w varchar(8000), n int, d timestamp(3)"
    for table in TABLES:
        yield f"create table literal_{table} (unid int primary key, {routines if table == 'routines' else columns});"
        yield f"grant all on literal_{table} to quinmarkapp_user;"


class Database:
    def __init__(self):
        server = bed.Psql("postgres")
        server.run(f"drop database if exists {DATABASE} with (force);")
        server.run(f"create database {DATABASE} template template0;")
        self._server = server
        self._psql = bed.Psql(DATABASE)
        self._psql.run(f"\\i {bed.SQL / '00_server_compat.sql'}")
        for statement in _create_statements():
            self._psql.run(statement)

    def read_dates_as(self, order):
        """For connections from now on."""
        self._server.run(f"alter database {DATABASE} set datestyle = 'ISO, {order}';")

    def fill(self, rows):
        sql = "begin;\n" + "".join(f"truncate literal_{table};\n" for table in TABLES)
        for key, row in enumerate(rows):
            values = ", ".join(literal(name, value) for name, value in row.items())
            sql += f"insert into literal_source values ({key}, {values});\n"
        # Marked, so that an update to Null is seen.
        sql += "insert into literal_updated (unid, t) select unid, 'former' from literal_source;\ncommit;"
        self._psql.run(sql)

    def read(self, table):
        """The rows of a table by their keys."""
        columns = TABLES[table]
        fields = ", ".join(f"coalesce({exact(name, kind)}, '-')" for name, kind in columns.items())
        result = {}
        for line in self._psql.run(f"select unid, {fields} from literal_{table};").splitlines():
            key, *texts = line.split("|")
            result[int(key)] = {name: decode(kind, None if text == "-" else text)
                                for (name, kind), text in zip(columns.items(), texts)}
        return result

    def close(self):
        self._psql.close()
        self._server.run(f"drop database {DATABASE} with (force);")
        self._server.close()


class RegionalPrefix(Prefix):
    """Where the host runs, as a user with other regional settings."""

    def __init__(self):
        super().__init__()
        self.register(ADODB)

    def use(self, region):
        file = self.path / "region.reg"
        file.write_text(region.registry(), encoding="utf-16")
        self.run("wine", "regedit", "/S", file.name, cwd=self.path)

    def take_log(self):
        """The log's lines so far, which is then gone."""
        log = self.path / LOG
        lines = log.read_text(encoding="cp1252").splitlines()
        log.unlink()
        return lines


def copy_rows(host, prefix):
    """Runs the host over all rows; the statements that were refused, as (key, table), with their errors."""
    dsn = f"{os.environ['QUINMARK_OFFICE_DSN']};Database={DATABASE}"
    run = subprocess.run(["wine", str(host), dsn, os.environ["QUINMARK_PASSWORD"], LOG], env=prefix.environment,
                         cwd=prefix.path, capture_output=True, timeout=600, check=False)
    lines = run.stdout.decode().replace("\r\n", "\n").split("\n")[:-1]
    if run.returncode or lines[-1:] != ["done"]:
        raise RuntimeError(f"the host has ended with {run.returncode}: {run.stderr.decode()} {lines[-2:]}")
    refused = {}
    for line in lines[:-1]:
        key, table, number, text = line.split("\t")
        refused[int(key), table] = f"{int(number):#x} {text}"
    return refused
