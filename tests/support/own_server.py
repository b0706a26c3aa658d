"""The practice on a database server of a test's own, which may be killed, or have a password of its own."""

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

from practice import Practice
from postgresql import OTHERS, SQL_FILES
from side import REPOSITORY, data_sources, server_of, wait_until

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
    """A folder with a stopped server, which belongs to the scripts and the SQL as they are."""
    sum_of_files = zlib.crc32(b"".join(file.read_bytes() for file in (*SCRIPTS, *sorted(SQL_FILES.iterdir()))))
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
            _devdb(root, "psql", "-c", "drop database office_template", "-c", "drop database laptop_template")
            _devdb(root, "stop")
            (root / "ready").touch()
    return root


class OwnServer(Practice):
    """The practice on a server that is made for it and goes with it."""

    def __init__(self, tables, password=None):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="quinmark-"))
        self.root.chmod(0o755)
        # The files of the server keep their owner.
        subprocess.run(["cp", "-a", f"{_prepared()}/.", self.root], check=True)
        self._state = self.root / "build" / "devdb"
        (self._state / "port").unlink()
        _devdb(self.root, "start")
        super().__init__(tables, self._server_environment(password))

    def _server_environment(self, password):
        """The environment of programs that use this server. Its data sources are its own, since quinrep runs once for a
        data source on a machine."""
        settings = environment_of(self._state)
        sources = data_sources(settings)
        port = (self._state / "port").read_text().strip()
        for name in ("QUINMARK_OFFICE_DSN", "QUINMARK_LAPTOP_DSN"):
            sources[settings[name] + port] = dict(sources[settings[name]])
            settings[name] += port
        settings["ODBCINI"] = str(self.root / "odbc.ini")
        with open(settings["ODBCINI"], "w", encoding="utf-8") as file:
            sources.write(file)
        if password:
            settings["QUINMARK_PASSWORD"] = password
            for database in ("office", "laptop"):
                server_of(settings).owner(database).sql(f"""alter role quinmarkapp_user password '{password}';
                    alter user mapping for public server peer options (set password '{password}')""")
        return settings

    def keep_what_is_committed(self):
        """Even if the server is killed."""
        owner = server_of(self.environment).owner()
        for statement in ("alter system set synchronous_commit = on", "select pg_reload_conf()"):
            owner.sql(statement)

    def kill_server(self):
        """As a power cut does: all of its processes at once."""
        postmaster = self._postmaster()
        children = pathlib.Path(f"/proc/{postmaster}/task/{postmaster}/children").read_text().split()
        for pid in (postmaster, *map(int, children)):
            _kill(pid)

    def kill_backend(self, side, choose):
        """Kills one of the server's processes that serve a program; the server then ends all others and comes back."""
        query = f"select pid from pg_stat_activity where {OTHERS} order by backend_start, pid"
        if pids := self.sides[side].column(query):
            _kill(choose(pids))

    def restore(self):
        """Waits until network and server are there, and no statement of a program is under way: statements go on after
        their client is gone.
        """
        for relay in self.relays.values():
            relay.heal()
        wait_until(self._is_up, "the server comes back", 30)
        for side in self.sides.values():
            side.disconnect()
        others = f"select count(*) from pg_stat_activity where {OTHERS}"
        wait_until(lambda: not self.office.value(others), "the statements under way have ended", 30)

    def _is_up(self):
        if self.office.is_up():
            return True
        if not os.path.exists(f"/proc/{self._postmaster()}"):
            # Shared memory of the killed processes may still be attached.
            with contextlib.suppress(subprocess.CalledProcessError):
                _devdb(self.root, "start")
        return False

    def _postmaster(self):
        pid_file = self._state / "data" / "postmaster.pid"
        return int(pid_file.read_text().split()[0]) if pid_file.exists() else 0

    def close(self):
        super().close()
        _devdb(self.root, "stop")
        shutil.rmtree(self.root)


def _kill(pid):
    with contextlib.suppress(ProcessLookupError):
        os.kill(pid, signal.SIGKILL)
