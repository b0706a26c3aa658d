"""The office goes on working while quinrep makes the first copy, and the next run brings what the copy has missed."""

import datetime

import practice
from practice_case import PracticeCase


class OfficeDuringTheCopy(PracticeCase):
    def setUp(self):
        super().setUp()
        self.practice.site = "laptop"

    def users_at_laptop(self):
        return [tuple(row) for row in self.laptop.sql("select unid, user_name from users order by unid")]

    def change_users_at_the_office(self, name, seconds_from_now=0):
        """All users get another name, and a new one comes, by the office's clock."""
        (now,), = self.office.sql("select getdate()")
        date = (now + datetime.timedelta(seconds=seconds_from_now)).isoformat(timespec="milliseconds")
        self.office.sql(f"update users set user_name = '{name}', mod_date = '{date}';"
                        "insert into users (unid, user_name, mod_date)"
                        f" select max(unid) + 1, 'new', '{date}' from users")

    def run_once(self):
        """Each run overwrites the one user that the laptop has, which is more than it may."""
        ended = self.practice.quinrep("run", "--ready", "--force")
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)

    def test_changes_made_during_and_after_it_come_with_the_next_run(self):
        copy = self.held_run("Delete from chair_type", "copy")
        self.change_users_at_the_office("during")
        self.relay.heal()
        self.assertEqual(copy.wait(), 0, copy.lines)
        self.assertEqual(self.users_at_laptop(), [(1, "new")])
        self.run_once()
        self.assertEqual(self.users_at_laptop(), [(1, "during"), (2, "new")])
        # Dates of two seconds count as one.
        self.change_users_at_the_office("after", seconds_from_now=10)
        self.run_once()
        self.assertEqual(self.users_at_laptop(), [(1, "after"), (2, "after"), (3, "new")])
        self.assertEqual(self.laptop.sql("select table_name from replication_conflict"), [])

    def test_run_after_it_copies_nothing_again(self):
        self.assertEqual(self.practice.quinrep("copy").returncode, 0)
        ended = self.practice.quinrep("run", "--ready")
        self.assertRegex(ended.stdout, r"users +one_way_deletes +0 +0 +0 +0 +0 +0 +0\n")


if __name__ == "__main__":
    practice.main()
