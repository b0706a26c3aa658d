"""Tries cases on the component and holds what it does against the model."""

import datetime
import os
import pathlib

from bed import Databases, Host
from outcome import Actual, Expected, differences, tables_of
from rules import OFFICES
from values import EPOCH, MILLISECOND, ZERO_DATE, iso

# Milliseconds between the server's clock at the start of a run and ours at its end.
CLOCK_TOLERANCE = 60_000


class Bench:
    """Databases and hosts for many cases; a host for each site and role."""

    def __init__(self, program, folder):
        self.databases = Databases()
        self._program = program
        self._folder = pathlib.Path(folder)
        self._hosts = {}
        self.patient_key = self.databases.has_patient_key()
        # Without a display a message box is over before anybody sees it.
        self.shows_boxes = bool(os.environ.get("DISPLAY"))

    def host(self, case):
        key = (case.site, case.role)
        if key not in self._hosts:
            self._hosts[key] = Host(self._program, *key, self._folder / f"model-{key[0]}-{key[1]}.log")
        return self._hosts[key]

    def close(self):
        for host in self._hosts.values():
            host.close()
        self.databases.close()


def faults(case, bench):
    """Where component and model differ in this case."""
    bench.databases.set(case.state, case.tables(), case.site, case.last)
    expected, actual = Expected(case, bench.patient_key), Actual(case, bench.databases, bench.host(case))
    refused = expected.create()
    found = differences({"create": refused}, {"create": actual.create()})
    if found or refused:
        return found
    found, first = _one_run(case, expected, actual, bench)
    if found or not case.again:
        return [f"run 1: {line}" for line in found]
    if case.again == "new":
        expected.create()
        actual.create()
    found, second = _one_run(case, expected, actual, bench)
    if not found and must_be_quiet(case, first):
        found = differences(tables_of(first, case.tables()), tables_of(second, case.tables()), ".written again")
    return [f"run 2: {line}" for line in found]


def must_be_quiet(case, first):
    """Whether a second run right after has nothing to write.

    Not so after a failure; when the interval has moved past rows that were reported as new and are deleted now; and for
    keys that a statement does not find again, those with an apostrophe.
    """
    moved = case.run and case.site == OFFICES
    keys = [row[plan["key_field"]] for plan in case.plans if plan["key_field"]
            for tables in case.state.values() for row in tables[plan["name"].lower()]]
    return not first["error"] and not moved and not any("'" in key for key in keys if isinstance(key, str))


def _one_run(case, expected, actual, bench):
    # Rows in the order of storage, in which one side's rows are listed.
    state = bench.databases.read(case.tables(), case.site)
    expected.begin()
    outcome = actual.run(iso(case.next), "0" if case.last == ZERO_DATE else iso(case.last))
    bench.patient_key = outcome["key"]
    next_date = outcome.pop("next") if case.run else case.next
    wanted = expected.run(state, next_date, outcome["control"][2])
    if not bench.shows_boxes:
        wanted["boxes"] = []
    found = differences(wanted, outcome)
    now = (datetime.datetime.now() - EPOCH) // MILLISECOND
    if case.run and abs(now - next_date) > CLOCK_TOLERANCE:
        found.append(f"the interval ends at {iso(next_date)}, which is not now")
    return found, outcome
