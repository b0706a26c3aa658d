"""Runs with clocks an hour apart, clocks that are set back, the hour that comes twice in autumn, and steps of 1/300 s;
and the changes that are lost when an application writes during a run."""

import collections
import datetime
import re
import uuid

from fragile_practice import PATIENCE, FragileCase
from practice import LAST_RUN, main
from side import literal

# Table, column, and another column with a value that it needs.
ONE_WAY, TWO_WAY = ("shortcut", "item_name", {}), ("combo_values", "combo_value", {"combo_name": "c"})
NEW_ON_SOURCE = 2
LONG_AGO = "2026-01-01"


class Clocks(FragileCase):
    TABLES = ("shortcut", "combo_values")

    def setUp(self):
        self.practice.reset()

    def now(self, **difference):
        """The server's clock, or a time that differs from it by so much."""
        return self.office.now() + datetime.timedelta(**difference)

    def last_run(self, date):
        """Sets the end of the last run's interval."""
        self.office.sql(f"update replication_control set last_timestamp = {literal(date)}")

    def recorded_end(self):
        return self.office.value("select last_timestamp from replication_control where unique_key = 0")

    def write(self, side, table, text, date, row="the row"):
        """The application's change of a row."""
        name, column, others = table
        unid = str(uuid.uuid5(uuid.NAMESPACE_OID, row))
        if side.value(f"select count(*) from {name} where unid = '{unid}'"):
            side.sql(self.change(table, text, date) + f" where unid = '{unid}'")
        else:
            side.sql(side.insertion(name, [{"unid": unid, column: text, "mod_date": date, **others}]))

    @staticmethod
    def change(table, text, date):
        return f"update {table[0]} set {table[1]} = '{text}', mod_date = {literal(date)}"

    def both(self, table, text, date, row="the row"):
        for side in (self.office, self.laptop):
            self.write(side, table, text, date, row)

    def assert_row(self, table, office, laptop, *conflicts, row="the row"):
        """The row's text at the office and at the laptop (None: no row there), and the types of its conflicts."""
        unid = uuid.uuid5(uuid.NAMESPACE_OID, row)
        query = f"select {table[1]} from {table[0]} where unid = '{unid}'"
        self.assertEqual([side.column(query) for side in (self.office, self.laptop)],
                         [[text] if text else [] for text in (office, laptop)], row)
        query = f"select distinct conflict_type from replication_conflict where guid = '{{{unid}}}'"
        self.assertEqual(self.office.column(query), list(conflicts), row)

    def run_and_assert(self, table, office, laptop):
        self.practice.good_run()
        self.assert_row(table, office, laptop)

    # The office's clock is the interval's; here the laptop's is wrong.

    def test_change_by_a_clock_behind_by_less_than_lies_between_two_runs_is_copied(self):
        self.both(TWO_WAY, "old", LONG_AGO)
        self.last_run(self.now(hours=-1))
        self.write(self.laptop, TWO_WAY, "new", self.now(minutes=-30))
        self.run_and_assert(TWO_WAY, "new", "new")

    def test_clock_an_hour_behind_when_a_run_was_in_that_hour(self):
        self.both(TWO_WAY, "old", LONG_AGO, "changed")
        self.last_run(self.now(minutes=-10))
        an_hour_ago = self.now(hours=-1)
        self.write(self.laptop, TWO_WAY, "new", an_hour_ago, "changed")
        self.write(self.laptop, TWO_WAY, "new", an_hour_ago, "added")
        self.write(self.office, ONE_WAY, "new", an_hour_ago, "added one-way")
        for _ in range(2):
            self.practice.good_run()
            self.assert_row(TWO_WAY, "old", "new", row="changed")
            self.assert_row(TWO_WAY, "new", "new", row="added")
            self.assert_row(ONE_WAY, "new", None, NEW_ON_SOURCE, row="added one-way")

    def test_change_by_a_clock_an_hour_ahead_is_copied_and_wins_against_a_later_one(self):
        self.both(TWO_WAY, "old", LONG_AGO)
        self.write(self.laptop, TWO_WAY, "first", self.now(hours=1))
        self.run_and_assert(TWO_WAY, "first", "first")
        self.last_run(self.now(seconds=1))
        self.write(self.office, TWO_WAY, "second", self.now())
        self.run_and_assert(TWO_WAY, "first", "first")

    def test_clock_set_back_hides_changes_until_the_last_timestamp_is_moved_back_by_hand(self):
        self.both(ONE_WAY, "old", LONG_AGO)
        self.last_run(self.now(hours=1))
        self.write(self.office, ONE_WAY, "new", self.now(seconds=-1))
        self.run_and_assert(ONE_WAY, "new", "old")
        self.assertLess(self.recorded_end(), self.now(minutes=1))
        self.run_and_assert(ONE_WAY, "new", "old")
        self.last_run(self.now(hours=-2))
        self.run_and_assert(ONE_WAY, "new", "new")

    def test_in_the_repeated_hour_the_higher_wall_clock_wins_and_a_run_in_it_hides_the_second_pass(self):
        self.both(TWO_WAY, "old", "2025-10-26 01:00")
        self.both(ONE_WAY, "old", "2025-10-26 01:00")
        self.last_run("2025-10-26 01:30")
        self.write(self.office, TWO_WAY, "first pass", "2025-10-26 02:50")
        self.practice.good_run()
        self.last_run("2025-10-26 02:50")
        self.write(self.laptop, TWO_WAY, "second pass", "2025-10-26 02:10")
        self.write(self.office, ONE_WAY, "second pass", "2025-10-26 02:10")
        self.practice.good_run()
        self.assert_row(TWO_WAY, "first pass", "second pass")
        self.assert_row(ONE_WAY, "second pass", "old")

    def test_every_step_of_a_datetime_is_copied_and_then_left_alone(self):
        begin = datetime.datetime(2026, 3, 2, 9)
        steps = [begin + datetime.timedelta(milliseconds=round(step / 0.3)) for step in range(300)]
        for name, column, others in (ONE_WAY, TWO_WAY):
            self.office.sql(self.office.insertion(name, [{column: str(step), "mod_date": date, **others}
                                                         for step, date in enumerate(steps)]))
        self.assertEqual(self.written_rows(), {("Insert", "shortcut"): 300, ("Insert", "combo_values"): 300})
        self.assertEqual({date.microsecond for date in self.laptop.column("select mod_date from shortcut")}, {0})
        self.last_run(LAST_RUN)
        self.assertEqual(self.written_rows(), {})

    def written_rows(self):
        """How often a run has written to which table, by its log."""
        before = self.practice.log.stat().st_size if self.practice.log.exists() else 0
        self.practice.good_run()
        log = self.practice.log.read_bytes()[before:].decode()
        return collections.Counter(re.findall(r"DEBUG: Conn(?:Source|Destination): (\w+) (?:into |from )?(\w+)", log))

    # Changes that are lost.

    def test_change_too_soon_after_the_copy_is_not_copied(self):
        for table, row in ((ONE_WAY, "two seconds"), (ONE_WAY, "three seconds"), (TWO_WAY, "the same second")):
            self.both(table, "first", "2026-03-02 09:00:00", row)
        self.last_run("2026-03-02 09:00:00.200")
        self.write(self.office, ONE_WAY, "second", "2026-03-02 09:00:02.400", "two seconds")
        self.write(self.office, ONE_WAY, "second", "2026-03-02 09:00:02.600", "three seconds")
        self.write(self.office, TWO_WAY, "second", "2026-03-02 09:00:00.400", "the same second")
        self.practice.good_run()
        self.assert_row(ONE_WAY, "second", "first", row="two seconds")
        self.assert_row(ONE_WAY, "second", "second", row="three seconds")
        self.assert_row(TWO_WAY, "second", "first", row="the same second")

    def test_change_committed_after_a_run_under_a_date_before_its_end_is_not_seen(self):
        self.both(ONE_WAY, "old", LONG_AGO)
        with self.office.transaction(self.change(ONE_WAY, "new", self.now(seconds=-1))):
            if not self.office.may("select item_name from shortcut"):
                self.skipTest("readers wait here until a change is committed, so a run sees it")
            self.run_and_assert(ONE_WAY, "old", "old")
        self.run_and_assert(ONE_WAY, "new", "old")

    def test_change_of_the_destination_between_the_listing_and_the_copy_is_overwritten(self):
        self.both(ONE_WAY, "old", LONG_AGO)
        self.write(self.office, ONE_WAY, "office", self.now(seconds=-5))
        relay = self.practice.relays["laptop"]
        relay.freeze_before("Update shortcut")
        with self.practice.start_run() as process:
            relay.wait_until_frozen()
            self.write(self.laptop, ONE_WAY, "laptop", self.now())
            relay.heal()
            self.assertEqual(process.wait(PATIENCE), 0)
        self.assert_row(ONE_WAY, "office", "office")

    def test_change_before_a_last_timestamp_that_was_rounded_up_is_not_seen(self):
        self.both(ONE_WAY, "old", LONG_AGO)
        rounded_up = self.now(seconds=1).replace(microsecond=0)
        self.last_run(rounded_up)
        self.write(self.office, ONE_WAY, "new", rounded_up - datetime.timedelta(milliseconds=400))
        self.run_and_assert(ONE_WAY, "new", "old")
        self.assertEqual(self.recorded_end().microsecond, 0)


if __name__ == "__main__":
    main()
