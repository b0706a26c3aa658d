"""quinrep on a terminal: progress, summary, and the prompt for a password."""

import os
import re

import practice
from practice_case import PracticeCase
from terminal import screen

PROGRESS = ["[1/2] users running (TIME)", "[1/2] users done (TIME)", "[2/2] chair_type running (TIME)",
            "[2/2] chair_type done (TIME)"]


def without_times(lines):
    return [re.sub(r"\d+\.\d s", "TIME", line) for line in lines]


class QuinrepOnATerminal(PracticeCase):
    def test_progress_is_one_line_that_is_written_over_and_the_summary_stands_below(self):
        terminal = self.terminal("run")
        self.assertEqual(terminal.wait(), 0)
        shown = [screen(state)[-1] for state in terminal.output.split("\r\r\n")[0].split("\r")]
        self.assertEqual(without_times(shown), PROGRESS)
        self.assertEqual(without_times(terminal.lines[:1]), PROGRESS[-1:])
        self.assertRegex(terminal.lines[1], "^Interval: 2026-03-01 18:00:00 to ")
        self.assertRegex(terminal.lines[2], "^  table +method +adds +updates .* conflicts +errors$")
        self.assertRegex(terminal.lines[3], r"^  users +one_way_deletes +1( +0)+$")
        self.assertRegex(terminal.lines[4], r"^  chair_type +one_way_deletes +1( +0)+$")
        self.assertEqual(terminal.lines[5:], [""])

    def test_progress_in_a_file_is_plain_lines(self):
        ended = self.practice.quinrep("run")
        self.assertEqual(ended.returncode, 0)
        self.assertEqual(without_times(ended.stderr.splitlines()), PROGRESS)
        self.assertNotRegex(ended.stdout + ended.stderr, "[\r\x1b]")

    def run_with_typed_passwords(self, command, password):
        self.practice.passwords = ["prompt", "prompt"]
        terminal = self.terminal(command)
        for dsn in ["QuinmarkOffice", "QuinmarkLaptop"]:
            terminal.wait_for(f"Password for {dsn}:")
            terminal.wait_for_reader()
            terminal.type(password + "\r")
        return terminal

    def test_password_that_is_typed_is_taken_and_not_shown(self):
        terminal = self.run_with_typed_passwords("run", os.environ["QUINMARK_PASSWORD"])
        self.assertEqual(terminal.wait(), 0)
        self.assertEqual(terminal.lines[:2], ["Password for QuinmarkOffice:", "Password for QuinmarkLaptop:"])
        self.assertRegex(terminal.lines[2], r"^\[2/2\] chair_type done")

    def test_wrong_password_is_refused_and_not_shown(self):
        terminal = self.run_with_typed_passwords("status", "zyxwv")
        self.assertEqual(terminal.wait(), 1)
        shown = "".join(terminal.lines)
        self.assertIn("password is refused", shown)
        self.assertNotIn("zyxwv", shown)


if __name__ == "__main__":
    practice.main()
