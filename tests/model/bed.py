"""The databases and the component that a case runs on."""

import json
import os
import subprocess
import sys

from practice import BINARIES, RECORDS
from side import server_of
from tables import TABLES, parsed, plain, schema
from values import iso

# Joins list rows in the order of the key, single tables in the order of storage: then the order is known.
SETTINGS = ("enable_hashjoin = off", "enable_nestloop = off", "lock_timeout = '20s'")


class Databases:
    """A pair of databases, set to a state and read as one. Pairs of other numbers are apart from it."""

    def __init__(self, number):
        self.names = {"source": f"model_office_{number}", "destination": f"model_laptop_{number}"}
        server = server_of()
        for name in self.names.values():
            server.create(name, *server.CONTROL_FILES, settings=SETTINGS)
            with server.login(name) as login:
                login.sql(schema())
        server.introduce(*self.names.values())
        self._sides = {side: server.owner(name) for side, name in self.names.items()}
        for side in self._sides.values():
            side.sql("alter server peer options (set use_remote_estimate 'false')")

    def set(self, state, tables, site, last):
        """Fills the tables of the case and empties what a run writes besides; `last` ends the site's last run."""
        clear = "".join(f"delete from {name};" for name in (*tables, *RECORDS[:-1])) + f"""
            update replication_control set ready_f = true, error_f = false, error_message = null,
            last_timestamp = '{iso(last)}', next_timestamp = '2000-01-01' where unique_key = {site};"""
        for side, database in self._sides.items():
            database.sql(clear + "".join(
                database.insertion(name, [plain(TABLES[name], row) for row in state[side][name]]) for name in tables))

    def read(self, tables, site):
        """For each side its tables, in the order of storage, and what the run recorded."""
        parts = [f"'{name}', (select json_agg(r) from (select * from {name} order by ctid) r)" for name in tables]
        # The records of the run, in the order of writing.
        parts += [f"'{name}', (select json_agg(r) from (select * from {name}"
                  " order by xmin::text::bigint, cmin::text::bigint) r)" for name in RECORDS[:-1]]
        parts.append(f"'control', (select row_to_json(r) from (select ready_f, error_f, error_message, last_timestamp"
                     f" from replication_control where unique_key = {site}) r)")
        query = f"select json_build_object({', '.join(parts)})::text"
        return {side: {**self._decode(database.value(query), tables), "key": database.has_patient_key()}
                for side, database in self._sides.items()}

    @staticmethod
    def _decode(text, tables):
        state = json.loads(text, parse_float=str)
        for name in tables:
            state[name] = [parsed(TABLES[name], row) for row in state[name] or []]
        return state

    def has_patient_key(self):
        return {side: database.has_patient_key() for side, database in self._sides.items()}


def _escape(text):
    return text.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n").replace("\r", "\\r")


def _unescape(text):
    codes = {"t": "\t", "n": "\n", "r": "\r", "\\": "\\"}
    pieces = iter(text)
    return "".join(codes[next(pieces)] if c == "\\" else c for c in pieces)


class Host:
    """The component in a process of its own, connected for one site and role. It ends when this process does."""

    def __init__(self, names, site, role):
        self._process = subprocess.Popen(["wine", str(BINARIES / "model_host.exe")], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, stderr=sys.stderr)
        sides = [field for variable, name in zip(("QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN"), names.values())
                 for field in (f"{name}.", f"{os.environ[variable]};Database={name}")]
        if answer := self.ask("init", site, role, *sides, os.environ["QUINMARK_PASSWORD"], 4, "NUL"):
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
