"""A marked password in runs, failing logins and a crash: it stands in nothing that they leave behind or show."""

import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from cluster import Cluster, REPOSITORY, marked_password

BINARIES = pathlib.Path(os.environ.get("QUINMARK_BINARIES", REPOSITORY / "build" / "x86-release"))
MARK = marked_password()
TABLES = ["users", "chair_type"]


class ProcessList:
    """Every command line of the machine that is seen while this is entered."""

    def __enter__(self):
        self.seen = set()
        self._over = threading.Event()
        self._watcher = threading.Thread(target=self._watch)
        self._watcher.start()
        return self

    def _watch(self):
        while not self._over.wait(0.02):
            for file in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
                with contextlib.suppress(OSError):
                    self.seen.add(file.read_bytes().replace(b"\0", b" ").decode(errors="replace"))

    def __exit__(self, *_):
        self._over.set()
        self._watcher.join()


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Secrets(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.cluster = Cluster(MARK)
        cls.key = 900

    @classmethod
    def tearDownClass(cls):
        cls.cluster.close()

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="secrets-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.environment = dict(self.cluster.environment)
        self.log = self.folder / "replication.log"
        self.cluster.sql("office", "update replication_control set ready_f = true, error_f = false,"
                                   " last_timestamp = '2026-03-01'")
        type(self).key += 1
        self.cluster.changed_row(self.key)

    def configure(self, source="env:QUINMARK_PASSWORD", destination="env:QUINMARK_PASSWORD"):
        def side(name, dsn, prefix, password):
            return f"[{name}]\ndsn = '{dsn}'\nprefix = '{prefix}'\npassword = '{password}'\n"

        file = self.folder / "quinrep.toml"
        file.write_text("site = 'offices'\nlocal = 'source'\nprogram_version = 'laptop'\n" +
                        side("source", "QuinmarkOffice", "office.", source) +
                        side("destination", "QuinmarkLaptop", "laptop.", destination) +
                        f"[log]\nlevel = 1\nfile = '{self.log}'\n" +
                        "".join(f"[[table]]\nname = '{table}'\nmethod = 'one_way_deletes'\nmax_delete = 100\n"
                                for table in TABLES))

    def run_program(self, *command, **options):
        """What it says, with the exit status in front."""
        run = subprocess.run(["wine", *command], env=self.environment, stdin=subprocess.DEVNULL, timeout=60,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, cwd=self.folder, **options)
        return f"{run.returncode}\n{run.stdout.decode(errors='replace')}"

    def quinrep(self, *arguments):
        return self.run_program(str(BINARIES / "quinrep.exe"), "-c", str(self.folder / "quinrep.toml"), *arguments)

    def script(self, name, *arguments):
        shutil.copy2(name, self.folder)
        return self.run_program("cscript", "//nologo", name.name, *arguments)

    def left_behind(self):
        """All files in the test's folder but the password's own, and both databases' rows."""
        files = {str(file): file.read_bytes() for file in self.folder.rglob("*")
                 if file.is_file() and file.suffix != ".secret"}
        texts = {name: data.decode(errors="replace") + data.decode("utf-16-le", errors="replace")
                 for name, data in files.items()}
        return {**texts, "databases": self.cluster.contents()}

    def assert_secret(self, *said, secret=MARK, **texts):
        for name, text in {**{str(number): text for number, text in enumerate(said)}, **texts}.items():
            self.assertNotIn(secret.lower(), text.lower(), name)

    def test_commands_of_quinrep_at_debug_level(self):
        self.configure()
        with ProcessList() as processes:
            said = [self.quinrep(*command) for command in (
                ["-v", "check"], ["-v", "run", "--preview"], ["-v", "run", "--ready", "--report", "report.html"],
                ["run", "--ready", "--json"], ["status", "--json"], ["conflicts", "list"], ["verify"])]
        self.assertRegex(said[2], r"(?s)^[0-3]\n.*users")
        self.assertIn(str(self.key), self.cluster.sql("laptop", "select string_agg(unid::text, ' ') from users"))
        self.assertIn("DEBUG: ConnDestination: Insert into users", self.log.read_text(errors="replace"))
        self.assertTrue((self.folder / "report.html").stat().st_size > 0)
        self.assertTrue(any("quinrep.exe" in line for line in processes.seen))
        self.assert_secret(*said, *processes.seen, **self.left_behind())

    def test_password_of_a_file(self):
        (self.folder / "login.secret").write_text(MARK + "\n")
        self.configure(*[f"file:{self.folder}/login.secret"] * 2)
        said = self.quinrep("-v", "check")
        self.assertTrue(said.startswith("0\n"), said)
        self.assert_secret(said, **self.left_behind())

    def test_password_in_the_configuration_by_mistake_is_not_repeated(self):
        self.configure(source="Written" + MARK)
        said = self.quinrep("-v", "check", "--json")
        self.assertIn("source.password", said)
        self.assert_secret(said)

    def test_logins_that_are_refused(self):
        for side in ("source", "destination"):
            with self.subTest(side):
                self.environment["WRONG"] = "Wrong" + MARK
                self.configure(**{side: "env:WRONG"})
                with ProcessList() as processes:
                    said = [self.quinrep(*command) for command in (
                        ["-v", "run", "--ready", "--report", "report.html"], ["-v", "check"], ["run", "--json"])]
                self.assertIn("quinmarkapp_user", said[0])
                self.assert_secret(*said, *processes.seen, **self.left_behind())

    def logins(self, *passwords):
        """What a host sees of each login with the passwords of source and destination."""
        self.environment.update({"LOGINS": "\n".join(map("\t".join, passwords)), "LOG_FILE": windows_path(self.log)})
        said = self.script(REPOSITORY / "tests" / "doors" / "login.vbs").split("raised: ")[1:]
        self.assertEqual(len(said), len(passwords))
        return said

    def test_passwords_that_break_the_connection_string(self):
        breaking = [f"x{MARK};x", f"x;{MARK}", f"x;{MARK}=1", f"{{{MARK}", f"{MARK}}}", f"'{MARK}", f'"{MARK}',
                    f"{{x}}{MARK}", f"x;DRIVER={MARK}", f"={MARK}", MARK * 40]
        pairs = [pair for password in breaking for pair in ((password, MARK), (MARK, password))]
        for pair, said in zip(pairs, self.logins(*pairs)):
            with self.subTest([password.replace(MARK, "MARK") for password in pair]):
                self.assertRegex(said, r"(?s)^-\d+ .*message:")
                self.assert_secret(said, secret=MARK[:20])
        self.assert_secret(secret=MARK[:20], **self.left_behind())

    def test_password_with_a_semicolon_goes_on_with_settings_of_its_own(self):
        said, = self.logins(("x;UID=somebody_else", MARK))
        self.assertIn('password authentication failed for user "somebody_else"', said)

    def test_example_hosts(self):
        examples = REPOSITORY / "examples"
        logs = windows_path(self.log)
        options = ["--ready", "--reset-error"]
        with ProcessList() as processes:
            said = [self.script(examples / "replicate.js", logs, *options),
                    self.script(examples / "replicate.vbs", "daily", logs, *options),
                    self.script(examples / "conflicts.vbs", "list"),
                    self.run_program(str(BINARIES / "example_replicate.exe"), logs, *options)]
            self.environment["QUINMARK_PASSWORD"] = "Wrong" + MARK
            refused = [self.script(examples / "replicate.js", logs),
                       self.script(examples / "replicate.vbs", "daily", logs),
                       self.script(examples / "conflicts.vbs", "list"),
                       self.run_program(str(BINARIES / "example_replicate.exe"), logs)]
        self.assertIn("DEBUG: ", self.log.read_text(errors="replace"))
        for text in refused:
            self.assertIn("password authentication failed", text)
        self.assert_secret(*said, *refused, *processes.seen, **self.left_behind())

    def test_crash_in_the_middle_of_a_run(self):
        self.configure()
        lock = subprocess.Popen([self.cluster.program, "psql", "laptop", "-X", "-q", "-At"], text=True,
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        lock.stdin.write("begin; lock table users in exclusive mode; select 'locked';\n")
        lock.stdin.flush()
        self.addCleanup(lock.communicate, "rollback;\n", timeout=20)
        self.assertEqual(lock.stdout.readline(), "locked\n")
        # With the messages that the test bed suppresses.
        environment = {**self.environment, "WINEDEBUG": "err+all,fixme-all"}
        # In a file: the debugger may hold on to a pipe for longer than the program lives.
        output = self.folder / "said.txt"
        with output.open("wb") as said:
            run = subprocess.Popen(["wine", str(BINARIES / "crasher.exe"), str(BINARIES / "quinrep.exe"), "-c",
                                    str(self.folder / "quinrep.toml"), "-v", "run", "--ready"], env=environment,
                                   cwd=self.folder, stdin=subprocess.PIPE, stdout=said, stderr=subprocess.STDOUT)
        self.addCleanup(run.kill)
        self.wait_for_waiter()
        run.stdin.write(b"crash\n")
        run.stdin.close()
        run.wait(timeout=60)
        said = output.read_text(errors="replace")
        self.assertIn("ended with c0000005", said)
        self.assertRegex(said, "(?i)page fault|backtrace")
        self.assert_secret(said, **self.left_behind())

    def wait_for_waiter(self):
        end = time.monotonic() + 20
        while self.cluster.sql("laptop", "select count(*) from pg_locks where not granted") == "0":
            self.assertLess(time.monotonic(), end, "the run does not come to the lock")
            time.sleep(0.05)


if __name__ == "__main__":
    if os.environ.get("QUINMARK_SERVER") == "sqlserver":
        print("SKIPPED: needs the private PostgreSQL")
        sys.exit(77)
    unittest.main(verbosity=1)
