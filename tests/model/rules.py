"""A model of a run: the changes in the tables of two databases, by the rules alone."""

import copy

from conflict import BOTH, CHANGED_ON_DESTINATION, DELETED_ON_SOURCE, NEW_ON_DESTINATION, NEW_ON_SOURCE, Conflict
from pair import FULL_COPY, NEWER_WINS, OFFICES, ONLY_DESTINATION, SOURCE_NEWER, changed_rows, missing_rows
from server import OWN_ERROR, Failure, no_row, null_used, raised, row_values
from tables import TABLES
from values import GUID, Unsupported, ZERO_DATE, seconds, text_of

DELETE_ALL, ONE_WAY, ONE_WAY_DELETES, TWO_WAY, TWO_WAY_NO_DELETES, COMPUTER_TYPE, BY_KEY = range(1, 8)
UNKNOWN, DELETE_WITH_UPDATES, SKIP_DELETES, ONLY_DELETES = range(1, 5)
COUNTERS = ("source add", "source update", "source delete", "add", "update", "delete", "conflict", "error")
UNCODED_TYPE = "ado type not coded, see debug"


class TableRun:
    """A table object: configured once, run once or more."""

    def __init__(self, method, name, dependent="", key_field="", deletes=UNKNOWN):
        if name != "computer_type" and method != ONE_WAY_DELETES and dependent:
            raise Failure(raised(OWN_ERROR), f"Dependent table only allowed on ONE_WAY_ALLOW_DELETES ({name},)")
        self.method = method
        self.name = name
        self.table = TABLES[name.lower()]
        self.dependent = dependent
        self.key_field = key_field
        self.deletes = deletes
        self.count = dict.fromkeys(COUNTERS, 0)
        self.last = self.next = ZERO_DATE

    def copy(self):
        """Another with counters of its own."""
        other = copy.copy(self)
        other.count = dict(self.count)
        return other

    def go(self, pair, last, next_date):
        self.pair, self.last, self.next = pair, last, next_date
        if self.method == DELETE_ALL:
            self._copy_all()
        elif self.method in (ONE_WAY, ONE_WAY_DELETES):
            self._trapped("replicateOneWay", OneWay(self, "unid", True, True, True).run)
        elif self.method in (TWO_WAY, TWO_WAY_NO_DELETES):
            TwoWay(self).run()
        elif self.method == COMPUTER_TYPE:
            self._copy_computer_types()
        elif self.method == BY_KEY:
            self._by_key()
        else:
            raise Failure(raised(OWN_ERROR), "Invalid replication method")

    def _trapped(self, routine, body):
        try:
            body()
        except Failure as failure:
            self.pair.set_error(f"clsReplicateTable.{routine}: {failure.description}")
            raise Failure(raised(failure.number),
                          f"clsReplicateTable.{routine}({self.name}): {failure.description}") from None

    def _by_key(self):
        routine = "replicateOneWayWithPKField"
        if not self.key_field:
            return self.pair.set_error(f"PKField not set for {routine}()")
        if self.deletes == UNKNOWN:
            return self.pair.set_error(f"enumReplicatDeletes not set for {routine}()")
        updates = self.deletes != ONLY_DELETES
        deletes = self.deletes in (DELETE_WITH_UPDATES, ONLY_DELETES)
        return self._trapped(routine, OneWay(self, self.key_field, updates, updates, deletes).run)

    def _copy_all(self):
        self._copy(self.table)
        self.count["add"] = len(self.pair.destination.rows(self.table))

    def _copy_computer_types(self):
        for name in ("computer_type", "computer_type_setting"):
            self._copy(TABLES[name])
        # The database tells of the first statement of a batch.
        self.count["add"] = len(self.pair.destination.rows(TABLES["computer_type"]))

    def _copy(self, table):
        self.pair.destination.tables[table.name] = [dict(row) for row in self.pair.source.rows(table)]
        self.pair.explain(self.pair.destination, table, None, FULL_COPY)

    def write_counts(self, *counts):
        for suffix, counter in counts:
            self.pair.local.counts.append((self.pair.site, f"{self.name} {suffix}", self.count[counter]))

    def values(self, row):
        """The literals of a row; each column that has none is told to the person at the machine."""
        values = row_values(self.table, row)
        self.pair.boxes += [UNCODED_TYPE] * list(values.values()).count(Unsupported)
        return values

    def text(self, column, value):
        """The text of a key; Null has none, which fails as soon as a statement needs it."""
        return None if value is None else text_of(self.table.by_name[column].type, value)


class OneWay:
    """One call of a one-way routine, by `unid` or by a key field."""

    def __init__(self, run, key, changed, added, gone):
        self.run_object = run
        self.pair = run.pair
        self.table = run.table
        self.key = key
        self.by_key = run.method == BY_KEY
        self.steps = (changed, added, gone)
        self.source_date = self.destination_date = ZERO_DATE
        self.at_offices = run.pair.site == OFFICES

    def run(self):
        count = self.run_object.count
        count.update({counter: 0 for counter in COUNTERS if counter != "conflict"})
        for wanted, step in zip(self.steps, (self._changed, self._only_source, self._only_destination)):
            if wanted:
                step()
        self.run_object.write_counts(("updates", "update"), ("adds", "add"), ("deletes", "delete"),
                                     ("conflicts", "conflict"), ("errors", "error"))

    def _changed(self):
        for key, self.source_date, self.destination_date in changed_rows(self.pair, self.table, self.key,
                                                                         self.run_object.last):
            self._changed_row(self.run_object.text(self.key, key))

    def _changed_row(self, key):
        source, destination, last = self.source_date, self.destination_date, self.run_object.last
        not_allowed = f"Changed on both databases - Destination({self.pair.destination.name}) changes are not allowed"
        if abs(seconds(source) - seconds(destination)) <= 2:
            return
        if source > last and destination > last:
            self._report(key, BOTH, not_allowed if self.at_offices else None, self.pair.destination, self.pair.source)
        elif source > destination:
            self.pair.destination.update(self.table, self.key, key, self._source_values(key))
            self.pair.explain(self.pair.destination, self.table, key, SOURCE_NEWER)
            self.run_object.count["update"] += 1
            self._dependents(key)
        elif self.at_offices:
            self._report(key, CHANGED_ON_DESTINATION, not_allowed)

    def _only_source(self):
        for value, date in missing_rows(self.pair.source, self.pair.destination, self.table, self.key):
            if date is None:
                raise null_used()
            self.source_date, key = date, self.run_object.text(self.key, value)
            if date >= self.run_object.last:
                self.pair.destination.insert(self.table, self._source_values(key))
                self._dependents(key)
                self.run_object.count["add"] += 1
            elif self.at_offices:
                self._report(key, NEW_ON_SOURCE, f"Deleted in destination({self.pair.destination.name}) - "
                                                 "Destination deletes will not replicate properly",
                             self.pair.source)

    def _only_destination(self):
        for value, date in missing_rows(self.pair.destination, self.pair.source, self.table, self.key):
            if date is None:
                raise null_used()
            self.destination_date, key = date, self.run_object.text(self.key, value)
            self._only_destination_row(key, date >= self.run_object.last)

    def _only_destination_row(self, key, is_new):
        new = f"New in destination({self.pair.destination.name})"
        deleted = f"Deleted from source({self.pair.source.name})"
        if not self.at_offices:
            if not is_new:
                self._report(key, DELETED_ON_SOURCE, deleted, self.pair.destination)
        elif is_new:
            self._report(key, NEW_ON_DESTINATION, f"{new} - Destination adds are not allowed", self.pair.destination)
        elif self.by_key or self.run_object.method == ONE_WAY_DELETES:
            self._delete(key)
        else:
            self._report(key, NEW_ON_DESTINATION, f"{new} -OR- {deleted}", self.pair.destination)

    def _delete(self, key):
        if self.by_key and self.table.name == "dentist_company":
            self.pair.destination.update(TABLES["chart_comment_info"], "dc_id", key, {"dc_id": None})
        self.pair.destination.delete(self.table, self.key, key)
        self.pair.explain(self.pair.destination, self.table, key, ONLY_DESTINATION)
        self._dependents(key)
        self.run_object.count["delete"] += 1

    def _source_values(self, key):
        return self.run_object.values(self._read(self.pair.source, key))

    def _read(self, side, key):
        row = side.select(self.table, self.key, key)
        if row is None:
            raise no_row()
        return row

    def _dependents(self, key):
        if self.by_key or self.run_object.dependent.lower() != "chart_option_setting":
            return
        with self.pair.destination.batch():
            self._copy_settings(TABLES["chart_option_setting"], key)

    def _copy_settings(self, settings, key):
        self.pair.destination.delete(settings, "chart_option_id", key)
        with self.pair.destination.statement():
            for row in self.pair.source.rows(settings):
                if row["chart_option_id"] is not None and text_of(GUID, row["chart_option_id"]) == key:
                    self.pair.destination.insert(settings, dict(row))

    def _report(self, key, kind, error, *logged):
        """Saves a conflict; the log shows the row of these sides, which are read for it."""
        if not Conflict(self, key, kind).save():
            return
        self.run_object.count["conflict"] += 1
        for side in logged:
            self._read(side, key)
        if error is not None:
            self.run_object.count["error"] += 1
            self.pair.set_error(error)


class TwoWay:
    """One call of the two-way routine."""

    def __init__(self, run):
        self.run_object = run
        self.pair = run.pair
        self.table = run.table

    def run(self):
        try:
            self._changed()
            self._one_sided(self.pair.source, self.pair.destination, "Nrv")
            self._one_sided(self.pair.destination, self.pair.source, "ZT")
        except Failure as failure:
            raise Failure(raised(failure.number), failure.description) from None
        self.run_object.write_counts(
            ("updates", "source update"), ("adds", "source add"), ("deletes", "source delete"), ("updates", "update"),
            ("adds", "add"), ("deletes", "delete"), ("errors", "error"))

    def _changed(self):
        last = self.run_object.last
        for value, source, destination in changed_rows(self.pair, self.table, "unid", last):
            if source > last and destination > last:
                self.pair.boxes.append("replication conflict")
            if seconds(source) == seconds(destination):
                continue
            key = self.run_object.text("unid", value)
            newer, older = self.pair.source, self.pair.destination
            if source < destination:
                newer, older = older, newer
            older.update(self.table, "unid", key, self.run_object.values(newer.select(self.table, "unid", key)))
            self.pair.explain(older, self.table, key, NEWER_WINS)

    def _one_sided(self, here, there, name):
        for value, date in missing_rows(here, there, self.table, "unid"):
            if date is None:
                raise null_used()
            if date < self.run_object.last:
                self.pair.boxes.append(
                    f"TODO: delete from {name}" if self.run_object.method == TWO_WAY else
                    f"replication conflict - new row on {name} {self.run_object.name} table before last Replicate date")
            row = here.select(self.table, "unid", self.run_object.text("unid", value))
            there.insert(self.table, self.run_object.values(row))
