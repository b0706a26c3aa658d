"""Runs with clocks an hour apart, clocks that are set back, the hour that comes twice in autumn, and steps of 1/300 s;
and the changes that are lost when an application writes during a run."""

import uuid

from fragile_practice import FragileCase
from practice import LAST_RUN, main
from side import skip_without_postgresql, wait_until

# Table, column, and another column with a value that it needs.
ONE_WAY, TWO_WAY = ("shortcut", "item_name", {}), ("combo_values", "combo_value", {"combo_name": "c"})
NEW_ON_SOURCE = 2
LOCK_WAITERS = "select count(*) from pg_stat_activity where wait_event_type = 'Lock'"


class Clocks(FragileCase):
    TABLES = ("shortcut", "combo_values")

    def setUp(self):
        self.practice.reset()

    def last_run(self, date):
        """Sets the end of the last run's interval."""
        self.office.sql(f"update replication_control set last_timestamp = {date}")

    def recorded_end(self):
        return self.office.value("select last_timestamp from replication_control where unique_key = 0")

    def write(self, side, table, text, date, row="the row"):
        """The application's change of a row; the date as SQL."""
        name, column, others = table
        values = {"unid": str(uuid.uuid5(uuid.NAMESPACE_OID, row)), column: text, **others}
        side.sql(side.insertion(name, [values])[:-1] + f" on conflict (unid) do update set {column} = '{text}';"
                 f"update {name} set mod_date = {date} where unid = '{values['unid']}'")

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
        self.both(TWO_WAY, "old", "'2026-01-01'")
        self.last_run("getdate() - interval '1 hour'")
        self.write(self.laptop, TWO_WAY, "new", "getdate() - interval '30 minutes'")
        self.run_and_assert(TWO_WAY, "new", "new")

    def test_clock_an_hour_behind_when_a_run_was_in_that_hour(self):
        self.both(TWO_WAY, "old", "'2026-01-01'", "changed")
        self.last_run("getdate() - interval '10 minutes'")
        an_hour_ago = "getdate() - interval '1 hour'"
        self.write(self.laptop, TWO_WAY, "new", an_hour_ago, "changed")
        self.write(self.laptop, TWO_WAY, "new", an_hour_ago, "added")
        self.write(self.office, ONE_WAY, "new", an_hour_ago, "added one-way")
        for _ in range(2):
            self.practice.good_run()
            self.assert_row(TWO_WAY, "old", "new", row="changed")
            self.assert_row(TWO_WAY, "new", "new", row="added")
            self.assert_row(ONE_WAY, "new", None, NEW_ON_SOURCE, row="added one-way")

    def test_change_by_a_clock_an_hour_ahead_is_copied_and_wins_against_a_later_one(self):
        self.both(TWO_WAY, "old", "'2026-01-01'")
        self.write(self.laptop, TWO_WAY, "first", "getdate() + interval '1 hour'")
        self.run_and_assert(TWO_WAY, "first", "first")
        self.last_run("getdate() + interval '1 second'")
        self.write(self.office, TWO_WAY, "second", "getdate()")
        self.run_and_assert(TWO_WAY, "first", "first")

    def test_clock_set_back_hides_changes_until_the_last_timestamp_is_moved_back_by_hand(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        self.last_run("getdate() + interval '1 hour'")
        self.write(self.office, ONE_WAY, "new", "getdate() - interval '1 second'")
        self.run_and_assert(ONE_WAY, "new", "old")
        self.assertTrue(self.office.value(f"select '{self.recorded_end()}' < getdate() + interval '1 minute'"))
        self.run_and_assert(ONE_WAY, "new", "old")
        self.last_run("getdate() - interval '2 hours'")
        self.run_and_assert(ONE_WAY, "new", "new")

    def test_in_the_repeated_hour_the_higher_wall_clock_wins_and_a_run_in_it_hides_the_second_pass(self):
        self.both(TWO_WAY, "old", "'2025-10-26 01:00'")
        self.both(ONE_WAY, "old", "'2025-10-26 01:00'")
        self.last_run("'2025-10-26 01:30'")
        self.write(self.office, TWO_WAY, "first pass", "'2025-10-26 02:50'")
        self.practice.good_run()
        self.last_run("'2025-10-26 02:50'")
        self.write(self.laptop, TWO_WAY, "second pass", "'2025-10-26 02:10'")
        self.write(self.office, ONE_WAY, "second pass", "'2025-10-26 02:10'")
        self.practice.good_run()
        self.assert_row(TWO_WAY, "first pass", "second pass")
        self.assert_row(ONE_WAY, "second pass", "old")

    def test_every_step_of_a_datetime_is_copied_and_then_left_alone(self):
        steps = "timestamp '2026-03-02 09:00:00' + make_interval(secs => round(s / 300.0, 3)::double precision)"
        for name, column, others in (ONE_WAY, TWO_WAY):
            self.office.sql(f"insert into {name} ({', '.join([column, 'mod_date', *others])}) select s, {steps}"
                            + ", 'c'" * len(others) + " from generate_series(0, 299) s")
        self.practice.good_run()
        queries = [f"select {column}, mod_date, xmin from {name} order by unid"
                   for name, column, _ in (ONE_WAY, TWO_WAY)]
        first = [side.sql(query) for side in (self.office, self.laptop) for query in queries]
        self.assertEqual([len(rows) for rows in first], [300] * 4)
        self.last_run(f"'{LAST_RUN}'")
        self.practice.good_run()
        self.assertEqual([side.sql(query) for side in (self.office, self.laptop) for query in queries], first)
        self.assertEqual({date.microsecond for _, date, _ in first[2]}, {0})

    # Changes that are lost.

    def test_change_too_soon_after_the_copy_is_not_copied(self):
        for table, row in ((ONE_WAY, "two seconds"), (ONE_WAY, "three seconds"), (TWO_WAY, "the same second")):
            self.both(table, "first", "'2026-03-02 09:00:00'", row)
        self.last_run("'2026-03-02 09:00:00.200'")
        self.write(self.office, ONE_WAY, "second", "'2026-03-02 09:00:02.400'", "two seconds")
        self.write(self.office, ONE_WAY, "second", "'2026-03-02 09:00:02.600'", "three seconds")
        self.write(self.office, TWO_WAY, "second", "'2026-03-02 09:00:00.400'", "the same second")
        self.practice.good_run()
        self.assert_row(ONE_WAY, "second", "first", row="two seconds")
        self.assert_row(ONE_WAY, "second", "second", row="three seconds")
        self.assert_row(TWO_WAY, "second", "first", row="the same second")

    def test_change_committed_after_a_run_under_a_date_before_its_end_is_not_seen(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        with self.office.transaction("update shortcut set item_name = 'new', "
                                     "mod_date = getdate() - interval '1 second'"):
            self.run_and_assert(ONE_WAY, "old", "old")
        self.run_and_assert(ONE_WAY, "new", "old")

    def test_change_of_the_destination_between_the_listing_and_the_copy_is_overwritten(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        self.write(self.office, ONE_WAY, "office", "getdate() - interval '5 seconds'")
        with self.laptop.transaction("update shortcut set item_name = 'laptop', mod_date = getdate()"):
            process = self.practice.start_run()
            self.addCleanup(process.kill)
            wait_until(lambda: self.laptop.value(LOCK_WAITERS), "the copy waits for the change", 60)
        process.wait(60)
        self.assert_row(ONE_WAY, "office", "office")

    def test_change_before_a_last_timestamp_that_was_rounded_up_is_not_seen(self):
        self.both(ONE_WAY, "old", "'2026-01-01'")
        self.last_run("date_trunc('second', getdate()) + interval '1 second'")
        self.write(self.office, ONE_WAY, "new", "(select last_timestamp - interval '400 milliseconds' "
                   "from replication_control where unique_key = 0)")
        self.run_and_assert(ONE_WAY, "new", "old")
        self.assertEqual(self.recorded_end().microsecond, 0)


if __name__ == "__main__":
    skip_without_postgresql()
    main()
