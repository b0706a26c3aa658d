"""Column types of the model: their values, the platform's texts of them, and the values that a database reads back.

A value is None (Null) or: int, float, Decimal (money), bool, str (text; a GUID in lower case), and for a date the
whole number of milliseconds since 30 December 1899, 00:00.
"""

import dataclasses
import datetime
import decimal
import typing

EPOCH = datetime.datetime(1899, 12, 30)
MILLISECOND = datetime.timedelta(milliseconds=1)
SECOND = 1000
DAY = 86400 * SECOND
ZERO_DATE = 0
NEW_YEAR_1900 = 2 * DAY


class Unsupported:
    """The literal of a column type that rows cannot carry: no text at all."""


@dataclasses.dataclass
class TooLarge:
    """A number that the database refuses; `digits` as it writes them in its message."""
    digits: str


def date_of(text):
    return (datetime.datetime.fromisoformat(text) - EPOCH) // MILLISECOND


def iso(date):
    return (EPOCH + date * MILLISECOND).isoformat(sep=" ", timespec="milliseconds")


def seconds(date):
    """The nearest whole second. Half a second may be rounded either way: cases do not contain it."""
    return (date + SECOND // 2) // SECOND


def date_literal(date):
    """The date that a database reads from the literal of a date; None where the literal is Null."""
    return None if date == ZERO_DATE else seconds(date) * SECOND


def date_text(date):
    """Short date and long time of the United States, each only where there is something to say: a fraction that rounds
    to midnight still is a time.
    """
    moment = EPOCH + datetime.timedelta(seconds=seconds(date))
    clock = f"{(moment.hour + 11) % 12 + 1}:{moment:%M:%S} {'AM' if moment.hour < 12 else 'PM'}"
    day = f"{moment.month}/{moment.day}/{moment.year}"
    if moment.date() == EPOCH.date():
        return clock
    return f"{day} {clock}" if date % DAY else day


def double_text(value):
    """Fifteen significant digits."""
    text = f"{value:.15G}"
    return "0" if text == "-0" else text


def single_text(value):
    return f"{value:.7G}"


def money_text(value):
    text = f"{value:f}"
    return text.rstrip("0").rstrip(".") if "." in text else text


def same(value):
    return value


@dataclasses.dataclass(frozen=True)
class Type:
    """A column type: `sql` declares it; `text` is a value joined to an empty text; `carried` what a copied row has;
    `parse` reads what `plain` or a database writes.
    """
    sql: str
    text: typing.Callable = str
    carried: typing.Callable = same
    parse: typing.Callable = same
    plain: typing.Callable = same


def carry_double(value):
    text = double_text(value)
    carried = float(text)
    if carried in (float("inf"), float("-inf")):
        return TooLarge(f"{decimal.Decimal(text):f}")
    return carried


def unsupported(sql, text=str, parse=str):
    return Type(sql, text, lambda value: Unsupported, parse, str)


def varchar(size):
    return Type(f"varchar({size})", carried=lambda value: value or None)


def char(size):
    return Type(f"char({size})", parse=lambda value: value.ljust(size))


SMALLINT = Type("smallint", parse=int)
INTEGER = Type("integer", parse=int)
DOUBLE = Type("double precision", double_text, carry_double, float, repr)
MONEY = Type("numeric(19,4)", money_text, parse=decimal.Decimal, plain=str)
BIT = Type("boolean", parse=bool)
GUID = Type("uuid", lambda value: "{" + value.upper() + "}")
DATE = Type("timestamp(3)", date_text, date_literal, date_of, iso)
TEXT = unsupported("text")
BIGINT = unsupported("bigint", parse=int)
REAL = unsupported("real", single_text, float)


def text_of(column_type, value):
    """A value joined to an empty text."""
    return "" if value is None else column_type.text(value)


def literal_value(column_type, value):
    """The result of writing the literal of `value` into a column: a value, Unsupported or TooLarge."""
    return None if value is None else column_type.carried(value)
