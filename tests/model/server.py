"""One database of the model: the rows of its tables, the effects of its statements, and its refusals."""

import contextlib
import re

from dialect import DIALECT, LeftOut, Refusal
from tables import NUMBER_KEYED
from values import GUID, INTEGER, TooLarge, Unsupported, literal_value

NO_ROW = 3021
WRONG_VALUE = 3421
INVALID_USE_OF_NULL = 94
OWN_ERROR = 1000
OBJECT_ERROR = 0x80040000


class Failure(Exception):
    """An error under way: its number as routines pass it on, and its description."""

    def __init__(self, number, description):
        super().__init__(description)
        self.number = number
        self.description = description


class NotConverted(Failure):
    """A key's text is no value of the column that it is compared with."""


def raised(number):
    """The number after a routine has passed an error on."""
    if number == 1:
        return OBJECT_ERROR + 1
    return OBJECT_ERROR + number if number == 0 or 513 <= number < 0x80000000 else number


def host_number(number):
    return 0x800A0000 + number if number < 0x10000 else number


def refused(reason, *names, kind=Failure):
    return kind(*DIALECT.refusal(reason, *names))


def null_used():
    return Failure(INVALID_USE_OF_NULL, "Invalid use of Null")


def no_row():
    return Failure(NO_ROW, "Either BOF or EOF is True, or the current record has been deleted. "
                           "Requested operation requires a current record.")


def quoted_text(text):
    """The text that the database reads from `text` between two apostrophes."""
    literal = re.match(r"((?:[^']|'')*)'(?!')(.*)", f"{text}'", flags=re.S)
    if not literal:
        raise refused(Refusal.UNTERMINATED, text)
    if literal.group(2):
        word = re.match(r"\w+|.", literal.group(2)).group()
        raise refused(Refusal.UNEXPECTED, word)
    return literal.group(1).replace("''", "'")


def parameter(text, size):
    """A text as a procedure's parameter of this size: it may be shorter, and an empty one is Null."""
    if len(text) > size:
        raise Failure(WRONG_VALUE, "Application uses a value of the wrong type for the current operation.")
    return text or None


def key_value(column, text):
    """The value that the database compares `column` with for the key literal of `text`, in its comparable form: nothing
    in the text is doubled, and Null, without a text, makes none.
    """
    if text is None:
        raise null_used()
    text = quoted_text(text)
    if column.type is INTEGER:
        value = DIALECT.integer(text)
        if value is None:
            raise refused(Refusal.NO_INTEGER, text, kind=NotConverted)
        if not -2**31 <= value < 2**31:
            raise refused(Refusal.INTEGER_RANGE, text, kind=NotConverted)
        return value
    if column.type is GUID:
        value = DIALECT.guid(text)
        if value is None:
            raise refused(Refusal.NO_GUID, text, kind=NotConverted)
        return DIALECT.comparable(value)
    return DIALECT.comparable(text)


class Database:
    """`tables` holds rows in the order of storage: an updated row goes to the end. `order` is that of listed rows."""

    def __init__(self, name, tables, order=list):
        self.name = name
        self.tables = tables
        self.error = None
        self.counts = []
        self.conflicts = []
        self._order = order

    def rows(self, table):
        return self.tables[table.name]

    def listed(self, table):
        return self._order(self.rows(table))

    def select(self, table, column, text):
        """The first row whose `column` is the key `text`, or None."""
        return next(iter(self._found(table, column, text)), None)

    def _found(self, table, column, text):
        try:
            wanted = key_value(table.by_name[column], text)
        except NotConverted:
            if self.rows(table) or DIALECT.REFUSES_WITHOUT_ROWS:
                raise
            raise LeftOut("a key that is not converted, for a table without rows: refused or not found") from None
        return [row for row in self.listed(table) if DIALECT.comparable(row[column]) == wanted]

    def update(self, table, column, text, values):
        found = self._found(table, column, text)
        self._check_literals(values)
        with self.statement():
            for row in found:
                changed = {**row, **values}
                self._check_row(table, changed, row)
                self._remove(table, row)
                self.rows(table).append(changed)

    def insert(self, table, values):
        self._check_literals(values)
        row = {column.name: values.get(column.name) for column in table.columns}
        self._check_row(table, row, None)
        self.rows(table).append(row)

    def delete(self, table, column, text):
        for row in self._found(table, column, text):
            self._remove(table, row)

    def _remove(self, table, row):
        self.tables[table.name] = [other for other in self.rows(table) if other is not row]

    @contextlib.contextmanager
    def statement(self):
        """One statement: all or nothing."""
        former = {name: list(rows) for name, rows in self.tables.items()}
        try:
            yield
        except Failure:
            self.tables.update(former)
            raise

    def batch(self):
        """Several statements sent as one."""
        return self.statement() if DIALECT.BATCH_IS_ALL_OR_NOTHING else contextlib.nullcontext()

    @staticmethod
    def _check_literals(values):
        if Unsupported in values.values():
            raise refused(Refusal.UNEXPECTED, ",")
        for value in values.values():
            if isinstance(value, TooLarge):
                raise refused(Refusal.DOUBLE_RANGE, value.digits)

    def _check_row(self, table, row, former):
        for column in table.columns:
            if column.required and row[column.name] is None:
                raise refused(Refusal.NULL, column.name, table.name)
        for name, column in table.unique:
            if any(other is not former and collide(row[column], other[column]) for other in self.rows(table)):
                raise refused(Refusal.DUPLICATE, name)


def collide(value, other):
    """Whether a unique column cannot have both values."""
    if value is None or other is None:
        return DIALECT.ONE_NULL and value is other
    return DIALECT.comparable(value) == DIALECT.comparable(other)


def is_number_keyed(table):
    return table.name in NUMBER_KEYED


def skips(table, column, modification_date):
    return (modification_date and column.name == "mod_date") or (table.name == "patient" and column.name == "lock_f")


def row_values(table, row):
    """The values that the literals of a copied row stand for."""
    return {c.name: literal_value(c.type, row[c.name]) for c in table.columns if not skips(table, c, False)}
