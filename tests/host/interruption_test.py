"""A run that is ended in the middle: by Ctrl-C, by Ctrl-C twice, and by force."""

import os
import re
import signal

import practice
from practice import LAST_RUN
from practice_case import FIRST_ROW, SECOND_ROW, PracticeCase
from terminal import CTRL_C

RECOVERY = practice.REPOSITORY / "docs" / "recovery.md"
CANCELLED = "Cancelled before table chair_type, with 1 of 2 tables not done"


class InterruptedRun(PracticeCase):
    def cancelled_run(self, statement=FIRST_ROW):
        """A run that is cancelled before the laptop gets this statement."""
        terminal = self.held_run(statement)
        terminal.type(CTRL_C)
        terminal.wait_for("^C")
        self.relay.heal()
        self.assertEqual(terminal.wait(), 1)
        return terminal

    def assert_unchanged(self):
        self.assertEqual(self.practice.control("last_timestamp, error_f"), (LAST_RUN, False))

    def assert_converges(self, *arguments):
        ended = self.practice.quinrep("run", *arguments)
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)
        self.assertEqual(self.rows_at_laptop(), [[1], [1]])
        self.assertGreater(self.practice.control("last_timestamp"), LAST_RUN)
        self.assertTrue(self.office.has_patient_key())

    def test_ctrl_c_ends_it_before_the_next_table_and_the_next_run_needs_the_error_reset(self):
        terminal = self.cancelled_run()
        self.assertEqual(self.rows_at_laptop(), [[1], []])
        self.assertIn("Not done: chair_type", terminal.lines)
        self.assertIn(CANCELLED, "\n".join(terminal.lines))
        self.assertEqual(self.practice.control("last_timestamp, error_f, error_message"), (LAST_RUN, True, CANCELLED))
        self.assertFalse(self.office.has_patient_key())
        refused = self.practice.quinrep("run")
        self.assertEqual(refused.returncode, 4)
        self.assertIn("the last run is in error: Cancelled before table chair_type", refused.stderr)
        self.assert_converges("--reset-error", "--ready")

    def test_patient_key_added_by_hand_is_dropped_and_added_by_the_next_run(self):
        self.cancelled_run()
        documented, = re.findall(r"^    (alter table .*?)\n\n", RECOVERY.read_text(), re.M | re.S)
        self.office.sql(documented)
        self.assert_no_patient_without_dentist()
        terminal = self.held_run(SECOND_ROW, "run", "--reset-error", "--ready")
        self.assertFalse(self.office.has_patient_key())
        self.relay.heal()
        self.assertEqual(terminal.wait(), 0)
        self.assert_no_patient_without_dentist()

    def assert_no_patient_without_dentist(self):
        self.assertTrue(self.office.has_patient_key())
        with self.assertRaises(self.office.REFUSED):
            self.office.sql("insert into patient (unid, full_name, dc_id, dentist_id) values (-1, 'new', -1, -1)")

    def test_ctrl_c_during_the_look_ahead_writes_nothing(self):
        terminal = self.cancelled_run("select count(*) from users")
        self.assertIn("quinrep: cancelled before the first table; nothing was written", "".join(terminal.lines))
        self.assertTrue(self.office.has_patient_key())
        self.assert_unchanged()

    def test_second_ctrl_c_ends_it_at_once(self):
        terminal = self.held_run(FIRST_ROW)
        terminal.type(CTRL_C)
        terminal.wait_for("^C")
        terminal.type(CTRL_C)
        self.assertEqual(terminal.wait(patience=5), 1)
        self.relay.cut(refuse=False)
        self.assert_unchanged()
        self.assert_converges()

    def test_killed_run_is_not_in_the_way_of_the_next(self):
        terminal = self.held_run(FIRST_ROW)
        refused = self.practice.quinrep("run")
        self.assertEqual(refused.returncode, 4)
        self.assertIn("another run of this site is going on", refused.stderr)
        os.kill(terminal.pid, signal.SIGKILL)
        self.assertEqual(terminal.wait(), -signal.SIGKILL)
        self.relay.cut(refuse=False)
        self.assert_unchanged()
        self.assert_converges()


if __name__ == "__main__":
    practice.main()
