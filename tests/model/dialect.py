"""The two servers where they differ: the one place for each that the model is told of them."""

import abc
import datetime
import enum
import json
import random
import re
import uuid

from practice import RECORDS
from side import is_postgresql
from values import DATE, DOUBLE, SECOND

FAILED = 0x80004005
NOT_CONVERTED = 0x80040E07
STATEMENT = 0x80040E14
CONSTRAINT = 0x80040E2F
TOO_LARGE = 0x80040E57
# Stands for the server's own text in a description. No document foretells it: it is only not empty.
WORDS = "<the server's words>"


class LeftOut(Exception):
    """The case comes to where its outcome is not determined; says why."""


class Refusal(enum.Enum):
    """What a server refuses a statement for."""
    UNTERMINATED = "a text without its end"
    UNEXPECTED = "a word that is not expected"
    NO_INTEGER = "a text that is no whole number"
    NO_GUID = "a text that is no GUID"
    INTEGER_RANGE = "a whole number that is too large"
    DOUBLE_RANGE = "a floating-point number that is too large"
    NULL = "Null in a column that has none"
    DUPLICATE = "a second row with a unique value"


class Dialect(abc.ABC):
    """What the model, the cases and the bed ask about a server."""

    NAMES = {}  # of the databases, for each side; {} is the pair's number
    OPTIONS = {}  # for making a database
    BATCH_IS_ALL_OR_NOTHING = False
    ONE_NULL = False  # whether a unique column has Null in one row at most
    REFUSES_WITHOUT_ROWS = True  # a key that cannot be converted, also for a table without rows

    @abc.abstractmethod
    def opened(self, server, name):
        """The connection by which the bed fills and reads the database of this name."""

    @abc.abstractmethod
    def declaration(self, sql):
        """A column's type as the server declares it."""

    @abc.abstractmethod
    def date(self, text):
        """A date as an expression."""

    @abc.abstractmethod
    def read(self, database, tables, site):
        """The rows of each table and each kind of record by its name, with plain values and in the order in which the
        server lists them, and the site's control record as "control"."""

    def differences(self, attempt):
        """How the server differs from its documents. `attempt` runs a statement and gives the host's answer."""
        return []

    def kept(self, column_type, value):
        """The value that is in a column of this type after `value` was written to it."""
        return value

    def comparable(self, value):
        """A form of the value that is equal for values that the server calls equal."""
        return value

    def spellings(self, text):
        """Texts that the server calls equal to a key's, this one among them."""
        return [text]

    @abc.abstractmethod
    def refusal(self, reason, *names):
        """The number and the description of the error by which a statement is refused."""

    @abc.abstractmethod
    def integer(self, text):
        """The whole number that the server reads, None if it reads none."""

    @abc.abstractmethod
    def guid(self, text):
        """The GUID that the server reads, None if it reads none."""

    def joined(self, rows):
        """Rows of both sides, which begin with their key, in the order in which the server lists them."""
        return rows

    def orders(self):
        """The orders in which one side's rows may be listed: functions of a list of rows."""
        yield list

    def records(self, rows):
        """What a run recorded, in the order in which it can be compared."""
        return rows

    def words(self, text):
        """A description without what cannot be foretold."""
        return text


class PostgreSql(Dialect):
    """PostgreSQL, in whose private server everything is determined."""

    NAMES = {"source": "model_office_{}", "destination": "model_laptop_{}"}
    # Joins list rows in the order of the key, single tables in the order of storage: then the order is known.
    OPTIONS = {"settings": ("enable_hashjoin = off", "enable_nestloop = off", "lock_timeout = '20s'")}
    BATCH_IS_ALL_OR_NOTHING = True
    _REFUSALS = {
        Refusal.UNTERMINATED: (STATEMENT, "unterminated quoted string at or near \"'{}'\""),
        Refusal.UNEXPECTED: (STATEMENT, 'syntax error at or near "{}"'),
        Refusal.NO_INTEGER: (FAILED, 'invalid input syntax for type integer: "{}"'),
        Refusal.NO_GUID: (FAILED, 'invalid input syntax for type uuid: "{}"'),
        Refusal.INTEGER_RANGE: (FAILED, 'value "{}" is out of range for type integer'),
        Refusal.DOUBLE_RANGE: (FAILED, '"{}" is out of range for type double precision'),
        Refusal.NULL: (CONSTRAINT, 'null value in column "{}" of relation "{}" violates not-null constraint'),
        Refusal.DUPLICATE: (CONSTRAINT, 'duplicate key value violates unique constraint "{}"'),
    }

    def opened(self, server, name):
        owner = server.owner(name)
        owner.sql("alter server peer options (set use_remote_estimate 'false')")
        return owner

    def declaration(self, sql):
        return sql

    def date(self, text):
        return f"cast('{text}' as timestamp(3))"

    def read(self, database, tables, site):
        parts = [f"'{name}', (select json_agg(r) from (select * from {name} order by ctid) r)" for name in tables]
        # The records of the run, in the order of writing.
        parts += [f"'{name}', (select json_agg(r) from (select * from {name}"
                  " order by xmin::text::bigint, cmin::text::bigint) r)" for name in RECORDS[:-1]]
        parts.append(f"'control', (select row_to_json(r) from (select ready_f, error_f, error_message, last_timestamp"
                     f" from replication_control where unique_key = {site}) r)")
        text = database.value(f"select json_build_object({', '.join(parts)})::text")
        return json.loads(text, parse_float=str)

    def refusal(self, reason, *names):
        number, text = self._REFUSALS[reason]
        return number, f"ERROR: {text.format(*names)};\nError while executing the query"

    def integer(self, text):
        return int(text) if re.fullmatch(r"\s*[+-]?\d+\s*", text) else None

    def guid(self, text):
        try:
            return str(uuid.UUID(text))
        except ValueError:
            return None

    def joined(self, rows):
        return sorted(rows, key=lambda row: row[0])

    def words(self, text):
        """Without the rows that a message quotes and the text that the driver adds to a statement."""
        return text and re.sub(r'\nDETAIL:.*?(?=;\nError)|;fetch 1000 in "SQL_CUR\w+"', "", text, flags=re.S)


class SqlServer(Dialect):
    """SQL Server, as the documents of T-SQL describe it."""

    NAMES = {"source": "QuinmarkTestModelOffice{}", "destination": "QuinmarkTestModelLaptop{}"}
    ONE_NULL = True
    REFUSES_WITHOUT_ROWS = False
    # Case does not count and blanks at the end do not, in comparisons and unique columns.
    _COLLATION = "collate SQL_Latin1_General_CP1_CI_AS"
    _TYPES = {"numeric(19,4)": "money", "boolean": "bit", "uuid": "uniqueidentifier", "timestamp(3)": "datetime"}
    # The numbers that ADO has for the server's refusals, and statements that are refused so.
    _REFUSALS = {
        Refusal.UNTERMINATED: (STATEMENT, "select * from procs where proc_code = '''"),
        Refusal.UNEXPECTED: (STATEMENT, "update procs set proc_no = , lock_f = Null"),
        Refusal.NO_INTEGER: (NOT_CONVERTED, "select cast('A1' as int)"),
        Refusal.NO_GUID: (STATEMENT, "select cast('A1' as uniqueidentifier)"),
        Refusal.INTEGER_RANGE: (TOO_LARGE, "select cast('2147483648' as int)"),
        Refusal.DOUBLE_RANGE: (STATEMENT, "select 1.79769313486232E+308"),
        Refusal.NULL: (CONSTRAINT, "insert into procs (unid, proc_name) values (1, Null)"),
        Refusal.DUPLICATE: (CONSTRAINT, "insert into procs (unid, proc_name) values (1, 'x'), (1, 'y')"),
    }
    _SMALLEST_DOUBLE = 2.23e-308
    _TICKS = 300  # of a datetime, in a second
    _SHUFFLES = 300

    def __init__(self):
        self._numbers = {reason: number for reason, (number, _) in self._REFUSALS.items()}

    def opened(self, server, name):
        return server.login(name)

    def declaration(self, sql):
        name = self._TYPES.get(sql, sql)
        return f"{name} {self._COLLATION}" if "char" in name else name

    def date(self, text):
        return f"cast('{text}' as datetime)"

    def read(self, database, tables, site):
        state = {name: [{column: _plain(value) for column, value in row.items()} for row in rows]
                 for name, rows in database.tables(*tables, *RECORDS).items()}
        control, = (row for row in state["replication_control"] if row["unique_key"] == site)
        return state | {"control": control}

    def differences(self, attempt):
        found = []
        for reason, (number, statement) in self._REFUSALS.items():
            answer = attempt(statement)
            self._numbers[reason] = int(answer[0][1]) if answer else None
            if self._numbers[reason] != number:
                told = f"with 0x{self._numbers[reason]:08X}: {answer[0][3]}" if answer else "not at all"
                found.append(f"the server refuses {reason.value} {told} (documented: 0x{number:08X})")
        return found

    def kept(self, column_type, value):
        if value is not None and column_type is DATE:
            ticks = (value * self._TICKS + SECOND // 2) // SECOND
            # Cases contain no half second.
            ticks -= ticks % self._TICKS == self._TICKS // 2
            return (ticks * SECOND + self._TICKS // 2) // self._TICKS
        if value is not None and column_type is DOUBLE and abs(value) < self._SMALLEST_DOUBLE:
            return 0.0
        return value

    def comparable(self, value):
        return value.rstrip(" ").upper() if isinstance(value, str) else value

    def spellings(self, text):
        return [text, text, text.swapcase(), text.rstrip(" "), f"{text} "[:20]]

    def refusal(self, reason, *names):
        if self._numbers[reason] is None:
            raise LeftOut(f"the server does not refuse {reason.value}")
        return self._numbers[reason], WORDS

    def integer(self, text):
        text = text.strip(" ")
        if not text:
            return 0
        return int(text) if re.fullmatch(r"[+-]?\d+", text) else None

    def guid(self, text):
        digits = re.fullmatch(r"({)?([\dA-Fa-f]{8}(?:-[\dA-Fa-f]{4}){3}-[\dA-Fa-f]{12})(?(1)})", text)
        return digits and digits[2].lower()

    def orders(self):
        """Nothing orders rows: first the order in which they are listed alone, then that of the key, then others."""
        yield list
        yield lambda rows: sorted(rows, key=lambda row: row["unid"])
        for seed in range(self._SHUFFLES):
            chance = random.Random(seed)
            yield lambda rows, chance=chance: chance.sample(rows, len(rows))

    def records(self, rows):
        return sorted(rows, key=repr)


def _plain(value):
    return value.isoformat(sep=" ", timespec="milliseconds") if isinstance(value, datetime.datetime) else value


DIALECT = PostgreSql() if is_postgresql() else SqlServer()
