"""A practice whose server, network and hosts have accidents."""

import unittest

from own_databases import OwnDatabases
from scene import ALL, TABLES, snapshot

PATIENCE = 300


class FragilePractice(OwnDatabases):
    """On databases of its own, with a relay in front of either."""

    def __init__(self, *tables):
        super().__init__({name: TABLES[name][2] for name in tables or TABLES})
        for side in self.sides:
            self.relay(side)
        # Without a display the message boxes of two-way replication do not wait for a person.
        self.environment.pop("DISPLAY", None)

    def set(self, scene):
        for name, side in self.sides.items():
            self.clear(side, *ALL)
            side.sql("".join(side.insertion(*rows) for rows in scene.rows[name].items()))

    def states(self):
        return {name: snapshot(side) for name, side in self.sides.items()}

    def start_run(self):
        """Starts a run that nothing stops."""
        return self.start("-q", "run", "--ready", "--reset-error", "--force", "--attended")

    def good_run(self):
        """A run that must go through; conflicts are no failure."""
        with self.start_run() as process:
            status = process.wait(PATIENCE)
        if status not in (0, 2):
            raise AssertionError(f"the run fails: {self.said()}")


class FragileCase(unittest.TestCase):
    """Tests of one class share a practice; TABLES are quinrep's, all of them when there are none."""

    TABLES = ()

    @classmethod
    def setUpClass(cls):
        cls.practice = FragilePractice(*cls.TABLES)
        cls.addClassCleanup(cls.practice.close)
        cls.office, cls.laptop = cls.practice.sides.values()
