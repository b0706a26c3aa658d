"""The databases and the component that a case runs on."""

import json
import os
import pathlib
import subprocess
import sys

from tables import TABLES, schema
from values import DATE, GUID, iso

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
SQL = REPOSITORY / "database" / "postgres"
DATABASES = {"source": "model_office", "destination": "model_laptop"}
CONTROL = ("00_server_compat", "10_control", "20_replication_control", "30_replication_counts",
           "40_replication_conflict", "50_procedures")
RECORDS = ("replication_counts", "replication_conflict", "replication_conflict_data")
MARKER = "--end of answer--"
# Joins list rows in the order of the key, single tables in the order of storage: then the order is known.
ORDERED = ("enable_hashjoin", "enable_nestloop")


class Psql:
    """A psql that stays, as superuser."""

    def __init__(self, database):
        command = [str(REPOSITORY / "scripts" / "devdb.sh"), "psql", "-X", "-q", "-A", "-t"]
        self._process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, text=True, encoding="utf-8", cwd="/")
        self.run(f"\\c {database}\nset client_min_messages = warning;\nset lock_timeout = '20s';")

    def send(self, sql):
        self._process.stdin.write(f"{sql}\n\\echo {MARKER}\n")
        self._process.stdin.flush()

    def receive(self):
        lines = []
        while True:
            line = self._process.stdout.readline()
            if not line:
                raise RuntimeError("psql has ended: " + "".join(lines))
            if line.rstrip("\n") == MARKER:
                break
            lines.append(line)
        answer = "".join(lines)
        if "ERROR:" in answer[:400] and not answer.startswith("{"):
            raise RuntimeError(answer)
        return answer

    def run(self, sql):
        self.send(sql)
        return self.receive()

    def close(self):
        self._process.stdin.close()
        self._process.wait(timeout=10)


def create_databases():
    server = Psql("postgres")
    for name in DATABASES.values():
        server.run(f"drop database if exists {name} with (force);")
        server.run(f"create database {name} template template0;")
        server.run(f"alter database {name} set search_path = {name}, dbo, public;")
        server.run(f"alter database {name} set datestyle = 'ISO, MDY';")
        for setting in ORDERED:
            server.run(f"alter database {name} set {setting} = off;")
    server.close()
    for name in DATABASES.values():
        _create_tables(name)
    for name, peer in zip(DATABASES.values(), reversed(DATABASES.values())):
        _create_peer(name, peer)


def _create_tables(name):
    database = Psql(name)
    for topic in CONTROL[:1]:
        database.run(f"\\i {SQL / topic}.sql")
    database.run(f"create schema {name} authorization quinmarkapp_user;")
    database.run("set session authorization quinmarkapp_user;")
    for topic in CONTROL[1:]:
        database.run(f"\\i {SQL / topic}.sql")
    database.run(schema())
    database.close()


def _create_peer(name, peer):
    database = Psql(name)
    password = os.environ["QUINMARK_PASSWORD"]
    database.run(f"\\set peer {peer}\n\\set password {password}\n\\i {SQL / '75_peer_database.sql'}")
    database.run("alter server peer options (set use_remote_estimate 'false');")
    database.close()


def literal(column_type, value):
    if value is None:
        return "null"
    if isinstance(value, bool):
        return "true" if value else "false"
    if column_type is DATE:
        return f"'{iso(value)}'"
    if isinstance(value, str):
        return "'" + value.replace("'", "''") + "'"
    return f"'{value!r}'" if isinstance(value, float) else str(value)


def insert(table, rows):
    if not rows:
        return ""
    values = (", ".join(literal(c.type, row[c.name]) for c in table.columns) for row in rows)
    return f"insert into {table.name} values ({'), ('.join(values)});\n"


class Databases:
    """Both databases: set to a state, read as one."""

    def __init__(self):
        self._psql = {side: Psql(name) for side, name in DATABASES.items()}
        for psql in self._psql.values():
            psql.run("\\pset format unaligned")

    def set(self, state, tables, site, last):
        """Fills the tables of the case and empties what a run writes besides; `last` ends the site's last run."""
        for side, psql in self._psql.items():
            sql = "begin;\n" + "".join(f"delete from {name};\n" for name in (*tables, *RECORDS))
            sql += ("update replication_control set ready_f = true, error_f = false, error_message = null,"
                    f" last_timestamp = {literal(DATE, last)}, next_timestamp = '2000-01-01'"
                    f" where unique_key = {site};\n")
            sql += "".join(insert(TABLES[name], state[side][name]) for name in tables)
            psql.send(sql + "commit;")
        for psql in self._psql.values():
            psql.receive()

    def read(self, tables, site):
        """For each side its tables, in the order of storage, and what the run recorded."""
        parts = [f"'{name}', (select json_agg(r) from (select * from {name} order by ctid) r)" for name in tables]
        # What was recorded, in the order of writing.
        parts += [f"'{name}', (select json_agg(r) from (select * from {name}"
                  " order by xmin::text::bigint, cmin::text::bigint) r)"
                  for name in RECORDS]
        parts.append(f"'control', (select row_to_json(r) from (select ready_f, error_f, error_message, last_timestamp"
                     f" from replication_control where unique_key = {site}) r)")
        parts.append("'key', (select count(*) from pg_constraint where conname = 'fk_patient_dentist')")
        for psql in self._psql.values():
            psql.send(f"select json_build_object({', '.join(parts)});")
        return {side: self._decode(psql.receive(), tables) for side, psql in self._psql.items()}

    @staticmethod
    def _decode(text, tables):
        state = json.loads(text, parse_float=str)
        for name in tables:
            state[name] = [{c.name: None if row[c.name] is None else c.type.parse(row[c.name])
                            for c in TABLES[name].columns} for row in state[name] or []]
        return state

    def has_patient_key(self):
        query = "select count(*) from pg_constraint where conname = 'fk_patient_dentist';"
        return {side: psql.run(query).strip() == "1"
                for side, psql in self._psql.items()}

    def close(self):
        for psql in self._psql.values():
            psql.close()


def _escape(text):
    return text.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n").replace("\r", "\\r")


def _unescape(text):
    codes = {"t": "\t", "n": "\n", "r": "\r", "\\": "\\"}
    pieces = iter(text)
    return "".join(codes[next(pieces)] if c == "\\" else c for c in pieces)


class Host:
    """The component in a process of its own, connected for one site and role."""

    def __init__(self, program, site, role, log):
        self.log = log
        self._process = subprocess.Popen(["wine", str(program)], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=sys.stderr)
        dsns = [f"{os.environ[v]};Database={d}" for v, d in
                zip(("QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN"), DATABASES.values())]
        answer = self.ask("init", site, role, "model_office.", dsns[0], "model_laptop.", dsns[1],
                          os.environ["QUINMARK_PASSWORD"], 4, "Z:" + str(log).replace("/", "\\"))
        if answer:
            raise RuntimeError(f"the component cannot be set up: {answer}")

    def ask(self, *fields):
        """The answer's lines, each as its fields."""
        line = "\t".join(_escape(str(field)) for field in fields) + "\n"
        self._process.stdin.write(line.encode())
        self._process.stdin.flush()
        answer = []
        while True:
            line = self._process.stdout.readline().decode()
            if not line:
                raise RuntimeError(f"the host has ended during {fields}")
            line = line.rstrip("\r\n")
            if line == "done":
                return answer
            answer.append([_unescape(field) for field in line.split("\t")])

    def take_log(self):
        """What has been logged since this was called last."""
        data = self.log.read_bytes() if self.log.exists() else b""
        self.log.unlink(missing_ok=True)
        return data

    def close(self):
        self._process.stdin.close()
        self._process.wait(timeout=20)
