"""Tests of quinrep between the two databases of the test bed."""

import unittest

from practice import NEW, PASSWORD, Practice
from terminal import Terminal

TABLES = ["users", "chair_type"]


class PracticeCase(unittest.TestCase):
    """Begins with empty tables on both sides and a new row at the office in each, and control records without error."""

    Practice = Practice

    @classmethod
    def setUpClass(cls):
        cls.practice = cls.Practice(dict.fromkeys(TABLES, "method = 'one_way_deletes'"))
        cls.addClassCleanup(cls.practice.close)
        cls.office, cls.laptop = cls.practice.sides.values()

    def setUp(self):
        self.practice.site, self.practice.passwords = "offices", [PASSWORD, PASSWORD]
        self.practice.reset()
        self.addCleanup(self.practice.reset)
        self.office.sql(f"""insert into users (unid, user_name, mod_date) values (1, 'new', '{NEW}');
                        insert into chair_type (unid, chair_type_name, mod_date) values (1, 'new', '{NEW}')""")

    def rows_at_laptop(self):
        """The keys in each table."""
        return [self.laptop.column(f"select unid from {table} order by unid") for table in TABLES]

    def terminal(self, *arguments, results=None):
        """quinrep at a terminal; its results in a file where one is named."""
        terminal = Terminal(self.practice.command(*arguments), self.practice.environment, results)
        self.addCleanup(terminal.close)
        return terminal

    def waiting_run(self, *arguments, results=None):
        """A run that waits for what the test has locked at the laptop."""
        terminal = self.terminal(*(arguments or ("run",)), results=results)
        self.laptop.wait_for_waiter()
        return terminal
