"""A run that is ended in the middle: by Ctrl-C, by Ctrl-C twice, and by force."""

import json
import os
import pathlib
import re
import signal

import practice
from practice import LAST_RUN
from terminal import CTRL_C, Terminal


RECOVERY = pathlib.Path(__file__).parents[2] / "docs" / "recovery.md"


class InterruptedRun(practice.PracticeTest):
    def setUp(self):
        super().setUp()
        self.add_rows(1)

    def start(self):
        """A run that waits in the middle of the first table, for as long as the test keeps that locked."""
        terminal = Terminal(self.command("run"), self.environment)
        self.addCleanup(terminal.__exit__)
        self.laptop.wait_for_waiter()
        return terminal

    def cancelled_run(self):
        with self.laptop.locked("users"):
            terminal = self.start()
            terminal.type(CTRL_C)
            terminal.wait_for("^C")
        return terminal

    def has_patient_key(self):
        return self.office.sql("select count(*) from pg_constraint where conname = 'fk_patient_dentist'") == "1"

    def patient_key(self):
        return json.loads(self.office.sql("select json_build_object('oid', oid, 'rule', pg_get_constraintdef(oid)) "
                                          "from pg_constraint where conname = 'fk_patient_dentist'"))

    def assert_converges(self, *arguments):
        ended = self.quinrep("run", *arguments)
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)
        self.assertEqual(self.rows_at_laptop(), ["1", "1"])
        self.assertGreater(self.control("last_timestamp"), LAST_RUN)
        self.assertTrue(self.has_patient_key())

    def test_ctrl_c_ends_it_before_the_next_table(self):
        terminal = self.cancelled_run()
        self.assertEqual(terminal.wait(), 1)
        self.assertEqual(self.rows_at_laptop(), ["1", ""])
        self.assertIn("Not done: chair_type", terminal.lines)
        self.assertIn("Cancelled before table chair_type, with 1 of 2 tables not done", "\n".join(terminal.lines))
        self.assertEqual(self.control("last_timestamp, error_f, error_message"),
                         LAST_RUN + "|t|Cancelled before table chair_type, with 1 of 2 tables not done")

    def test_run_after_ctrl_c_needs_the_error_reset_and_then_does_everything(self):
        self.cancelled_run().wait()
        self.assertFalse(self.has_patient_key())
        refused = self.quinrep("run")
        self.assertEqual(refused.returncode, 4)
        self.assertIn("the last run is in error: Cancelled before table chair_type", refused.stderr)
        self.assert_converges("--reset-error", "--ready")

    def test_patient_key_added_by_hand_is_dropped_and_added_by_the_next_run(self):
        self.cancelled_run().wait()
        documented, = re.findall(r"^    (alter table .*?)\n\n", RECOVERY.read_text(), re.M | re.S)
        self.office.sql(documented)
        by_hand = self.patient_key()
        self.assertEqual(by_hand["rule"], "FOREIGN KEY (dc_id, dentist_id) REFERENCES dentist(dc_id, dentist_id)")
        self.assert_converges("--reset-error", "--ready")
        by_run = self.patient_key()
        self.assertEqual(by_run["rule"], by_hand["rule"])
        self.assertNotEqual(by_run["oid"], by_hand["oid"])

    def test_ctrl_c_during_the_look_ahead_writes_nothing(self):
        with self.laptop.locked("users", "access exclusive"):
            terminal = self.start()
            terminal.type(CTRL_C)
            terminal.wait_for("^C")
        self.assertEqual(terminal.wait(), 1)
        self.assertIn("quinrep: cancelled before the first table; nothing was written", "".join(terminal.lines))
        self.assertTrue(self.has_patient_key())
        self.assertEqual(self.control("last_timestamp, error_f"), LAST_RUN + "|f")

    def test_second_ctrl_c_ends_it_at_once(self):
        with self.laptop.locked("users"):
            terminal = self.start()
            terminal.type(CTRL_C)
            terminal.wait_for("^C")
            terminal.type(CTRL_C)
            self.assertEqual(terminal.wait(patience=5), 1)
            self.laptop.end_waiters()
        self.assertEqual(self.control("last_timestamp, error_f"), LAST_RUN + "|f")
        self.assert_converges()

    def test_killed_run_is_not_in_the_way_of_the_next(self):
        with self.laptop.locked("users"):
            terminal = self.start()
            refused = self.quinrep("run")
            self.assertEqual(refused.returncode, 4)
            self.assertIn("another run of this site is going on", refused.stderr)
            os.kill(terminal.pid, signal.SIGKILL)
            self.assertEqual(terminal.wait(), -signal.SIGKILL)
            self.laptop.end_waiters()
        self.assertEqual(self.control("last_timestamp, error_f"), LAST_RUN + "|f")
        self.assert_converges()


if __name__ == "__main__":
    practice.main()
