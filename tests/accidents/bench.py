"""Two databases on a server of the test's own, and quinrep between them."""

import os
import subprocess

import practice
from cluster import Cluster
from relay import Relay
from scene import configuration, snapshot

PATIENCE = 300
DSNS = {"office": "QuinmarkOffice", "laptop": "QuinmarkLaptop"}


class Bench:
    """A cluster, a relay in front of either database, and quinrep between them."""

    def __init__(self):
        self.cluster = Cluster()
        self.sides = {name: practice.Side(dsn) for name, dsn in DSNS.items()}
        self.relays = {name: Relay("127.0.0.1", self.cluster.port) for name in DSNS}
        self._environment = dict(os.environ, ODBCINI=self.cluster.with_ports(
            {DSNS[name]: relay.port for name, relay in self.relays.items()}))
        # Without a display the message boxes of two-way replication do not wait for a person.
        self._environment.pop("DISPLAY", None)
        self._output = self.cluster.folder / "output.txt"
        self._configuration = self.cluster.folder / "quinrep.toml"
        self._configuration.write_text(configuration(self.cluster.folder))

    def set(self, scene):
        for name, side in self.sides.items():
            side.sql(scene.sql[name])

    def states(self):
        return {name: snapshot(side) for name, side in self.sides.items()}

    def start(self, *arguments):
        """Starts quinrep: a run that nothing stops, unless told. Its message boxes have no display to wait on."""
        command = ["wine", os.environ["QUINREP"], "-q", "-c", str(self._configuration),
                   *(arguments or ("run", "--ready", "--reset-error", "--force", "--attended"))]
        # In a file: Wine's desktop holds on to a pipe for a second longer than the program lives.
        with self._output.open("w") as output:
            return subprocess.Popen(command, env=self._environment, stdin=subprocess.DEVNULL, stdout=output,
                                    stderr=subprocess.STDOUT)

    def quinrep(self, *arguments):
        """Exit code and output of a command."""
        process = self.start(*arguments)
        try:
            process.wait(PATIENCE)
        finally:
            process.kill()
        return process.returncode, self.output()

    def output(self):
        """What the last run has said so far."""
        return self._output.read_text()

    def good_run(self):
        """A run that must go through; conflicts are no failure."""
        status, output = self.quinrep()
        if status not in (0, 2):
            raise AssertionError(f"the run after it fails: {output}")

    def restore(self):
        for relay in self.relays.values():
            relay.heal()
        self.cluster.restore()
        self.cluster.wait_for_others(self.sides["office"])

    def close(self):
        for relay in self.relays.values():
            relay.close()
        self.cluster.close()
