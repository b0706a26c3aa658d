"""scripts/devdb.sh on a copy of its own: life cycle, the login's view, and the accidents it has to survive."""

import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import unittest

import psycopg2

from own_postgresql import copy_scripts, environment_of
from practice import main
from side import Side, data_sources, skip_without_postgresql, wait_until

COMPATIBLE = {
    "a key in braces, a function, a text addition": ("""select count(*) from dentist
        where unid = '{8C532471-596F-C9D8-2571-7D583C9B33C4}'
        and dbo.FN_DentistFullName(unid) + isnull(null, '!') = 'Dr. Elin Fennmoor!'""", 1),
    "a quoted number as key": ("select full_name from patient where unid = '12'", "Corvane, Pelle"),
    "a date in US form, a bit from an integer": (
        """update replication_control set ready_f = 0, last_timestamp = '11/15/2026 12:04:11 AM' where unique_key = 0
        returning concat(ready_f, ' ', last_timestamp)""", "f 2026-11-15 00:04:11"),
    "the error of one site": (
        """select setReplicationError(1, 1, 'broken'); select string_agg(concat_ws(' ', unique_key, error_f,
        error_message), ', ' order by unique_key) from replication_control""", "0 f, 1 t broken"),
    "a conflict under the returned key, its texts cut": (
        """create temp table made as select InsertReplicationConflict(0, now()::timestamp, 'patient', 12, null, 1,
        repeat('k', 200), now()::timestamp, now()::timestamp) as key;
        select length(key_info) from replication_conflict where unid::text = (select key::text from made)""", 125),
}


class DevelopmentDatabases(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.root = pathlib.Path(tempfile.mkdtemp(prefix="devdb-"))
        cls.addClassCleanup(shutil.rmtree, cls.root)
        cls.root.chmod(0o755)
        copy_scripts(cls.root)
        commands = (["status"], ["stop"], ["psql"], ["unknown"], ["reset", "many"])
        cls.before = [cls.devdb(*command) for command in commands]
        cls.devdb("start")
        cls.addClassCleanup(cls.devdb, "stop")

    def setUp(self):
        self.assertEqual(self.devdb("start"), 0)
        self.state = self.root / "build" / "devdb"
        self.environment = environment_of(self.state)
        self.office, self.laptop = (Side.of(dsn, self.environment) for dsn in ("QuinmarkOffice", "QuinmarkLaptop"))
        self.addCleanup(self.office.disconnect)
        self.addCleanup(self.laptop.disconnect)

    @classmethod
    def devdb(cls, *arguments):
        """Its exit status."""
        return subprocess.run([cls.root / "scripts" / "devdb.sh", *arguments], cwd="/", stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode

    def patients(self):
        """At the office, the laptop, and the office as the laptop sees it."""
        count = "select count(*) from "
        return [side.value(count + table) for side, table in
                ((self.office, "patient"), (self.laptop, "patient"), (self.laptop, "office.patient"))]

    def pid(self):
        return int((self.state / "data" / "postmaster.pid").read_text().split()[0])

    def test_commands_before_the_first_start(self):
        self.assertEqual(self.before, [1, 0, 1, 2, 2])

    def test_wrong_password_is_refused(self):
        with self.assertRaisesRegex(psycopg2.OperationalError, "password authentication failed"):
            Side.of("QuinmarkOffice", {**self.environment, "QUINMARK_PASSWORD": "wrong"}).sql("select 1")

    def test_statements_of_the_component_are_understood(self):
        for name, (statement, expected) in COMPATIBLE.items():
            with self.subTest(name):
                self.assertEqual(self.office.value(statement), expected)

    def test_second_start_leaves_the_data_alone_and_reset_restores_the_sample(self):
        self.devdb("reset")
        sample = "select md5(string_agg(p::text, chr(10) order by unid)) from patient p"
        before = self.office.value(sample)
        self.assertEqual(self.patients(), [2000, 0, 2000])
        marks = self.laptop.column("select id from control where type in ('DBOffice', 'Version') order by type")
        self.assertEqual(marks, ["Norvale", "3.46"])
        self.office.sql("insert into laptop.dentist select * from office.dentist;"
                        "alter table patient drop constraint FK_patient_dentist")
        self.devdb("start")
        self.assertEqual(self.laptop.value("select count(*) from dentist"), 20)
        self.devdb("reset")
        self.office.disconnect()
        self.laptop.disconnect()
        self.assertEqual(self.laptop.value("select count(*) from dentist"), 0)
        self.assertTrue(self.office.has_patient_key())
        self.assertEqual(self.devdb("reset", "100", "--both"), 0)
        self.office.disconnect()
        self.laptop.disconnect()
        self.assertEqual(self.patients(), [100, 100, 100])
        self.devdb("reset")
        self.office.disconnect()
        self.assertEqual(self.office.value(sample), before)

    def test_start_after_a_crash(self):
        os.kill(self.pid(), signal.SIGKILL)
        wait_until(lambda: self.devdb("status"), "the server is gone")
        self.assertEqual(self.devdb("start"), 0)
        self.office.disconnect()
        self.assertTrue(self.office.is_up())

    def test_stale_pid_file_is_no_running_server(self):
        self.devdb("stop")
        self.assertEqual(self.devdb("status"), 1)
        with subprocess.Popen(["sleep", "60"]) as other:
            (self.state / "data" / "postmaster.pid").write_text(f"{other.pid}\n")
            self.assertEqual(self.devdb("status"), 1)
            self.assertEqual(self.devdb("start"), 0)
            self.assertEqual(self.devdb("status"), 0)
            self.assertIsNone(other.poll())
            other.kill()

    def test_another_port_when_the_old_one_is_taken(self):
        self.devdb("stop")
        file = self.state / "port"
        port = file.read_text().strip()
        with socket.create_server(("127.0.0.1", int(port))):
            self.assertEqual(self.devdb("start"), 0)
        self.assertNotEqual(file.read_text().strip(), port)
        ports = {source.get("Port") for source in data_sources(self.environment).values() if source}
        self.assertEqual(ports, {file.read_text().strip()})
        laptop = Side.of("QuinmarkLaptop", self.environment)
        self.assertGreater(laptop.value("select count(*) from office.dentist"), 0)


if __name__ == "__main__":
    skip_without_postgresql()
    main()
