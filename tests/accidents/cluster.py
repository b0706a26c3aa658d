"""A database server of the test's own, which may be killed."""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time

import practice

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
PATIENTS = 5
PATIENCE = 30


class Cluster:
    """Both databases on a server below a folder of its own. `environment` is for programs that use it, tests included;
    it is put into this process's own environment."""

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="accidents-"))
        self.folder.chmod(0o755)
        (self.folder / "scripts").mkdir()
        for script in ("devdb.sh", "lib.sh"):
            shutil.copy(REPOSITORY / "scripts" / script, self.folder / "scripts")
        (self.folder / "database").symlink_to(REPOSITORY / "database")
        self._devdb("reset", str(PATIENTS), "--both")
        self._keep_what_is_committed()
        state = self.folder / "build" / "devdb"
        self.odbc_ini = (state / "odbc.ini").read_text()
        os.environ.update(ODBCINI=str(state / "odbc.ini"), ODBCSYSINI=str(state))
        self.port = int((state / "port").read_text())

    def _devdb(self, *arguments):
        subprocess.run([self.folder / "scripts" / "devdb.sh", *arguments], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=120)

    def _keep_what_is_committed(self):
        for sql in ("alter system set synchronous_commit = on", "select pg_reload_conf()"):
            self._devdb("psql", "-c", sql)

    def with_ports(self, ports):
        """An ODBC configuration in which the data sources, by name, have other ports; its path."""
        text = self.odbc_ini
        for dsn, port in ports.items():
            text = re.sub(rf"(\[{dsn}\][^\[]*?Port = )\d+", rf"\g<1>{port}", text)
        file = self.folder / "relayed.ini"
        file.write_text(text)
        return str(file)

    def kill_server(self):
        """As a power cut does: all of its processes at once."""
        postmaster = self._postmaster()
        children = pathlib.Path(f"/proc/{postmaster}/task/{postmaster}/children").read_text().split()
        for pid in (postmaster, *map(int, children)):
            _kill(pid)

    def kill_backend(self, side, choose):
        """Kills one of the server's processes that serve a program; the server then ends all others and comes back."""
        pids = side.sql("select pid from pg_stat_activity where backend_type = 'client backend' "
                        "and pid <> pg_backend_pid() order by backend_start, pid").split()
        if pids:
            _kill(int(choose(pids)))

    def restore(self):
        """Until the server runs and takes connections, and nobody else's are left."""
        end = time.monotonic() + PATIENCE
        while subprocess.run(["pg_isready", "-q", "-h", "127.0.0.1", "-p", str(self.port)]).returncode:
            if time.monotonic() > end:
                raise AssertionError("the server does not come back")
            if not os.path.exists(f"/proc/{self._postmaster()}"):
                try:
                    self._devdb("start")
                except subprocess.CalledProcessError:
                    pass  # shared memory of the killed processes is still attached
            time.sleep(0.02)

    def wait_for_others(self, side):
        """Until no program but psql is connected; an unfinished statement goes on without its client."""
        others = "select count(*) from pg_stat_activity where backend_type = 'client backend' " \
                 "and pid <> pg_backend_pid()"
        practice.wait_until(lambda: side.sql(others) == "0", "the statements under way have ended", PATIENCE)

    def _postmaster(self):
        pid_file = self.folder / "build" / "devdb" / "data" / "postmaster.pid"
        return int(pid_file.read_text().split()[0]) if pid_file.exists() else 0

    def close(self):
        self._devdb("stop")
        shutil.rmtree(self.folder)


def _kill(pid):
    try:
        os.kill(pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
