"""Tests of quinrep between two databases, with a relay in front of the laptop's."""

import unittest

from practice import NEW, PASSWORD, Practice
from terminal import Terminal

TABLES = ["users", "chair_type"]
# The statements that copy the new rows to the laptop.
FIRST_ROW, SECOND_ROW = "Insert into users", "Insert into chair_type"


class PracticeCase(unittest.TestCase):
    """Begins with empty tables on both sides and a new row at the office in each, and control records without error."""

    Practice = Practice

    @classmethod
    def setUpClass(cls):
        cls.practice = cls.Practice(dict.fromkeys(TABLES, "method = 'one_way_deletes'"))
        cls.addClassCleanup(cls.practice.close)
        cls.office, cls.laptop = cls.practice.sides.values()
        cls.relay = cls.practice.relay("laptop")

    def setUp(self):
        self.practice.site, self.practice.passwords = "offices", [PASSWORD, PASSWORD]
        self.relay.heal()
        self.practice.reset()
        self.addCleanup(self.practice.reset)
        self.office.sql(self.office.insertion("users", [{"unid": 1, "user_name": "new", "mod_date": NEW}]) +
                        self.office.insertion("chair_type", [{"unid": 1, "chair_type_name": "new", "mod_date": NEW}]))

    def rows_at_laptop(self):
        """The keys in each table."""
        return [self.laptop.column(f"select unid from {table} order by unid") for table in TABLES]

    def terminal(self, *arguments, results=None):
        """quinrep at a terminal; its results in a file where one is named."""
        terminal = Terminal(self.practice.command(*arguments), self.practice.environment, results)
        self.addCleanup(terminal.close)
        return terminal

    def held_run(self, statement, *arguments, results=None):
        """A run that is held before the laptop gets a statement with this text."""
        self.relay.freeze_before(statement)
        terminal = self.terminal(*(arguments or ("run",)), results=results)
        self.relay.wait_until_frozen()
        return terminal
