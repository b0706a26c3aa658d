"""The component between the office and a laptop, and the model beside it."""

import copy

import conflict
from cases import SIDES, Case
from check import closest
from outcome import Actual, Expected, conflicts_by_id, date_of_json, differences, ordered
from pair import Pair
from server import Database, Failure, host_number, raised
from values import iso

LOCAL = {"SOURCE": "source", "DESTINATION": "destination"}


class Find(Exception):
    """Something that must not be; its arguments are lines."""


class Between:
    """One run or decision. `before` and `after` are both databases by their side; `last` and `end` limit the run's
    interval, `reasons` are the model's for each row that the run wrote over or deleted, and `boxes` its messages."""

    def __init__(self, machines, month, laptop):
        place = month.place
        self.site, self._local = place.site, LOCAL[place.role]
        self._pair = machines.pair(laptop)
        self._host = machines.host(laptop, place.site, place.role)
        self._case = Case(site=place.site, role=place.role, run=True, version="laptop", last=None, next=None,
                          again=None, plans=month.plans, state={})
        self._actual = Actual(self._case, self._pair, self._host)
        self.before = self.after = self._actual.state
        self.last = self._recorded()
        self.end, self.reasons, self.boxes = None, {}, []

    def _recorded(self):
        return date_of_json(self.after[self._local]["control"]["last_timestamp"])

    def conflicts(self):
        """Those that are recorded now, by their id."""
        return conflicts_by_id(self.after[self._local])

    def run(self):
        """Tells what the run recorded as the end of its interval."""
        self._case.last = self.last
        records = Database(None, {})
        records.conflicts = list(self.conflicts().values())
        keys = {side: self.before[side]["key"] for side in SIDES}
        expected = Expected(self._case, self._pair.names, keys, records)
        expected.create()
        self._actual.create()
        expected.begin()
        outcome = self._actual.run()
        self.after, self.end, self.boxes = self._actual.state, outcome.pop("next"), outcome["boxes"]
        found, expected = closest(expected, outcome, self.before, self.end, outcome["control"][2])
        self.reasons = expected.reasons
        if outcome["error"]:
            found.append(f"the run fails: {outcome['error']}")
        self._demand(f"the run from {iso(self.last)} to {iso(self.end)}", found)
        return self._recorded()

    def resolve(self, number, use):
        """Lets the component settle a conflict; whether it did."""
        records = self.conflicts()
        pair = self._model(list(records.values()))
        expected = {"answer": self._answer(pair, records[number], use),
                    "conflicts": sorted(pair.local.conflicts, key=repr), **self._tables(pair.source, pair.destination)}
        answer, *_ = self._host.ask("resolve", number, use)
        self.after = self._pair.read(self._case.tables(), self.site)
        actual = {"answer": int(answer[1]) if answer[0] == "error" else (answer[1] == "1", answer[2]),
                  "conflicts": sorted(self.conflicts().values(), key=repr),
                  **self._tables(*(Database(None, self.after[side]) for side in SIDES))}
        self._demand(f"resolution {use} of {records[number]}", differences(expected, actual))
        return number not in self.conflicts()

    def _model(self, records):
        databases = {side: Database(None, {name: copy.deepcopy(self.before[side][name])
                                           for name in self._case.tables()}) for side in SIDES}
        pair = Pair(*databases.values(), self.site, databases[self._local])
        pair.local.conflicts = records
        return pair

    @staticmethod
    def _answer(pair, record, use):
        try:
            return conflict.resolve(pair, record, use)
        except Failure as failure:
            return host_number(raised(failure.number))

    def _tables(self, *databases):
        return {side: {name: ordered(database.tables[name]) for name in self._case.tables()}
                for side, database in zip(SIDES, databases)}

    @staticmethod
    def _demand(what, found):
        if found:
            raise Find(f"{what}:", *found)
