"""A conflict as a run writes it down."""

from pair import LAPTOP
from server import OWN_ERROR, Failure, is_number_keyed, no_row, null_used, parameter, raised, row_values, skips
from tables import TABLES
from values import DAY, NEW_YEAR_1900, ZERO_DATE, text_of

BOTH, NEW_ON_SOURCE, NEW_ON_DESTINATION, CHANGED_ON_DESTINATION, DELETED_ON_SOURCE = range(1, 6)
USE_SOURCE, USE_DESTINATION, WORK_LATER = range(1, 4)
NO_COMMAND = 3001
TYPE_MISMATCH = 13
# The columns that describe a row, in the table's own way.
WORDS = {"users": ["user_name"], "procs": ["proc_name"], "shortcut": ["item_name"], "chart_option": ["option_name"],
         "config": ["category", "config_name"], "combo_values": ["combo_name", "combo_value"],
         "patient": ["full_name", "unid"]}


class Conflict:
    """A row that was left alone, as it is written down. It is looked for by `unid`, whatever the key."""

    def __init__(self, one_way, key, kind):
        self.run_object = one_way.run_object
        self.pair = one_way.pair
        self.table = one_way.table
        self.key = key
        self.kind = kind
        self.number = 0
        self.dates = [self._stored_date(one_way.source_date), self._stored_date(one_way.destination_date)]

    @staticmethod
    def _stored_date(date):
        return None if date == ZERO_DATE or NEW_YEAR_1900 <= date < NEW_YEAR_1900 + DAY else date

    def save(self):
        """Whether there was a difference to be saved."""
        source = self.pair.source.select(self.table, "unid", self.key)
        destination = self.pair.destination.select(self.table, "unid", self.key)
        self.number = self._number()
        described = self.pair.source if self.kind in (BOTH, NEW_ON_SOURCE) else self.pair.destination
        words = description(described, self.table, self.key)
        differences = self._differences(source, destination)
        if differences:
            self._check()
            record = self._record(words)
            self.pair.local.conflicts.append(record)
            for name, *texts in differences:
                record["differences"].append((name, *[parameter(text, 3500) for text in texts]))
        return bool(differences)

    def _number(self):
        """The key of a row that has a number, as the platform reads it; SQL Server finds the row 0 by blanks, too."""
        if not is_number_keyed(self.table):
            return 0
        if not self.key.strip():
            raise Failure(TYPE_MISMATCH, "Type mismatch")
        return int(self.key)

    def _differences(self, source, destination):
        differences = []
        for column in self.table.columns:
            if skips(self.table, column, True):
                continue
            texts = [text_of(column.type, row[column.name]) if row else "" for row in (source, destination)]
            if source is None or destination is None or texts[0] != texts[1]:
                differences.append((column.name, *texts))
        return differences

    def _check(self):
        message = ""
        if self.run_object.next == NEW_YEAR_1900:
            message += "Next replicate date not supplied.\r\n"
        if is_number_keyed(self.table) and self.number < 1:
            message += "Patiend id or table guid not supplied\r\n"
        if message:
            raise Failure(raised(OWN_ERROR), f"Error saving conflict: {message}")

    def _record(self, words):
        by_number = is_number_keyed(self.table)
        return {"site": self.pair.site, "next": self._stored_date(self.run_object.next),
                "table": parameter(self.run_object.name, 50), "number": self.number,
                "guid": None if by_number else self.key, "kind": self.kind, "words": parameter(words, 125),
                "source date": self.dates[0], "destination date": self.dates[1], "differences": []}


def description(database, table, text):
    """The words for the row with this key."""
    if table.name not in WORDS:
        # No statement is built, and a command without a text cannot be executed.
        raise Failure(NO_COMMAND, "Arguments are of the wrong type, are out of acceptable range, or are in conflict "
                                  "with one another.")
    row = database.select(table, "unid", text)
    if row is None:
        raise no_row()
    columns = WORDS[table.name]
    if any(row[column] is None for column in columns):
        raise null_used()
    texts = [text_of(table.by_name[column].type, row[column]) for column in columns]
    return f"{texts[0]} ({texts[1][:6]})" if table.name == "patient" else ".".join(texts)


def resolve(pair, record, resolution):
    """A person's decision about a conflict that is written down in the local database; the answer to the host."""
    if resolution not in (USE_SOURCE, USE_DESTINATION, WORK_LATER):
        return False, "Invalid resolution type"
    if resolution == USE_DESTINATION and pair.site != LAPTOP:
        return False, "Cannot replicate back to Norvale"
    if resolution == WORK_LATER or pair.site != LAPTOP:
        return True, ""
    table, kind = TABLES[record["table"].lower()], record["kind"]
    if resolution == USE_SOURCE and kind not in (BOTH, DELETED_ON_SOURCE):
        return True, ""
    if resolution == USE_SOURCE and kind == BOTH:
        row = pair.source.select(table, "unid", record["guid"] or "")
        if row is None:
            raise no_row()
        pair.destination.update(table, "unid", record["guid"], row_values(table, row))
    elif resolution == USE_SOURCE:
        pair.destination.delete(table, "unid", record["guid"] or "")
    pair.local.conflicts.remove(record)
    return True, ""
