"""sqlserver_pair.py beside the run's own pair of databases: what it refuses, and that it leaves alone what others made."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from side import REPOSITORY, data_sources, is_postgresql, server_of, skip, skip_without_databases

FILES = ("side.py", "sqlserver.py", "sqlserver_pair.py")


class AnotherWorkingCopy(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (self.root / "tests" / "support").mkdir(parents=True)
        for file in FILES:
            shutil.copy2(REPOSITORY / "tests" / "support" / file, self.root / "tests" / "support")
        self.server = server_of()
        self.address = f"{self.server.host}:{self.server.port}"

    def pair(self, *arguments, **settings):
        return subprocess.run([sys.executable, self.root / "tests" / "support" / "sqlserver_pair.py", *arguments],
                              env={**os.environ, **settings}, capture_output=True, text=True, check=False, timeout=60)

    def databases(self):
        """The pair of the run; tests beside this one make and drop others."""
        with self.server.owner() as owner:
            return owner.column("select name from sys.databases where name in ('QuinmarkTestOffice', 'QuinmarkTestLaptop')"
                                " order by name")

    def test_does_not_take_over_databases_that_it_did_not_make(self):
        before = self.databases()
        ended = self.pair("start", self.address)
        self.assertEqual(ended.returncode, 1)
        self.assertRegex(ended.stderr, "(?i)has the database quinmarktest.*and the login quinmarkapp_user, "
                                       "which this working copy did not make")
        self.assertEqual(self.pair("stop").returncode, 0)
        self.assertEqual(self.databases(), before)
        own = data_sources(os.environ)[os.environ["QUINMARK_OFFICE_DSN"]]["Database"]
        self.assertEqual(self.server.login(own).value("select 1"), 1)

    def test_refused_administrator_is_told_in_the_servers_words(self):
        ended = self.pair("start", self.address, QUINMARK_ADMIN_PASSWORD="wrong")
        self.assertEqual(ended.returncode, 1)
        self.assertRegex(ended.stderr, f"(?i)sqlserver: .*{os.environ['QUINMARK_ADMIN']}")
        self.assertNotIn("Traceback", ended.stderr)
        self.assertNotIn("wrong", ended.stderr)

    def test_server_that_is_not_there_is_told(self):
        ended = self.pair("start", "127.0.0.1:1")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("127.0.0.1", ended.stderr)
        self.assertNotIn("Traceback", ended.stderr)


if __name__ == "__main__":
    skip_without_databases()
    if is_postgresql():
        skip("no SQL Server is used; see scripts/test.sh --sqlserver", False)
    if not os.environ.get("QUINMARK_ADMIN"):
        skip("needs an administrator's login in QUINMARK_ADMIN", False)
    unittest.main()
