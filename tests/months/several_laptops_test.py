"""What docs/administration.md says of several laptops, case by case."""

import types
import unittest

import rules
from between import Between
from machines import LAPTOPS, MACHINES, OFFICE, Machines
from month import AT_LAPTOPS, FOR_EACH, KEPT, SHARED, change, insertion, key_of, plan
from pair import LAPTOP
from practice import main
from side import skip_without_postgresql
from values import SECOND, date_of, iso, seconds

KEY = "{6F9619FF-8B86-D011-B42D-00CF4FC964FF}"
NEW = "{0E984725-C51C-4BF4-9960-E1C80E27ABA0}"
LONG_AGO = date_of("2025-01-01")
ONE, TWO, _ = LAPTOPS
NEW_ON_DESTINATION = 3


def at(text):
    return date_of(f"2025-03-{text}")


class SeveralLaptops(unittest.TestCase):
    """Each test has one table in which all machines have one row, "old"; all sites ran last on the 1st of March."""

    @classmethod
    def setUpClass(cls):
        cls.machines = Machines("stories")

    def begin(self, place, method):
        self.practice = types.SimpleNamespace(place=place, plans=[plan("shortcut", method)])
        self.machines.empty(["shortcut"], at("01 20:00"))
        for machine in MACHINES:
            self.type(machine, "old", LONG_AGO)

    def type(self, machine, text, date, key=KEY, form=insertion):
        self.machines.sql(form(machine, "shortcut", key, text, date))

    def change(self, machine, text, date):
        self.type(machine, text, date, form=change)

    def run_with(self, laptop, when, last=None):
        """A run; its message boxes."""
        place = self.practice.place
        local = OFFICE if place.role == "SOURCE" else laptop
        moved = f", last_timestamp = '{iso(last)}'" if last else ""
        self.machines.sql(f"update {local}.clock set now = '{iso(when)}'; update {local}.replication_control set"
                          f" ready_f = 1, error_f = 0, error_message = null{moved} where unique_key = {place.site}")
        between = Between(self.machines, self.practice, laptop)
        between.run()
        if place.site == LAPTOP:
            self.machines.sql(f"update {laptop}.replication_control set last_timestamp = "
                              f"'{iso(seconds(between.end) * SECOND)}' where unique_key = {LAPTOP}")
        self.kinds = [record["kind"] for record in between.conflicts().values()]
        return between.boxes

    def rows(self, machine):
        rows = self.machines.read(machine, ["shortcut"], self.practice.place.site)["shortcut"]
        return {key_of("shortcut", row): row["item_name"] for row in rows}

    def type_for_two_laptops(self, place):
        """The office changes the row, somebody types a new one in at the second laptop; both laptops run."""
        self.begin(place, rules.ONE_WAY_DELETES)
        self.change(OFFICE, "office's", at("02 10:00"))
        self.type(TWO, "second's", at("02 11:00"), NEW)
        last = at("01 20:00") if place is KEPT else None
        self.run_with(ONE, at("02 20:00"))
        self.run_with(TWO, at("02 20:10"), last)
        self.assertEqual(self.rows(ONE), {KEY: "office's"})

    def test_one_record_for_all_laptops_at_the_office_hides_a_change_and_deletes_a_new_row_without_a_conflict(self):
        self.type_for_two_laptops(SHARED)
        self.assertEqual(self.rows(TWO), {KEY: "old"})
        self.assertEqual(self.kinds, [])

    def test_record_in_each_laptops_database_brings_the_change_and_reports_the_new_row(self):
        self.type_for_two_laptops(FOR_EACH)
        self.assertEqual(self.rows(TWO), {KEY: "office's", NEW: "second's"})
        self.assertEqual(self.kinds, [NEW_ON_DESTINATION])

    def test_last_timestamp_of_each_laptop_put_in_at_the_office_does_so_too(self):
        self.type_for_two_laptops(KEPT)
        self.assertEqual(self.rows(TWO), {KEY: "office's", NEW: "second's"})
        self.assertEqual(self.kinds, [NEW_ON_DESTINATION])

    def test_laptops_own_change_stays_without_a_conflict_until_the_office_changes_the_row(self):
        self.begin(AT_LAPTOPS, rules.ONE_WAY)
        self.change(ONE, "laptop's", at("02 10:00"))
        self.run_with(ONE, at("02 20:00"))
        self.assertEqual(self.rows(ONE), {KEY: "laptop's"})
        self.change(OFFICE, "office's", at("03 10:00"))
        self.run_with(ONE, at("03 20:00"))
        self.assertEqual(self.rows(ONE), {KEY: "office's"})
        self.assertEqual(self.kinds, [])

    def bring_late(self):
        """The second laptop's change comes to the office after the first one's run of that night."""
        self.begin(AT_LAPTOPS, rules.TWO_WAY)
        self.change(TWO, "second's", at("02 11:00"))
        self.run_with(ONE, at("02 20:00"))
        self.run_with(TWO, at("02 20:10"))
        self.assertEqual(self.rows(OFFICE), {KEY: "second's"})

    def test_two_way_change_brought_after_a_laptops_run_never_arrives_there_and_is_lost_without_a_box(self):
        self.bring_late()
        self.assertEqual(self.run_with(ONE, at("03 20:00")), [])
        self.assertEqual(self.rows(ONE), {KEY: "old"})
        self.change(ONE, "first's", at("04 10:00"))
        self.assertEqual(self.run_with(ONE, at("04 20:00")), [])
        self.assertEqual(self.rows(OFFICE), {KEY: "first's"})

    def test_two_way_run_that_looks_back_brings_the_change_and_tells_of_a_loss(self):
        self.bring_late()
        self.assertEqual(self.run_with(ONE, at("03 20:00"), at("01 00:00")), [])
        self.assertEqual(self.rows(ONE), {KEY: "second's"})
        self.change(TWO, "second's again", at("04 10:00"))
        self.change(ONE, "first's", at("04 11:00"))
        self.assertEqual(self.run_with(TWO, at("04 20:00"), at("01 00:00")), ["replication conflict"])
        self.assertEqual(self.run_with(ONE, at("04 20:10"), at("01 00:00")), ["replication conflict"])
        self.assertEqual(self.rows(OFFICE), {KEY: "first's"})


if __name__ == "__main__":
    skip_without_postgresql()
    main()
