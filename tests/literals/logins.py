"""What each server reads from literals, by the setting that decides on the order of dates. Written from the servers'
documentation alone; dates are datetimes, in whole seconds where they are texts."""

import abc
import dataclasses
import datetime
import math
import re

from settings import GERMANY, JAPAN, JAPAN_TWELVE_HOURS, TWO_DIGITS, UNITED_KINGDOM, UNITED_STATES
from side import is_postgresql

ZERO_DAY = datetime.date(1899, 12, 30)
MIDNIGHT = datetime.time()
# Of the columns with texts.
LENGTHS = {"t": 8000, "c": 12}


class Refused(Exception):
    """The database cannot read the literal."""


def whole_seconds(moment):
    return (moment + datetime.timedelta(milliseconds=500)).replace(microsecond=0)


def exchanged(day):
    """The date that is read where day and month are expected in the other order."""
    if day.day > 12:
        raise Refused
    return day.replace(month=day.day, day=day.month)


@dataclasses.dataclass(frozen=True)
class Login(abc.ABC):
    """A login under one setting. The members are those of PostgreSQL and SQL Server alike, unless these have their own.
    """
    setting: str

    # A year of two digits is read into the hundred years that begin here.
    CENTURY = None

    @property
    @abc.abstractmethod
    def option(self):
        """The option of a data source that makes the setting."""

    @abc.abstractmethod
    def _day(self, day, region):
        """The day that is read from a region's text with a year of four digits."""

    @abc.abstractmethod
    def _time_alone(self, time):
        """The date that is read from a time without a day."""

    def date(self, moment, region):
        """The date that is read from the literal of `moment`; None for the literal Null."""
        if moment is None or moment == datetime.datetime.combine(ZERO_DAY, MIDNIGHT):
            return None
        if region.has_foreign_markers and moment.time() != MIDNIGHT:
            raise Refused
        seconds = whole_seconds(moment)
        day, time = seconds.date(), seconds.time()
        if day == ZERO_DAY:
            return self._time_alone(time)
        if region.has_two_digit_years:
            try:
                day = day.replace(year=self.CENTURY + (day.year - self.CENTURY) % 100)
            except ValueError:
                raise Refused from None
        return datetime.datetime.combine(self._day(day, region), time)

    def number(self, text, region):
        """The number that is read from a text in plain form. One with an exponent keeps its point under Wine."""
        if region.decimal != "." and re.fullmatch(r"-?\d+\.\d+", text):
            raise Refused
        number = float(text)
        if not math.isfinite(number):
            raise Refused
        return number

    def text(self, text):
        return text

    def held(self, row):
        """The row that a table holds when this one is meant to be inserted."""
        return row

    def comparable(self, row):
        """A row that was read back, without differences that the server's documentation allows."""
        return row


class PostgreSqlLogin(Login):
    """The setting is the order of dates."""

    DATABASE = "literals"
    TYPES = {"money": "numeric(19, 4)", "bit": "boolean", "uniqueidentifier": "uuid", "datetime": "timestamp(3)"}
    CENTURY = 1970

    @classmethod
    def pairs(cls, _):
        """Regional settings, each with a login."""
        return [(region, cls(order)) for region, order in [
            (UNITED_STATES, "MDY"), (UNITED_STATES, "DMY"), (UNITED_STATES, "YMD"), (TWO_DIGITS, "MDY"),
            (GERMANY, "DMY"), (GERMANY, "MDY"), (GERMANY, "YMD"),
            (JAPAN, "YMD"), (JAPAN, "MDY"), (JAPAN, "DMY"), (JAPAN_TWELVE_HOURS, "YMD")]]

    @property
    def option(self):
        return f"ConnSettings=set+datestyle+to+ISO,{self.setting}"

    def _day(self, day, region):
        if region.order in (self.setting, "YMD"):
            return day
        if self.setting == "YMD":
            raise Refused
        return exchanged(day)

    def _time_alone(self, time):
        raise Refused


def lacks(side, what, query, expected):
    """Whether the server gives another value than its documentation says; tells what it lacks then."""
    value = side.value(query)
    if value != expected:
        print(f"the server lacks {what}: {query!r} gives {value!r}")
    return value != expected


@dataclasses.dataclass(frozen=True)
class SqlServerLogin(Login):
    """The setting is the language. `code_page` is that of texts; `joins_lines`, whether a backslash takes the line end
    after it out of a literal."""
    code_page: int
    joins_lines: bool

    DATABASE = "QuinmarkTestLiterals"
    TYPES = {}
    CENTURY = 1950
    DAY_FIRST = ("british", "german")
    SMALLEST_YEAR = 1753
    SMALLEST_NUMBER = 2.23e-308

    @classmethod
    def pairs(cls, side):
        """Regional settings, each with a login, as far as the server has what they need."""
        code_page = side.value("select convert(int, collationproperty(convert(varchar(128),"
                               " databasepropertyex(db_name(), 'Collation')), 'CodePage'))")
        joins_lines = not lacks(side, "the continuation of lines", "select 'a\\\nb'", "ab")
        lacking = []
        if lacks(side, "the usual century of two-digit years", "select cast('1/2/50' as datetime)",
                 datetime.datetime(cls.CENTURY, 1, 2)):
            lacking.append(TWO_DIGITS)
        for language in cls.DAY_FIRST:
            refusal = side.refusal(f"set language {language}") or "no message"
            if lacks(side, f"the language {language} ({refusal})", "select cast('3/11/2026' as datetime)",
                     datetime.datetime(2026, 11, 3)):
                lacking.append(language)
        return [(region, cls(language, code_page, joins_lines)) for region, language in [
            (UNITED_STATES, "us_english"), (UNITED_STATES, "british"), (TWO_DIGITS, "us_english"),
            (UNITED_KINGDOM, "british"), (UNITED_KINGDOM, "us_english"),
            (GERMANY, "german"), (GERMANY, "us_english"),
            (JAPAN, "us_english"), (JAPAN, "german"), (JAPAN_TWELVE_HOURS, "us_english")
        ] if not {region, language} & {*lacking}]

    @property
    def option(self):
        return f"Language={self.setting}"

    def _day(self, day, region):
        # A part of four digits is the year wherever it stands; the order of the others remains.
        return day if (self.setting in self.DAY_FIRST) == (region.order == "DMY") else exchanged(day)

    def _time_alone(self, time):
        return datetime.datetime.combine(datetime.date(1900, 1, 1), time)

    def text(self, text):
        return re.sub(r"\\\r?\n", "", text) if self.joins_lines else text

    def held(self, row):
        held = dict(row)
        for name, length in LENGTHS.items():
            if row[name]:
                text = row[name].encode(f"cp{self.code_page}", "replace")[:length]
                held[name] = text.decode(f"cp{self.code_page}", "ignore")
        if row["d"] and row["d"].year < self.SMALLEST_YEAR:
            # By a multiple of 400 years, which have equal calendars.
            held["d"] = row["d"].replace(year=row["d"].year + 2000)
        if row["f"] and abs(row["f"]) < self.SMALLEST_NUMBER:
            held["f"] = 0.0
        return held

    def comparable(self, row):
        # A conversion from decimal to float may lose precision.
        return {**row, "f": float(f"{row['f']:.15G}")} if row.get("f") else row


LoginHere = PostgreSqlLogin if is_postgresql() else SqlServerLogin
