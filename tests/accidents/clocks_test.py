"""What the rules make of clocks: an hour apart, set back, the hour that comes twice in autumn, steps of 1/300 s; and
which changes they lose while an application writes beside a run."""

import unittest

import practice
from bench import Bench
from scene import LAST

KEY = "11111111-2222-3333-4444-555555555555"
ONE_WAY, TWO_WAY = ("shortcut", "item_name"), ("combo_values", "combo_value")


class Clocks(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.bench = Bench()
        cls.addClassCleanup(cls.bench.close)
        cls.office, cls.laptop = cls.bench.sides.values()

    def setUp(self):
        clear = ("delete from shortcut; delete from combo_values; delete from replication_conflict_data;"
                 "delete from replication_conflict;")
        self.laptop.sql(clear)
        self.office.sql(f"{clear} update replication_control set last_timestamp = '{LAST}'")

    def last_run(self, date):
        """Sets the end of the last run's interval."""
        self.office.sql(f"update replication_control set last_timestamp = {date}")

    def write(self, side, table, text, date):
        """The application's change of the one row of a table; the date as SQL."""
        name, column = table
        other = ", combo_name" if table is TWO_WAY else ""
        value = ", 'c'" if table is TWO_WAY else ""
        side.sql(f"insert into {name} (unid, {column}, mod_date{other}) values ('{KEY}', '{text}', {date}{value})"
                 f" on conflict (unid) do update set {column} = '{text}', mod_date = {date}")

    def both(self, table, text, date):
        for side in (self.office, self.laptop):
            self.write(side, table, text, date)

    def run_and_read(self, table):
        """The text at the office and at the laptop, and the conflicts' types, after a run."""
        self.bench.good_run()
        name, column = table
        texts = f"select coalesce(string_agg({column}, ',' order by {column}), '') from {name}"
        types = "select coalesce(string_agg(conflict_type::text, ','), '') from replication_conflict"
        at_office, conflicts = self.office.sql(f"select ({texts}) || '|' || ({types})").split("|")
        return at_office, self.laptop.sql(texts), conflicts

    # The office's clock is the interval's; here the laptop's is wrong.

    def test_change_by_a_clock_behind_by_less_than_lies_between_two_runs_is_copied(self):
        self.both(TWO_WAY, "old", "'2026-01-01'")
        self.last_run("getdate() - interval '1 hour'")
        self.write(self.laptop, TWO_WAY, "new", "getdate() - interval '30 minutes'")
        self.assertEqual(self.run_and_read(TWO_WAY), ("new", "new", ""))

    def test_change_by_a_clock_an_hour_behind_is_not_seen_when_a_run_was_in_that_hour(self):
        self.both(TWO_WAY, "old", "'2026-01-01'")
        self.last_run("getdate() - interval '10 minutes'")
        self.write(self.laptop, TWO_WAY, "new", "getdate() - interval '1 hour'")
        self.assertEqual(self.run_and_read(TWO_WAY), ("old", "new", ""))
        self.assertEqual(self.run_and_read(TWO_WAY), ("old", "new", ""))

    def test_change_by_a_clock_an_hour_ahead_is_copied_once(self):
        self.both(TWO_WAY, "old", "'2026-01-01'")
        self.write(self.laptop, TWO_WAY, "new", "getdate() + interval '1 hour'")
        self.assertEqual(self.run_and_read(TWO_WAY), ("new", "new", ""))

    def test_later_change_loses_against_one_by_a_clock_ahead(self):
        self.both(TWO_WAY, "old", "'2026-01-01'")
        self.write(self.laptop, TWO_WAY, "first", "getdate() + interval '1 hour'")
        self.run_and_read(TWO_WAY)
        self.last_run("getdate() + interval '1 second'")
        self.write(self.office, TWO_WAY, "second", "getdate()")
        self.assertEqual(self.run_and_read(TWO_WAY), ("first", "first", ""))

    def test_new_row_by_a_clock_behind_is_reported_by_one_way(self):
        self.last_run("getdate() - interval '10 minutes'")
        self.write(self.office, ONE_WAY, "new", "getdate() - interval '1 hour'")
        self.assertEqual(self.run_and_read(ONE_WAY), ("new", "", "2"))

    def test_new_row_by_a_clock_behind_is_copied_by_two_way(self):
        self.last_run("getdate() - interval '10 minutes'")
        self.write(self.laptop, TWO_WAY, "new", "getdate() - interval '1 hour'")
        self.assertEqual(self.run_and_read(TWO_WAY), ("new", "new", ""))

    def test_clock_set_back_hides_changes_until_it_has_caught_up_and_the_next_run_forgets_them(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        self.last_run("getdate() + interval '1 hour'")
        self.write(self.office, ONE_WAY, "new", "getdate() - interval '1 second'")
        self.assertEqual(self.run_and_read(ONE_WAY), ("new", "old", ""))
        self.assertEqual(self.office.sql("select last_timestamp < getdate() + interval '1 minute' "
                                         "from replication_control where unique_key = 0"), "t")
        self.assertEqual(self.run_and_read(ONE_WAY), ("new", "old", ""))

    def test_last_timestamp_moved_back_by_hand_finds_them(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        self.write(self.office, ONE_WAY, "new", "getdate() - interval '90 minutes'")
        self.last_run("getdate()")
        self.run_and_read(ONE_WAY)
        self.last_run("getdate() - interval '2 hours'")
        self.assertEqual(self.run_and_read(ONE_WAY), ("new", "new", ""))

    def test_second_pass_of_the_repeated_hour_is_not_seen_after_a_run_in_the_first(self):
        self.both(ONE_WAY, "old", "'2025-10-26 01:00'")
        self.last_run("'2025-10-26 02:40'")
        self.write(self.office, ONE_WAY, "second pass", "'2025-10-26 02:10'")
        self.assertEqual(self.run_and_read(ONE_WAY), ("second pass", "old", ""))

    def test_without_a_run_in_the_repeated_hour_the_higher_wall_clock_wins_in_two_way(self):
        self.both(TWO_WAY, "old", "'2025-10-26 01:00'")
        self.last_run("'2025-10-26 01:30'")
        self.write(self.office, TWO_WAY, "first pass", "'2025-10-26 02:50'")
        self.bench.good_run()
        self.last_run("'2025-10-26 02:50'")
        self.write(self.laptop, TWO_WAY, "second pass", "'2025-10-26 02:10'")
        self.assertEqual(self.run_and_read(TWO_WAY), ("first pass", "second pass", ""))

    def test_every_step_of_a_datetime_is_copied_and_then_left_alone(self):
        steps = "timestamp '2026-03-02 09:00:00' + make_interval(secs => round(s / 300.0, 3)::double precision)"
        for name, column, other in (("shortcut", "item_name", ""), ("combo_values", "combo_value", ", combo_name")):
            value = ", 'c'" if other else ""
            self.office.sql(f"insert into {name} ({column}, mod_date{other}) select s, {steps}{value}"
                            " from generate_series(0, 299) s")
        self.bench.good_run()
        written = "select coalesce(string_agg({0} || ' ' || mod_date || ' ' || xmin, ',' order by unid), '') from {1}"
        tables = [written.format("item_name", "shortcut"), written.format("combo_value", "combo_values")]
        first = [side.sql(table) for side in (self.office, self.laptop) for table in tables]
        self.assertEqual([text.count(",") for text in first], [299] * 4)
        self.last_run(f"'{LAST}'")
        self.bench.good_run()
        self.assertEqual([side.sql(table) for side in (self.office, self.laptop) for table in tables], first)
        whole = "select count(*) from shortcut where date_trunc('second', mod_date) <> mod_date"
        self.assertEqual(self.laptop.sql(whole), "0")

    # What the rules lose.

    def test_change_within_two_seconds_of_the_copy_is_not_copied_by_one_way(self):
        self.both(ONE_WAY, "first", "'2026-03-02 09:00:00'")
        for text, date, at_laptop in (("second", "02.400", "first"), ("third", "02.600", "third")):
            self.last_run("'2026-03-02 09:00:01'")
            self.write(self.office, ONE_WAY, text, f"'2026-03-02 09:00:{date}'")
            self.assertEqual(self.run_and_read(ONE_WAY), (text, at_laptop, ""))

    def test_change_in_the_same_second_as_the_copy_is_not_copied_by_two_way(self):
        self.both(TWO_WAY, "first", "'2026-03-02 09:00:00'")
        self.write(self.office, TWO_WAY, "second", "'2026-03-02 09:00:00.400'")
        self.assertEqual(self.run_and_read(TWO_WAY), ("second", "first", ""))

    def test_change_committed_after_a_run_under_a_date_before_its_end_is_not_seen(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        with self.office.transaction("update shortcut set item_name = 'new', "
                                     "mod_date = getdate() - interval '1 second'"):
            self.assertEqual(self.run_and_read(ONE_WAY), ("old", "old", ""))
        self.assertEqual(self.run_and_read(ONE_WAY), ("new", "old", ""))

    def test_change_of_the_destination_between_the_listing_and_the_copy_is_overwritten(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        self.write(self.office, ONE_WAY, "office", "getdate() - interval '5 seconds'")
        with self.laptop.transaction("update shortcut set item_name = 'laptop', mod_date = getdate()"):
            process = self.bench.start()
            self.addCleanup(process.kill)
            waiting = "select count(*) from pg_stat_activity where wait_event_type = 'Lock'"
            practice.wait_until(lambda: self.laptop.sql(waiting) != "0", "the copy waits for the change", 60)
        process.wait(60)
        self.assertEqual(self.run_and_read(ONE_WAY), ("office", "office", ""))

    def test_change_before_a_last_timestamp_that_was_rounded_up_is_not_seen(self):
        self.bench.good_run()
        date = self.office.sql("select last_timestamp from replication_control where unique_key = 0")
        self.assertNotIn(".", date)
        self.both(ONE_WAY, "old", "'2026-01-01'")
        self.last_run("date_trunc('second', getdate()) + interval '1 second'")
        self.write(self.office, ONE_WAY, "new", "(select last_timestamp - interval '400 milliseconds' "
                   "from replication_control where unique_key = 0)")
        self.assertEqual(self.run_and_read(ONE_WAY), ("new", "old", ""))


if __name__ == "__main__":
    practice.main()
