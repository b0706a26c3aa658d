"""A MariaDB server of the bench's own, with the durability that it has by default."""

import getpass
import os
import shutil
import socket
import subprocess
import time

LOGIN = "bench"
HOST = "127.0.0.1"


class MariaDb:
    """A server whose data lie below a folder; `with` starts and ends it. None of the machine's settings apply."""

    def __init__(self, folder):
        self._folder = folder
        self._socket = f"/tmp/quinmark-bench-{os.getpid()}.sock"  # at most 107 bytes long
        self._connection = ("--no-defaults", f"--socket={self._socket}", "--user=root")
        with socket.socket() as free:
            free.bind((HOST, 0))
            self._port = free.getsockname()[1]
        # It refuses to run as root unless told to.
        self._options = ("--no-defaults", f"--datadir={folder}/data", f"--user={getpass.getuser()}")
        self._server = (*self._options, f"--socket={self._socket}", f"--bind-address={HOST}", f"--port={self._port}")
        self._process = None

    def __enter__(self):
        shutil.rmtree(self._folder, ignore_errors=True)
        self._folder.mkdir()
        _run(["/usr/bin/mariadb-install-db", *self._options, "--skip-test-db",
              "--auth-root-authentication-method=normal"])
        with open(self._folder.with_suffix(".log"), "wb") as log:
            self._process = subprocess.Popen(["/usr/sbin/mariadbd", *self._server, "--local-infile=1"], stdout=log,
                                             stderr=log)
        try:
            while self._process.poll() is None and not os.path.exists(self._socket):
                time.sleep(0.05)
            self.sql(f"create user {LOGIN}@'{HOST}' identified by '{LOGIN}'; grant all on *.* to {LOGIN}@'{HOST}';")
        except Exception:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait()
        shutil.rmtree(self._folder)

    def sql(self, text):
        """Runs SQL as administrator and returns the rows: one a line, tabs between values, no heads."""
        return _run(["/usr/bin/mariadb", *self._connection, "--local-infile=1", "--batch", "--skip-column-names"], text)

    def dsn(self, database):
        """The database as pt-table-sync takes it."""
        return f"h={HOST},P={self._port},u={LOGIN},p={LOGIN},D={database}"


def _run(command, text=None):
    answer = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    if answer.returncode != 0:
        raise RuntimeError(f"{command[0]}: {answer.stderr or answer.stdout}")
    return answer.stdout.rstrip("\n")
