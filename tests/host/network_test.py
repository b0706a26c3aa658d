"""Runs through a network that is cut or stands still in the middle of a table."""

import json
import time

from own_databases import OwnDatabases
from practice import LAST_RUN, main
from practice_case import FIRST_ROW, SECOND_ROW, PracticeCase
from side import wait_until
from terminal import CTRL_C


class RunThroughABadNetwork(PracticeCase):
    Practice = OwnDatabases

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.results = cls.practice.folder / "results.json"

    def hold(self, statement, *arguments):
        return self.held_run(statement, "-q", "run", "--json", *arguments, results=self.results)

    def failed_run(self, heal, reset=True):
        """The result of a run whose connection is cut before the first row is copied. `heal` lets it connect again."""
        terminal = self.hold(FIRST_ROW)
        self.relay.cut(refuse=not heal, reset=reset)
        self.assertEqual(terminal.wait(), 1)
        result = json.loads(self.results.read_text())
        self.assertTrue(result["connection_lost"])
        self.assertEqual([table["done"] for table in result["tables"]], [False, False])
        self.assertEqual(self.practice.control("last_timestamp"), LAST_RUN)
        return result

    def assert_told(self, result):
        """The result's error stands in the control record."""
        self.assertNotEqual(result["error"]["text"], "")
        self.assertEqual(self.practice.control("error_f, error_message"), (True, result["error"]["text"]))
        self.assertEqual(result["recorded"], result["error"]["text"])

    def test_databases_that_no_longer_belong_together_are_no_lost_connection(self):
        self.laptop.sql("alter table users add constraint no_user check (unid <> 1)")
        self.addCleanup(self.laptop.sql, "alter table users drop constraint no_user")
        for mark, said in (("PatInfoVer", "(PatInfoVer) out of sync"), ("Version", "(Quinmark Version) out of sync"),
                           ("DBOffice", "Subscript out of range")):
            with self.subTest(mark):
                before = self.laptop.value(f"select id from control where type = '{mark}'")
                restore = f"update control set id = '{before}' where type = '{mark}'"
                self.addCleanup(self.laptop.sql, restore)
                terminal = self.hold(FIRST_ROW, "--ready", "--reset-error")
                self.laptop.sql(f"update control set id = 'other' where type = '{mark}'")
                self.relay.heal()
                self.assertEqual(terminal.wait(), 1)
                self.assertFalse(json.loads(self.results.read_text())["connection_lost"])
                self.assertIn(said, self.practice.quinrep("check").stdout)
                self.laptop.sql(restore)

    def test_remote_database_lost_is_told_to_the_control_record(self):
        result = self.failed_run(heal=False)
        self.assertIn("The server does not answer", result["error"]["todo"])
        self.assert_told(result)

    def test_local_database_lost_for_a_moment_is_told_to_the_control_record(self):
        self.practice.site = "laptop"
        self.assert_told(self.failed_run(heal=True, reset=False))

    def test_local_database_that_stays_away_cannot_be_told_and_the_result_says_so(self):
        self.practice.site = "laptop"
        self.assertEqual(self.failed_run(heal=False)["recorded"], "")
        self.assertFalse(self.practice.control("error_f"))

    def test_network_that_stands_still_is_waited_for(self):
        terminal = self.hold(SECOND_ROW)
        time.sleep(0.3)
        self.assertTrue(terminal.running)
        self.assertEqual(self.rows_at_laptop(), [[1], []])
        self.relay.heal()
        self.assertEqual(terminal.wait(), 0)
        self.assertEqual(self.rows_at_laptop(), [[1], [1]])

    def test_second_ctrl_c_ends_a_run_whose_network_stands_still(self):
        terminal = self.hold(SECOND_ROW)
        terminal.type(CTRL_C)
        terminal.wait_for("^C")
        time.sleep(0.3)
        self.assertTrue(terminal.running)
        terminal.type(CTRL_C)
        self.assertEqual(terminal.wait(patience=5), 1)
        self.relay.cut(refuse=False)
        self.assertEqual(self.practice.quinrep("run").returncode, 0)
        self.assertEqual(self.rows_at_laptop(), [[1], [1]])

    def test_watch_comes_back_by_itself_when_the_connection_is_lost_in_a_table_and_before_the_first(self):
        terminal = self.hold(FIRST_ROW, "--watch")
        self.relay.cut()
        failures = [self.time_of_attempt(1)]
        self.relay.heal()
        self.relay.freeze_before("from control where type")
        self.relay.wait_until_frozen()
        self.relay.cut(refuse=False)
        failures.append(self.time_of_attempt(2))
        self.assertTrue(self.practice.control("error_f"))
        success = self.time_of_attempt(3)
        self.assertGreater(success - failures[1], failures[1] - failures[0] + 2)
        self.assertEqual(self.rows_at_laptop(), [[1], [1]])
        self.assertFalse(self.practice.control("error_f"))
        self.assertGreater(self.practice.control("last_timestamp"), LAST_RUN)
        terminal.type(CTRL_C)
        self.assertEqual(terminal.wait(), 0)

    def time_of_attempt(self, number):
        """When the watch has told the result of an attempt."""
        wait_until(lambda: self.results.read_text().count("\n") >= number, f"attempt {number} has ended")
        return time.monotonic()


if __name__ == "__main__":
    main()
