"""One database of the model: the rows of its tables, the effects of its statements, and its refusals."""

import contextlib
import re
import uuid

from tables import NUMBER_KEYED
from values import GUID, INTEGER, TooLarge, Unsupported, literal_value

SYNTAX = 0x80040E14
CONSTRAINT = 0x80040E2F
FAILED = 0x80004005
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


def raised(number):
    """The number after a routine has passed an error on."""
    if number == 1:
        return OBJECT_ERROR + 1
    return OBJECT_ERROR + number if number == 0 or 513 <= number < 0x80000000 else number


def host_number(number):
    return 0x800A0000 + number if number < 0x10000 else number


def refused(number, message):
    return Failure(number, f"ERROR: {message};\nError while executing the query")


def null_used():
    return Failure(INVALID_USE_OF_NULL, "Invalid use of Null")


def no_row():
    return Failure(NO_ROW, "Either BOF or EOF is True, or the current record has been deleted. "
                           "Requested operation requires a current record.")


def quoted_text(text):
    """The text that the database reads from `text` between two apostrophes."""
    literal = re.match(r"((?:[^']|'')*)'(?!')(.*)", f"{text}'", flags=re.S)
    if not literal:
        raise refused(SYNTAX, f"""unterminated quoted string at or near "'{text}'\"""")
    if literal.group(2):
        word = re.match(r"\w+|.", literal.group(2)).group()
        raise refused(SYNTAX, f'syntax error at or near "{word}"')
    return literal.group(1).replace("''", "'")


def parameter(text, size):
    """A text as a procedure's parameter of this size: it may be shorter, and an empty one is Null."""
    if len(text) > size:
        raise Failure(WRONG_VALUE, "Application uses a value of the wrong type for the current operation.")
    return text or None


def key_value(column, text):
    """The value that the database compares `column` with for the key literal of `text`: nothing in it is doubled, and
    Null, without a text, makes none.
    """
    if text is None:
        raise null_used()
    text = quoted_text(text)
    if column.type is INTEGER:
        if not re.fullmatch(r"\s*[+-]?\d+\s*", text):
            raise refused(FAILED, f'invalid input syntax for type integer: "{text}"')
        if not -2**31 <= int(text) < 2**31:
            raise refused(FAILED, f'value "{text}" is out of range for type integer')
        return int(text)
    if column.type is GUID:
        try:
            return str(uuid.UUID(text))
        except ValueError:
            raise refused(FAILED, f'invalid input syntax for type uuid: "{text}"') from None
    return text


class Database:
    """`tables` holds rows in the order of storage: an updated row goes to the end."""

    def __init__(self, name, tables):
        self.name = name
        self.tables = tables
        self.error = None
        self.counts = []
        self.conflicts = []

    def rows(self, table):
        return self.tables[table.name]

    def select(self, table, column, text):
        """The first row whose `column` is the key `text`, or None."""
        wanted = key_value(table.by_name[column], text)
        return next((row for row in self.rows(table) if row[column] == wanted), None)

    def update(self, table, column, text, values):
        wanted = key_value(table.by_name[column], text)
        self._check_literals(values)
        with self.batch():
            for row in [row for row in self.rows(table) if row[column] == wanted]:
                changed = {**row, **values}
                self._check_row(table, changed, row)
                self.rows(table).remove(row)
                self.rows(table).append(changed)

    def insert(self, table, values):
        self._check_literals(values)
        row = {column.name: values.get(column.name) for column in table.columns}
        self._check_row(table, row, None)
        self.rows(table).append(row)

    def delete(self, table, column, text):
        wanted = key_value(table.by_name[column], text)
        self.tables[table.name] = [row for row in self.rows(table) if row[column] != wanted]

    @contextlib.contextmanager
    def batch(self):
        """Several statements sent as one: here PostgreSQL takes all or nothing, where SQL Server keeps the first."""
        former = {name: list(rows) for name, rows in self.tables.items()}
        try:
            yield
        except Failure:
            self.tables.update(former)
            raise

    @staticmethod
    def _check_literals(values):
        if Unsupported in values.values():
            raise refused(SYNTAX, 'syntax error at or near ","')
        for value in values.values():
            if isinstance(value, TooLarge):
                raise refused(FAILED, f'"{value.digits}" is out of range for type double precision')

    def _check_row(self, table, row, former):
        for column in table.columns:
            if column.required and row[column.name] is None:
                raise refused(CONSTRAINT, f'null value in column "{column.name}" of relation "{table.name}" '
                                          "violates not-null constraint")
        for name, column in table.unique:
            if any(other is not former and row[column] is not None and other[column] == row[column]
                   for other in self.rows(table)):
                raise refused(CONSTRAINT, f'duplicate key value violates unique constraint "{name}"')


def is_number_keyed(table):
    return table.name in NUMBER_KEYED


def skips(table, column, modification_date):
    return (modification_date and column.name == "mod_date") or (table.name == "patient" and column.name == "lock_f")


def row_values(table, row):
    """The values that the literals of a copied row stand for."""
    return {c.name: literal_value(c.type, row[c.name]) for c in table.columns if not skips(table, c, False)}
