"""A MariaDB server of the bench's own, with the durability that it has by default."""

import os
import pathlib
import pwd
import shutil
import socket
import subprocess
import time

SERVER = "/usr/sbin/mariadbd"
INSTALLER = "/usr/bin/mariadb-install-db"
CLIENT = "/usr/bin/mariadb"
SERVER_USER = "nobody"
LOGIN = "bench"
PASSWORD = "bench"
HOST = "127.0.0.1"
PATIENCE = 60


def is_installed():
    return all(os.path.exists(program) for program in (SERVER, INSTALLER, CLIENT, "/usr/bin/pt-table-sync"))


class MariaDb:
    """A server whose data lie below a folder; `with` starts and ends it. None of the machine's settings apply."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self._data = self.folder / "data"
        self._socket = f"/tmp/quinmark-bench-{os.getpid()}.sock"  # its path may not exceed 107 bytes
        self._process = None
        self.port = 0

    def __enter__(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        self._data.mkdir(parents=True)
        as_user = self._as_server_user()
        self._run([*as_user, INSTALLER, "--no-defaults", f"--datadir={self._data}", "--skip-test-db",
                   "--auth-root-authentication-method=normal"])
        self.port = _free_port()
        self._start(as_user)
        try:
            self._wait_until_it_answers()
            self.sql(f"create user {LOGIN}@'{HOST}' identified by '{PASSWORD}'; grant all on *.* to {LOGIN}@'{HOST}';")
        except Exception:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait(PATIENCE)
        shutil.rmtree(self.folder, ignore_errors=True)

    def sql(self, text):
        """What the client prints, as its administrator: rows in lines, values between tabs, no heads."""
        return self._run([CLIENT, "--no-defaults", f"--socket={self._socket}", "--user=root", "--local-infile=1",
                          "--batch", "--skip-column-names"], text)

    def dsn(self, database):
        """The database as pt-table-sync takes it."""
        return f"h={HOST},P={self.port},u={LOGIN},p={PASSWORD},D={database}"

    def _start(self, as_user):
        with open(self.folder / "server.log", "wb") as log:
            self._process = subprocess.Popen([*as_user, SERVER, "--no-defaults", f"--datadir={self._data}",
                                              f"--socket={self._socket}", f"--bind-address={HOST}",
                                              f"--port={self.port}", "--local-infile=1"],
                                             stdout=log, stderr=log, cwd="/")

    def _as_server_user(self):
        """What a server program starts with: it refuses to run as root."""
        if os.geteuid() != 0:
            return []
        user = pwd.getpwnam(SERVER_USER)
        os.chown(self._data, user.pw_uid, user.pw_gid)
        command = ["setpriv", f"--reuid={SERVER_USER}", f"--regid={user.pw_gid}", "--init-groups"]
        if subprocess.run([*command, "stat", f"{self._data}/."], capture_output=True, check=False).returncode != 0:
            # A working copy in a directory that this user may not enter: one capability, which only allows reading.
            command += ["--inh-caps=+dac_read_search", "--ambient-caps=+dac_read_search"]
        return command

    def _wait_until_it_answers(self):
        end = time.monotonic() + PATIENCE
        while True:
            try:
                self.sql("select 1;")
                return
            except RuntimeError as error:
                if time.monotonic() > end or self._process.poll() is not None:
                    told = (self.folder / "server.log").read_text(errors="replace")
                    raise RuntimeError(f"the server does not start:\n{told}") from error
                time.sleep(0.05)

    @staticmethod
    def _run(command, text=None):
        answer = subprocess.run([str(word) for word in command], input=text, capture_output=True, text=True,
                                check=False, cwd="/")
        if answer.returncode != 0:
            raise RuntimeError(f"{command[0]}: {answer.stderr or answer.stdout}")
        return answer.stdout.rstrip("\n")


def _free_port():
    with socket.socket() as probe:
        probe.bind((HOST, 0))
        return probe.getsockname()[1]
