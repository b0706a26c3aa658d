"""The outcome of a case by the model, and by the component. Both have the same form, so that they compare."""

import copy

import rules
from dialect import DIALECT, WORDS
from pair import OFFICES, Pair
from server import Database, Failure, host_number, raised
from values import DATE, GUID, SECOND, ZERO_DATE, date_literal, iso


def _pair(case, names, state, order, former):
    """Both databases in `state`, whose rows are listed in this order; what runs recorded comes from `former`, the local
    database before.
    """
    databases = {side: Database(names[side], {name: copy.deepcopy(state[side][name]) for name in case.tables()}, order)
                 for side in names}
    local = databases["source" if case.role == "SOURCE" else "destination"]
    local.error, local.counts, local.conflicts = former.error, former.counts, former.conflicts
    if case.run:
        local.counts = []
    return Pair(databases["source"], databases["destination"], case.site, local)


class Expected:
    """The model's side of a case, run by run. `local` has what earlier runs recorded; `reasons` are those for which the
    last run wrote over rows or deleted them."""

    def __init__(self, case, names, patient_key, local=None):
        self._case = case
        self._names = names
        self._key = dict(patient_key)
        self._last = case.last
        self._local = local or Database(None, {})
        self._ready = True
        self.objects = []
        self.reasons = {}

    def create(self):
        """The table objects, or the error that keeps one from being made."""
        self.objects = []
        try:
            for plan in self._case.plans:
                self.objects.append(rules.TableRun(**plan))
        except Failure as failure:
            return self._told(failure, None)
        return None

    def copy(self):
        """Another that can run without changing this one."""
        other = copy.copy(self)
        other.objects = [table.copy() for table in self.objects]
        other._key = dict(self._key)
        other._local = copy.copy(self._local)
        other._local.counts, other._local.conflicts = list(self._local.counts), list(self._local.conflicts)
        return other

    def run(self, order, state, next_date, half_second):
        """One run from `state`; `next_date` ends its interval. `half_second` is its recorded date when it ends in half
        a second, which may be rounded either way.
        """
        pair = _pair(self._case, self._names, state, order, self._local)
        outcome = {"error": None, "run": None}
        try:
            for table in self.objects:
                table.go(pair, self._last, next_date)
        except Failure as failure:
            outcome["error"] = self._told(failure, "clsReplicate.go" if self._case.run else "clsReplicateTable.go")
        self._local, self.reasons = pair.local, pair.reasons
        if self._case.run:
            outcome["run"] = self._finish(outcome["error"],
                                          half_second if next_date % SECOND == SECOND // 2 else date_literal(next_date))
        outcome["boxes"] = pair.boxes
        outcome["counters"] = [list(table.count.values()) for table in self.objects]
        outcome["state"] = {side: self._side(database, pair) for side, database in
                            (("source", pair.source), ("destination", pair.destination))}
        outcome["control"] = [self._ready, self._local.error, self._last]
        outcome["key"] = dict(self._key)
        return outcome

    def _finish(self, error, recorded):
        """The run's own properties: error flag, ready flag, error text."""
        self._key["source" if self._case.role == "SOURCE" else "destination"] = not error
        if error:
            return [self._before[0], self._before[1], error[2]]
        if self._case.site == OFFICES:
            self._last = recorded
        self._ready = False
        self._before = [self._local.error is not None, False]
        return [self._local.error is not None, False, self._local.error or ""]

    def begin(self):
        """Notes the flags that the run object has read from the control record."""
        self._before = [self._local.error is not None, self._ready]

    @staticmethod
    def _told(failure, source):
        return [host_number(raised(failure.number)), source, failure.description]

    @staticmethod
    def _side(database, pair):
        is_local = database is pair.local
        return {**{name: ordered(rows) for name, rows in database.tables.items()},
                "counts": DIALECT.records(database.counts) if is_local else [],
                "conflicts": sorted(({**record, "differences": DIALECT.records(record["differences"])}
                                     for record in database.conflicts), key=repr) if is_local else []}


class Actual:
    """The component's side of a case, in the same form."""

    def __init__(self, case, databases, host):
        self._case = case
        self._databases = databases
        self._host = host
        self._side_of = "source" if case.role == "SOURCE" else "destination"
        self.state = databases.read(case.tables(), case.site)

    def create(self):
        self._host.ask("clear")
        for plan in self._case.plans:
            answer = self._host.ask("table", plan["method"], plan["name"], plan["dependent"], plan["key_field"],
                                    plan["deletes"])
            if answer and answer[0][0] == "error":
                return [int(answer[0][1]), None, answer[0][3]]
        return None

    def run(self):
        if self._case.run:
            answer = self._host.ask("run", self._case.version)
        else:
            answer = self._host.ask("go", 0, *(DIALECT.date(iso(date)) if date != ZERO_DATE else "0"
                                               for date in (self._case.last, self._case.next)))
        outcome = {"error": None, "run": None, "boxes": [], "counters": []}
        for kind, *fields in answer:
            if kind == "error":
                outcome["error"] = [int(fields[0]), fields[1], DIALECT.words(fields[2])]
            elif kind == "run":
                outcome["next"] = int(fields.pop(0))
                outcome["run"] = [fields[0] == "1", fields[1] == "1", DIALECT.words(fields[2])]
            elif kind == "box":
                outcome["boxes"].append(fields[0])
            else:
                outcome["counters"].append([int(count) for count in fields])
        return outcome | self._read()

    def _read(self):
        tables = self._case.tables()
        self.state = state = self._databases.read(tables, self._case.site)
        local = state[self._side_of]["control"]
        error = DIALECT.words(local["error_message"]) if local["error_f"] else None
        return {"state": {side: {**{name: ordered(state[side][name]) for name in tables},
                                 "counts": counts(state[side]),
                                 "conflicts": conflicts(state[side])} for side in state},
                "control": [local["ready_f"], error, date_of_json(local["last_timestamp"])],
                "key": {side: state[side]["key"] for side in state}}


def date_of_json(text):
    return None if text is None else DATE.parse(text)


def ordered(rows):
    """Rows in an order of their own: where the database stores them is its business."""
    return sorted(rows, key=repr)


def counts(state):
    return DIALECT.records([(row["unique_key"], row["count_name"], row["count_value"])
                            for row in state["replication_counts"] or []])


def conflicts(state):
    """The conflict tables in the model's form; without order, because nothing orders them."""
    return sorted(conflicts_by_id(state).values(), key=repr)


def conflicts_by_id(state):
    data = {}
    for row in state["replication_conflict_data"] or []:
        data.setdefault(row["conflict_id"], []).append((row["field_name"], row["source_data"], row["destination_data"]))
    return {row["unid"]: {"site": row["unique_key"], "next": date_of_json(row["last_replicate_date"]),
                          "table": row["table_name"], "number": row["patient_id"],
                          "guid": row["guid"] and GUID.text(row["guid"]),
                          "kind": row["conflict_type"], "words": row["key_info"],
                          "source date": date_of_json(row["source_mod_date"]),
                          "destination date": date_of_json(row["destination_mod_date"]),
                          "differences": DIALECT.records(data.get(row["unid"], []))}
            for row in state["replication_conflict"] or []}


def differences(expected, actual, path=""):
    """The differences of two outcomes, one line each."""
    if isinstance(expected, dict) and isinstance(actual, dict):
        keys = list(expected) + [key for key in actual if key not in expected]
        return [line for key in keys
                for line in differences(expected.get(key), actual.get(key), f"{path}.{key}")]
    if isinstance(expected, (list, tuple)) and isinstance(actual, (list, tuple)) and len(expected) == len(actual):
        return [line for index, pair in enumerate(zip(expected, actual))
                for line in differences(*pair, f"{path}[{index}]")]
    same = expected == actual and isinstance(expected, bool) == isinstance(actual, bool)
    return [] if same or has_words(expected, actual) else [f"{path[1:]}: expected {expected!r}, found {actual!r}"]


def has_words(expected, actual):
    """Whether both are the same text but for the server's words."""
    if not (isinstance(expected, str) and isinstance(actual, str) and WORDS in expected):
        return False
    before, _, after = expected.partition(WORDS)
    return actual.startswith(before) and actual.endswith(after) and len(actual) > len(before) + len(after)


def tables_of(outcome, names):
    return {side: {name: outcome["state"][side][name] for name in names} for side in outcome["state"]}
