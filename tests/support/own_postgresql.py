"""A PostgreSQL of a test's own, which may be killed."""

import contextlib
import fcntl
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import zlib

from postgresql import SQL_FILES
from side import LOGIN, REPOSITORY, data_sources, server_of

SCRIPTS = [REPOSITORY / "scripts" / name for name in ("devdb.sh", "lib.sh")]
PATIENTS = 5
# The first server is made here and copied for every later one.
PREPARED = REPOSITORY / "build" / "own-server"


def copy_scripts(root):
    """Copies the files that devdb.sh needs to have its server below this folder."""
    (root / "scripts").mkdir(parents=True)
    for script in SCRIPTS:
        shutil.copy2(script, root / "scripts")
    (root / "database").symlink_to(REPOSITORY / "database")


def environment_of(state):
    """The environment of programs that use the server whose devdb.sh has written this folder."""
    return {**os.environ, **dict(re.findall(r"export (\w+)=(.*)", (state / "env.sh").read_text()))}


def _devdb(root, *arguments):
    subprocess.run([root / "scripts" / "devdb.sh", *arguments], check=True, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=120)


def _prepared():
    """A folder with a stopped server, which belongs to the scripts, the SQL and this file as they are."""
    files = (*SCRIPTS, *sorted(SQL_FILES.iterdir()), pathlib.Path(__file__))
    sum_of_files = zlib.crc32(b"".join(file.read_bytes() for file in files))
    PREPARED.mkdir(parents=True, exist_ok=True)
    with open(PREPARED / "lock", "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        root = PREPARED / f"{sum_of_files:08x}"
        if not (root / "ready").exists():
            for former in PREPARED.glob("*/"):
                shutil.rmtree(former)
            copy_scripts(root)
            _devdb(root, "reset", str(PATIENTS), "--both")
            # devdb.sh resets from these templates; a copy of the whole server is quicker.
            _devdb(root, "psql", "-c", "drop database office_template", "-c", "drop database laptop_template",
                   # The server may be killed.
                   "-c", "alter system set synchronous_commit = on")
            _devdb(root, "stop")
            (root / "ready").touch()
    return root


class OwnPostgreSql:
    """A server that is made for a test and goes with it."""

    databases = ("office", "laptop")

    def __init__(self, password=None):
        self._root = pathlib.Path(tempfile.mkdtemp(prefix="quinmark-"))
        self._root.chmod(0o755)
        # The files of the server keep their owner.
        subprocess.run(["cp", "-a", f"{_prepared()}/.", self._root], check=True)
        self._state = self._root / "build" / "devdb"
        (self._state / "port").unlink()
        _devdb(self._root, "start")
        self.environment = self._environment()
        if password:
            self._change_password(password)

    def _change_password(self, password):
        self.environment["QUINMARK_PASSWORD"] = password
        for database in self.databases:
            with server_of(self.environment).owner(database) as owner:
                owner.sql(f"alter role {LOGIN} password '{password}';"
                          f"alter user mapping for public server peer options (set password '{password}')")

    def _environment(self):
        """The environment of programs that use this server."""
        settings = environment_of(self._state)
        sources = data_sources(settings)
        port = (self._state / "port").read_text().strip()
        for name in ("QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN"):
            sources[settings[name] + port] = dict(sources[settings[name]])
            settings[name] += port
        settings["ODBCINI"] = str(self._root / "odbc.ini")
        with open(settings["ODBCINI"], "w", encoding="utf-8") as file:
            sources.write(file)
        return settings

    def kill_server(self):
        """As a power cut does: all of its processes at once."""
        postmaster = self._postmaster()
        children = pathlib.Path(f"/proc/{postmaster}/task/{postmaster}/children").read_text().split()
        for pid in (postmaster, *map(int, children)):
            _kill(pid)

    @staticmethod
    def kill_session(_, pid):
        _kill(pid)

    def revive(self):
        """Starts the server if it was killed."""
        if not os.path.exists(f"/proc/{self._postmaster()}"):
            # Shared memory of the killed processes may still be attached.
            with contextlib.suppress(subprocess.CalledProcessError):
                _devdb(self._root, "start")
        return False

    def _postmaster(self):
        pid_file = self._state / "data" / "postmaster.pid"
        return int(pid_file.read_text().split()[0]) if pid_file.exists() else 0

    def close(self):
        _devdb(self._root, "stop")
        shutil.rmtree(self._root)


def _kill(pid):
    with contextlib.suppress(ProcessLookupError):
        os.kill(pid, signal.SIGKILL)
