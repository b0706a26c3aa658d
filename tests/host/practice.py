"""The two databases of the test bed and quinrep between them, for tests that act as a person or a network does."""

import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SETTINGS = ["QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN", "QUINMARK_PASSWORD", "QUINMARK_OFFICE_PREFIX",
            "QUINMARK_LAPTOP_PREFIX", "ODBCINI", "QUINREP"]
LAST_RUN = "2026-03-01 18:00:00"
NEW = "2026-03-02 09:00:00"
PATIENCE = 20
TABLES = ["users", "chair_type"]


def skip_without_databases():
    """Ends the program with 77 where the private PostgreSQL is missing, with 1 where it must not be."""
    on_sql_server = os.environ.get("QUINMARK_SERVER") == "sqlserver"
    missing = [name for name in SETTINGS if not os.environ.get(name)]
    if on_sql_server or missing:
        required = os.environ.get("QUINMARK_REQUIRE_DATABASE") == "1" and not on_sql_server
        reason = "the private PostgreSQL is not used" if on_sql_server else f"{missing} are not set"
        print(f"{'FAILED' if required else 'SKIPPED'}: {reason}")
        sys.exit(1 if required else 77)


def main():
    """Runs the tests of the calling program, or skips them where the private PostgreSQL is missing."""
    skip_without_databases()
    unittest.main()


def wait_until(condition, what, patience=PATIENCE):
    """The condition's value once it is true; fails when it does not become so."""
    end = time.monotonic() + patience
    while not (value := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"waited {patience} s in vain until {what}")
        time.sleep(0.02)
    return value


class Side:
    """One database, through connections of the test's own."""

    def __init__(self, dsn):
        section = pathlib.Path(os.environ["ODBCINI"]).read_text().split(f"[{dsn}]")[1].split("\n[")[0]
        self.settings = {name: value.strip() for name, value in re.findall(r"^(\w+) *= *(.*)$", section, re.M)}
        self.dsn = dsn

    def _psql(self, *arguments, **options):
        command = ["psql", "-X", "-q", "-At", "-v", "ON_ERROR_STOP=1", "-h", "127.0.0.1", "-p", self.settings["Port"],
                   "-U", self.settings["Username"], "-d", self.settings["Database"], *arguments]
        environment = {**os.environ, "PGPASSWORD": os.environ["QUINMARK_PASSWORD"],
                       "PGOPTIONS": "-c client_min_messages=warning"}
        return subprocess.Popen(command, env=environment, text=True, stdout=subprocess.PIPE, **options)

    def sql(self, text):
        with self._psql("-c", text) as psql:
            output = psql.stdout.read()
        if psql.returncode:
            raise AssertionError(f"psql failed: {text}")
        return output.strip()

    @contextlib.contextmanager
    def locked(self, table, mode="exclusive"):
        """Keeps everybody else from writing to a table, who then waits; with "access exclusive" from reading too."""
        with self._psql(stdin=subprocess.PIPE, bufsize=1) as psql:
            psql.stdin.write(f"begin; lock table {table} in {mode} mode; select 'locked';\n")
            if psql.stdout.readline() != "locked\n":
                raise AssertionError(f"{table} cannot be locked")
            try:
                yield
            finally:
                psql.stdin.close()

    @contextlib.contextmanager
    def transaction(self, statement):
        """Runs a statement in a transaction that is committed at the end."""
        with self._psql(stdin=subprocess.PIPE, bufsize=1) as psql:
            psql.stdin.write(f"begin; {statement}; select 'done';\n")
            if psql.stdout.readline() != "done\n":
                raise AssertionError(f"psql failed: {statement}")
            yield
            psql.stdin.write("commit;\n")
            psql.stdin.close()

    def wait_for_waiter(self):
        """Until somebody waits for a lock."""
        waiting = "select count(*) from pg_locks where not granted and database = " \
                  "(select oid from pg_database where datname = current_database())"
        wait_until(lambda: self.sql(waiting) != "0", "somebody waits for a lock")

    def end_waiters(self):
        """Ends the statements that wait for a lock, which the server does not do when their client is gone."""
        self.sql("select pg_terminate_backend(pid, 5000) from pg_locks where not granted and pid <> pg_backend_pid()")


class PracticeTest(unittest.TestCase):
    """Empty tables on both sides, control records without error, and a folder for what a test writes."""

    def setUp(self):
        self.office = Side(os.environ["QUINMARK_OFFICE_DSN"])
        self.laptop = Side(os.environ["QUINMARK_LAPTOP_DSN"])
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quinrep-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.environment = dict(os.environ)
        self.password_source = "env:QUINMARK_PASSWORD"
        self.site = "offices"
        self.restore()
        self.addCleanup(self.restore)

    def restore(self):
        for side in [self.office, self.laptop]:
            side.sql("".join(f"delete from {table};" for table in TABLES) +
                     f"""delete from replication_conflict; delete from replication_control;
                     insert into replication_control (unique_key, ready_f, error_f, last_timestamp, next_timestamp)
                     select site, true, false, '{LAST_RUN}', '{LAST_RUN}' from generate_series(0, 1) site;
                     alter table patient drop constraint if exists FK_patient_dentist;
                     alter table patient add constraint FK_patient_dentist foreign key (dc_id, dentist_id)
                     references dentist (dc_id, dentist_id)""")

    def add_rows(self, key):
        """A new row at the office in each table."""
        self.office.sql(f"""insert into users (unid, user_name, mod_date) values ({key}, 'new', '{NEW}');
                        insert into chair_type (unid, chair_type_name, mod_date) values ({key}, 'new', '{NEW}')""")

    def rows_at_laptop(self):
        """The keys in each table."""
        return [self.laptop.sql(f"select coalesce(string_agg(unid::text, ',' order by unid), '') from {table}")
                for table in TABLES]

    def control(self, columns):
        side, key = (self.office, 0) if self.site == "offices" else (self.laptop, 1)
        return side.sql(f"select {columns} from replication_control where unique_key = {key}")

    def command(self, *arguments):
        """The command line of quinrep with a configuration of this practice."""
        file = self.folder / "quinrep.toml"
        file.write_text(self._configuration())
        return ["wine", os.environ["QUINREP"], "-c", str(file), *arguments]

    def quinrep(self, *arguments):
        """Runs quinrep with pipes; what subprocess tells of it."""
        return subprocess.run(self.command(*arguments), env=self.environment, text=True, capture_output=True,
                              stdin=subprocess.DEVNULL, timeout=60)

    def _configuration(self):
        def side(name, dsn, prefix):
            return f"[{name}]\ndsn = '{dsn}'\nprefix = '{prefix}'\npassword = '{self.password_source}'\n"

        local = "source" if self.site == "offices" else "destination"
        return (f"site = '{self.site}'\nlocal = '{local}'\nprogram_version = 'laptop'\nfrequency = 600\n" +
                side("source", self.office.dsn, os.environ["QUINMARK_OFFICE_PREFIX"]) +
                side("destination", self.laptop.dsn, os.environ["QUINMARK_LAPTOP_PREFIX"]) +
                f"[log]\nfile = '{self.folder}/replication.log'\n" +
                "".join(f"[[table]]\nname = '{table}'\nmethod = 'one_way_deletes'\n" for table in TABLES))
