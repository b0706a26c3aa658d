"""A marked password is in nothing that runs, failing logins and a crash show or leave on the machine."""

import contextlib
import os
import pathlib
import secrets
import shutil
import subprocess
import threading
import unittest

from own_databases import OwnDatabases
from practice import BINARIES, NEW, PASSWORD, main, windows_path
from side import REPOSITORY, is_postgresql

# A password that stands nowhere by chance. A SQL Server's login is of all tests and has its own.
MARK = f"Marked{secrets.token_hex(8)}" if is_postgresql() else os.environ.get("QUINMARK_PASSWORD", "")
LEAST_LENGTH = 16
# A driver gives the server's words.
REFUSED = "password authentication failed" if is_postgresql() else "Login failed"
TABLES = ["users", "chair_type"]
EXAMPLES = REPOSITORY / "examples"


class ProcessList:
    """Every command line of the machine that is seen while this is entered."""

    def __enter__(self):
        self.seen = set()
        self._over = threading.Event()
        self._watcher = threading.Thread(target=self._watch)
        self._watcher.start()
        return self

    def _watch(self):
        while not self._over.wait(0.05):
            for file in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
                with contextlib.suppress(OSError):
                    self.seen.add(file.read_bytes().replace(b"\0", b" ").decode(errors="replace"))

    def __exit__(self, *_):
        self._over.set()
        self._watcher.join()


class Secrets(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if len(MARK) < LEAST_LENGTH:
            raise unittest.SkipTest("the login's password is so short that it may stand somewhere by chance")
        cls.practice = OwnDatabases(dict.fromkeys(TABLES, "method = 'one_way_deletes'"), MARK)
        cls.addClassCleanup(cls.practice.close)
        cls.office, cls.laptop = cls.practice.sides.values()
        cls.relay = cls.practice.relay("laptop")

    def setUp(self):
        """One row at the office that the next run copies, and one that both sides have changed."""
        self.practice.reset()
        self.office.sql(f"insert into users (unid, user_name, mod_date) values (1, 'new', '{NEW}')")
        for side, date in ((self.office, NEW), (self.laptop, "2026-03-02 10:00:00")):
            side.sql(f"insert into chair_type (unid, chair_type_name, mod_date) values (1, '{date}', '{date}')")
        self.folder = self.practice.folder
        self.environment = self.practice.environment
        self.addCleanup(self.environment.update, dict(self.environment))
        self.addCleanup(setattr, self.practice, "passwords", [PASSWORD, PASSWORD])

    def run_program(self, *command):
        """The program's exit status, followed by its output."""
        run = subprocess.run(["wine", *command], env=self.environment, stdin=subprocess.DEVNULL, timeout=60,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, cwd=self.folder)
        return f"{run.returncode}\n{run.stdout.decode(errors='replace')}"

    def quinrep(self, *arguments):
        return self.run_program(*self.practice.command(*arguments)[1:])

    def script(self, file, *arguments):
        shutil.copy2(file, self.folder)
        return self.run_program("cscript", "//nologo", file.name, *arguments)

    def left_behind(self):
        """All files in the test's folder but the password's own, and both databases' rows."""
        files = {str(file): file.read_bytes() for file in self.folder.rglob("*")
                 if file.is_file() and file.suffix != ".secret"}
        texts = {name: data.decode(errors="replace") + data.decode("utf-16-le", errors="replace")
                 for name, data in files.items()}
        return {**texts, **{name: str(side.tables(*side.table_names())) for name, side in self.practice.sides.items()}}

    def assert_secret(self, *said, secret=MARK):
        for name, text in {**dict(enumerate(said)), **self.left_behind()}.items():
            self.assertNotIn(secret.lower(), text.lower(), name)

    def log(self):
        return self.practice.log.read_text(errors="replace")

    def test_commands_of_quinrep_at_debug_level(self):
        with ProcessList() as processes:
            said = [self.quinrep(*command) for command in (
                ["-v", "check"], ["-v", "run", "--preview"], ["-v", "run", "--ready", "--report", "report.html"],
                ["run", "--ready", "--json"], ["status", "--json"], ["conflicts", "list"], ["verify"])]
        self.assertRegex(said[2], r"(?s)^[0-3]\n.*users")
        self.assertEqual(self.laptop.column("select unid from users"), [1])
        self.assertIn("DEBUG: ConnDestination: Insert into users", self.log())
        self.assertTrue((self.folder / "report.html").stat().st_size > 0)
        self.assertTrue(any("quinrep.exe" in line for line in processes.seen))
        self.assert_secret(*said, *processes.seen)

    def test_password_of_a_file(self):
        (self.folder / "login.secret").write_text(MARK + "\n")
        self.practice.passwords = [f"file:{self.folder}/login.secret"] * 2
        said = self.quinrep("-v", "check")
        self.assertTrue(said.startswith("0\n"), said)
        self.assert_secret(said)

    def test_password_in_the_configuration_by_mistake_is_not_repeated(self):
        self.practice.passwords = ["Written" + MARK, PASSWORD]
        said = self.quinrep("-v", "check", "--json")
        self.assertIn("source.password", said)
        (self.folder / "quinrep.toml").unlink()
        self.assert_secret(said)

    def test_logins_that_are_refused(self):
        for passwords in (["env:WRONG", PASSWORD], [PASSWORD, "env:WRONG"]):
            with self.subTest(passwords):
                self.environment["WRONG"] = "Wrong" + MARK
                self.practice.passwords = passwords
                with ProcessList() as processes:
                    said = [self.quinrep(*command) for command in (
                        ["-v", "run", "--ready", "--report", "report.html"], ["-v", "check"], ["run", "--json"])]
                self.assertRegex(said[0], r"(?s)^1\n.*quinmarkapp_user.*password is refused")
                self.assertTrue(said[1].startswith("4\n"), said[1])
                self.assert_secret(*said, *processes.seen)

    def logins(self, *passwords):
        """The errors that a host sees when it logs in with these passwords of source and destination."""
        self.environment.update({"LOGINS": "\n".join(map("\t".join, passwords)),
                                 "LOG_FILE": windows_path(self.practice.log)})
        said = self.script(REPOSITORY / "tests" / "security" / "login.vbs").split("raised: ")[1:]
        self.assertEqual(len(said), len(passwords))
        return said

    def test_passwords_that_break_the_connection_string(self):
        breaking = [f"x{MARK};x", f"x;{MARK}", f"x;{MARK}=1", f"{MARK}}}", f"'{MARK}", f'"{MARK}', f"{{x}}{MARK}",
                    f"x;DRIVER={MARK}", f"={MARK}", MARK * 40]
        if is_postgresql():
            # FreeTDS leaves the brace out and logs in.
            breaking.append(f"{{{MARK}")
        pairs = [pair for password in breaking for pair in ((password, MARK), (MARK, password))]
        logins = self.logins(*pairs)
        for pair, said in zip(pairs, logins):
            self.assertRegex(said, r"(?s)^-\d+ .*message:", [password.replace(MARK, "MARK") for password in pair])
        self.assert_secret(*logins, secret=MARK[:20])

    def test_password_with_a_semicolon_goes_on_with_settings_of_its_own(self):
        said, = self.logins(("x;UID=somebody_else", MARK))
        self.assertRegex(said, f"{REFUSED}.*somebody_else")

    def example_hosts(self, *options):
        """The output of each example host."""
        log = windows_path(self.practice.log)
        databases = [self.environment[f"QUINMARK_{side}_{what}"] for side in ("OFFICE", "LAPTOP")
                     for what in ("DSN", "PREFIX")]
        return [self.script(EXAMPLES / "replicate.js", log, *databases, *options),
                self.script(EXAMPLES / "replicate.vbs", "daily", log, *databases, *options),
                self.script(EXAMPLES / "conflicts.vbs", "list", *databases),
                self.run_program(str(BINARIES / "example_replicate.exe"), log, *databases, *options)]

    def test_example_hosts(self):
        with ProcessList() as processes:
            said = self.example_hosts("--ready", "--reset-error")
            self.environment["QUINMARK_PASSWORD"] = "Wrong" + MARK
            refused = self.example_hosts()
        self.assertIn("DEBUG: ", self.log())
        for text in refused:
            self.assertIn(REFUSED, text)
        self.assert_secret(*said, *refused, *processes.seen)

    def test_crash_in_the_middle_of_a_run(self):
        # With the messages that the test bed suppresses.
        self.environment["WINEDEBUG"] = "err+all,fixme-all"
        program = BINARIES / "crasher.exe"
        self.relay.freeze_before("Insert into users")
        with self.practice.start("-v", "run", "--ready", before=[str(program)], stdin=subprocess.PIPE) as run:
            self.relay.wait_until_frozen()
            run.communicate(b"crash\n", timeout=60)
        self.relay.cut(refuse=False)
        said = "".join(self.practice.said())
        self.assertIn("ended with c0000005", said)
        self.assertRegex(said, "(?i)page fault|backtrace")
        self.assert_secret(said)


if __name__ == "__main__":
    main()
