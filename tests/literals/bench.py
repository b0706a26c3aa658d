"""Where literals are tried: a database of their own, and a Wine prefix of their own for the regional settings."""

import os
import pathlib
import shutil
import subprocess
import tempfile

import bed
from rows import COLUMNS, decode, exact, literal

DATABASE = "literals"
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


class Prefix:
    """A copy of the prefix of the tests; it shares the files, which nobody changes, and not the registry."""

    def __init__(self):
        original = pathlib.Path(os.environ["WINEPREFIX"])
        self._folder = tempfile.TemporaryDirectory(prefix="wine-literals-", dir=original.parent)
        self.path = pathlib.Path(self._folder.name)
        shutil.copytree(original / "drive_c", self.path / "drive_c", symlinks=True, copy_function=os.link,
                        ignore=lambda folder, _: ["Temp", "temp"])
        for file in [*original.glob("*.reg"), original / ".update-timestamp"]:
            shutil.copy2(file, self.path)
        shutil.copytree(original / "dosdevices", self.path / "dosdevices", symlinks=True)
        self.environment = {**os.environ, "WINEPREFIX": str(self.path)}
        subprocess.run(["wineserver", "-p"], env=self.environment, check=True)
        # The first program brings up Windows' own, which would hold on to a pipe.
        self._run("wine", "cmd", "/c", "exit")
        self._run("wine", "regsvr32", "/s", ADODB.name, cwd=ADODB.parent)

    def _run(self, *command, **options):
        subprocess.run(command, env=self.environment, check=True, timeout=60, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)

    def use(self, region):
        file = self.path / "region.reg"
        file.write_text(region.registry(), encoding="utf-16")
        self._run("wine", "regedit", "/S", file.name, cwd=self.path)

    def close(self):
        self._run("wineserver", "-k")
        subprocess.run(["wineserver", "-w"], env=self.environment, check=False)
        self._folder.cleanup()


def copy_rows(host, prefix):
    """Runs the host over all rows; the statements that were refused, as (key, table), with their errors."""
    dsn = f"{os.environ['QUINMARK_OFFICE_DSN']};Database={DATABASE}"
    run = subprocess.run(["wine", str(host), dsn, os.environ["QUINMARK_PASSWORD"]], env=prefix.environment,
                         capture_output=True, timeout=600, check=False)
    lines = run.stdout.decode().replace("\r\n", "\n").split("\n")[:-1]
    if run.returncode or lines[-1:] != ["done"]:
        raise RuntimeError(f"the host has ended with {run.returncode}: {run.stderr.decode()} {lines[-2:]}")
    refused = {}
    for line in lines[:-1]:
        key, table, number, text = line.split("\t")
        refused[int(key), table] = f"{int(number):#x} {text}"
    return refused
