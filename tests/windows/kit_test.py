#!/usr/bin/env python3
"""The kit for Windows, unpacked and run by Wine's cmd in a prefix of its own, in which no component is registered."""

import os
import pathlib
import subprocess
import tempfile
import unittest
import zipfile

from practice import BINARIES, main
from side import Side, is_postgresql
from wine_prefix import Prefix

DSNS = [os.environ.get(f"QUINMARK_{side}_DSN") for side in ("OFFICE", "LAPTOP")]
PREFIXES = [os.environ.get(f"QUINMARK_{side}_PREFIX") for side in ("OFFICE", "LAPTOP")]
USER = "insert into users (unid, user_name, mod_date) values (1, 'Quillfeather', '2025-03-11')"
PROGRAMS = "programs/programs.txt"
# They take long, and no filter shortens them.
LONG_PROGRAMS = {"invoke_calls", "fault_runs"}
FEW_TESTS = ("TypeLibrary.*:Unloading.WaitsForDisconnect*:RegisteredKeys.AreWritable*:SqlText.OfAKey*:"
             "ExampleHost.BringsTheRows*:Check.OfAPairInOrder*")
COUNTS = {"unit_tests": 0, "component_tests": 3, "key_security_tests": 1, "sql_text_tests": 1, "quinrep_tests": 1,
          "example_hosts_tests": 3, "members.vbs": 1}


def mark(rows_of_tests=0):
    """Makes test databases of both, as test_database.sql does on a SQL Server; or as a run leaves them that broke off.
    """
    for side in SIDES:
        side.sql("create table quinmark_test_database (rows_of_tests int not null)")
        side.sql(f"insert into quinmark_test_database (rows_of_tests) values ({rows_of_tests})")
    if is_postgresql():
        for side, prefix in zip(SIDES, reversed(PREFIXES)):
            schema = prefix.rstrip(".")
            side.sql(f"import foreign schema {schema} limit to (quinmark_test_database) from server peer into {schema}")


def unmark():
    """They belong to nobody's tests."""
    for side, prefix in zip(SIDES, reversed(PREFIXES)):
        side.sql("drop table if exists quinmark_test_database")
        if is_postgresql():
            side.sql(f"drop foreign table if exists {prefix}quinmark_test_database")


def users():
    return [side.column("select user_name from users") for side in SIDES]


class Kit(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = Prefix()
        cls.addClassCleanup(cls.prefix.close)
        cls.prefix.register(BINARIES / "adodb.dll")
        cls.prefix.run("wine", "regsvr32", "/s", "/u", "QuinmarkRepDLL.dll", cwd=BINARIES)
        folder = cls.enterClassContext(tempfile.TemporaryDirectory(prefix="quinmark & kit "))
        with zipfile.ZipFile(os.environ["KIT"]) as kit:
            kit.extractall(folder)
        cls.folder, = pathlib.Path(folder).iterdir()

    def setUp(self):
        (self.folder / "results.txt").unlink(missing_ok=True)
        unmark()
        self.addCleanup(unmark)
        for side in SIDES:
            side.sql("delete from users")

    def change(self, name, text):
        """Writes a file of the kit for the length of this test."""
        file = self.folder / name
        self.addCleanup(file.write_text, file.read_text())
        file.write_text(text)

    def wine(self, *command, folder="", typed="", **settings):
        """The exit code of a program of Windows, with these settings and without those of the test bed."""
        environment = {name: value for name, value in self.prefix.environment.items() if name not in
                       ("QUINMARK_PASSWORD", "QUINMARK_REQUIRE_DATABASE", "QUINMARK_REQUIRE_REGISTRATION")}
        environment["QUINMARK_SERVER"] = "postgresql" if is_postgresql() else "sqlserver"
        with open(self.folder / "output.txt", "w", encoding="utf-8") as output:
            return subprocess.run(["wine", *command], cwd=self.folder / folder, env={**environment, **settings},
                                  input=typed, stdout=output, stderr=output, text=True, timeout=250,
                                  check=False).returncode

    def run_tests(self, *arguments, **settings):
        """The exit status of run-tests.cmd, between both databases unless told, and the lines of its result file."""
        settings.setdefault("QUINMARK_PASSWORD", os.environ["QUINMARK_PASSWORD"])
        status = self.wine("cmd", "/c", "run-tests.cmd", *(arguments or (*DSNS, *PREFIXES)), **settings)
        file = self.folder / "results.txt"
        return status, file.read_text(errors="replace").splitlines() if file.exists() else []

    def assert_refused(self, reason, *arguments):
        for side in SIDES:
            side.sql(USER)
        status, lines = self.run_tests(*arguments)
        self.assertEqual(status, 2)
        self.assertRegex(lines[-1], f"^REFUSED: .*{reason}")
        self.assertEqual(users(), [["Quillfeather"]] * 2)

    def test_needs_two_data_sources_and_two_prefixes(self):
        self.assertEqual(self.run_tests(*DSNS, PREFIXES[0]), (2, []))

    def test_needs_a_password(self):
        self.assertEqual(self.run_tests(QUINMARK_PASSWORD="", typed="\n"), (2, []))

    def test_refuses_databases_that_nobody_gave_to_the_tests(self):
        self.assert_refused("has no test database")

    def test_refuses_databases_with_rows_that_no_test_made(self):
        mark()
        self.assert_refused("has rows in the table ")

    def test_refuses_a_prefix_of_a_database_that_nobody_gave_to_the_tests(self):
        mark()
        self.assert_refused("has no test database under the prefix public", *DSNS, PREFIXES[0], "public.")

    def test_refuses_databases_that_were_made_ready_for_an_office(self):
        mark(rows_of_tests=1)
        self.change(PROGRAMS, "")
        self.assertEqual(self.run_tests()[0], 1)
        SIDES[1].sql("update control set id = 'Elsewhere' where type = 'DBOffice'")
        self.addCleanup(SIDES[1].sql, "update control set id = 'Norvale' where type = 'DBOffice'")
        status, lines = self.run_tests()
        self.assertEqual(status, 2)
        self.assertIn("has the mark of an office", lines[-1])

    def test_has_programs_that_touch_nothing_when_they_are_started_by_hand(self):
        mark()
        for side in SIDES:
            side.sql(USER)
        status = self.wine("sql_text_tests.exe", folder="programs", QUINMARK_KIT="1",
                           QUINMARK_PASSWORD=os.environ["QUINMARK_PASSWORD"])
        self.assertEqual(status, 1)
        self.assertIn("does not say that rows_of_tests is 1", (self.folder / "output.txt").read_text())
        self.assertEqual(users(), [["Quillfeather"]] * 2)

    def test_passes_after_a_run_that_broke_off_and_leaves_machine_and_databases_as_they_were(self):
        mark(rows_of_tests=1)
        names = (self.folder / PROGRAMS).read_text().split()
        self.change(PROGRAMS, "\n".join(name for name in names if name not in LONG_PROGRAMS))
        status, lines = self.run_tests(GTEST_FILTER=FEW_TESTS, QUINMARK_PASSWORD="",
                                       typed=os.environ["QUINMARK_PASSWORD"] + "\n")
        text = "\n".join(lines)
        self.assertEqual(status, 0, text)
        self.assertRegex(lines[-1], "^PASSED: ")
        self.assertNotIn("skipped all", text)
        for program, passed in COUNTS.items():
            self.assertIn(f"\n{program}: {passed} passed, 0 skipped, 0 failed\n", text)
        for fact in ("QuinmarkRepDLL: ", "Windows: ", "ADO: ", "office: ", "laptop: "):
            self.assertRegex(text, rf"(?m)^{fact}.*\d")
        self.assertNotIn(os.environ["QUINMARK_PASSWORD"], text)
        self.assertNotEqual(self.wine("reg", "query", r"HKCR\QuinmarkRepDLL.Factory"), 0)
        for side in SIDES:
            self.assertEqual(side.column("select rows_of_tests from quinmark_test_database"), [0])
        self.assertEqual(users(), [[], []])

    def test_uses_the_component_of_the_kit_and_leaves_the_one_that_the_machine_has(self):
        mark(rows_of_tests=1)
        self.prefix.register(BINARIES / "QuinmarkRepDLL.dll")
        self.addCleanup(self.prefix.run, "wine", "regsvr32", "/s", "/u", "QuinmarkRepDLL.dll", cwd=BINARIES)
        self.change(PROGRAMS, "members.vbs\nsql_text_tests")
        status, lines = self.run_tests(GTEST_FILTER="SqlText.OfAKey*")
        text = "\n".join(lines)
        self.assertEqual(status, 0, text)
        self.assertIn("\nmembers.vbs: 0 passed, 1 skipped, 0 failed\n", text)
        self.assertIn("\nsql_text_tests: 1 passed, 0 skipped, 0 failed\n", text)
        self.assertEqual(self.wine("reg", "query", r"HKCR\QuinmarkRepDLL.Factory"), 0)

    def test_tells_which_test_failed(self):
        mark(rows_of_tests=1)
        self.change("tests/component/typelib.txt", "none")
        self.change(PROGRAMS, "component_tests\nkey_security_tests\nnowhere_tests")
        status, lines = self.run_tests(GTEST_FILTER="TypeLibrary.*:RegisteredKeys.AreWritable*")
        text = "\n".join(lines)
        self.assertEqual(status, 1)
        for part in ("component_tests: 1 passed, 0 skipped, 1 failed\n  FAILED TypeLibrary.KeepsItsTypesAnd",
                     'Which is: "none"', "nowhere_tests: 0 passed, 0 skipped, 1 failed\n  FAILED "):
            self.assertIn(part, text)
        self.assertRegex(lines[-1], "^FAILED: .*; failed: component_tests, nowhere_tests$")

    def test_has_no_ado_classes_of_its_own_and_the_sql_of_a_pair(self):
        with zipfile.ZipFile(os.environ["KIT"]) as kit:
            names = [name.partition("/")[2] for name in kit.namelist()]
        self.assertNotIn("programs/adodb.dll", names)
        for name in ("run-tests.cmd", "test_database.sql", "database/sqlserver/00_database.sql", "docs/testing.md"):
            self.assertIn(name, names)


if __name__ == "__main__":
    if all(DSNS):
        SIDES = [Side.of(dsn) for dsn in DSNS]
    main()
