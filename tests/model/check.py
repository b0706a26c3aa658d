"""Tries cases on the component and compares the outcome with the model."""

import datetime

from bed import Databases, Host
from dialect import DIALECT, LeftOut
from outcome import Actual, Expected, differences, tables_of
from pair import OFFICES
from values import EPOCH, MILLISECOND, iso

# Milliseconds between the server's clock at the start of a run and ours at its end.
CLOCK_TOLERANCE = 60_000


class Check:
    """A pair of databases, and a component for each site and role, for many cases."""

    def __init__(self, number):
        self._databases = Databases(number)
        self._hosts = {}
        self._patient_key = self._databases.has_patient_key()
        # Differences of the server from its documents, and the reason for which the last case was left out.
        self.differences = DIALECT.differences(lambda statement: self._host(OFFICES, "SOURCE").ask("try", statement))
        self.left_out = None

    def _host(self, *key):
        if key not in self._hosts:
            self._hosts[key] = Host(self._databases, *key)
        return self._hosts[key]

    def faults(self, case):
        """The differences between component and model in this case; none if it is left out."""
        self.left_out = None
        try:
            return self._faults(case)
        except LeftOut as reason:
            self.left_out = str(reason)
            return []

    def _faults(self, case):
        self._databases.set(case.state, case.tables(), case.site, case.last)
        expected = Expected(case, self._databases.names, self._patient_key)
        actual = Actual(case, self._databases, self._host(case.site, case.role))
        refused = expected.create()
        found = differences({"create": refused}, {"create": actual.create()})
        if found or refused:
            return found
        found, first, expected = self._one_run(case, expected, actual)
        if found or not case.again:
            return [f"run 1: {line}" for line in found]
        if case.again == "new":
            expected.create()
            actual.create()
        found, second, _ = self._one_run(case, expected, actual)
        if not found and must_be_quiet(case, first):
            found = differences(tables_of(first, case.tables()), tables_of(second, case.tables()), ".written again")
        return [f"run 2: {line}" for line in found]

    def _one_run(self, case, expected, actual):
        """The differences of a run, its outcome, and the model after it."""
        # Rows in the order in which they are listed.
        state = actual.state
        expected.begin()
        outcome = actual.run()
        self._patient_key = outcome["key"]
        next_date = outcome.pop("next") if case.run else case.next
        found, expected = closest(expected, outcome, state, next_date, outcome["control"][2])
        now = (datetime.datetime.now() + self._databases.clock - EPOCH) // MILLISECOND
        if case.run and abs(now - next_date) > CLOCK_TOLERANCE:
            found.append(f"the interval ends at {iso(next_date)}, which is not now")
        return found, outcome, expected


def closest(expected, outcome, *arguments):
    """The differences of a run to the model's in the order of rows that leads to the outcome; if none does, in the
    first order. The model after it."""
    first = None
    for order in DIALECT.orders():
        model = expected.copy()
        found = differences(model.run(order, *arguments), outcome)
        if not found:
            return found, model
        first = first or (found, model)
    return first


def must_be_quiet(case, first):
    """Whether a second run right after has nothing to write.

    Not so after a failure; when the interval has moved past rows that were reported as new and are deleted now; and for
    keys that a statement does not find again, those with an apostrophe.
    """
    moved = case.run and case.site == OFFICES
    keys = [row[plan["key_field"]] for plan in case.plans if plan["key_field"]
            for tables in case.state.values() for row in tables[plan["name"].lower()]]
    return not first["error"] and not moved and not any("'" in key for key in keys if isinstance(key, str))
