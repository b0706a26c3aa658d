"""Random rows of every type that replication carries, and their values after the way through literals."""

import datetime
import decimal
import math
import struct
import uuid

from logins import LENGTHS, Refused

# Columns beside the key, and their types.
COLUMNS = {"t": f"varchar({LENGTHS['t']})", "c": f"char({LENGTHS['c']})", "i": "int", "s": "smallint", "f": "float",
           "m": "money", "b": "bit", "g": "uniqueidentifier", "d": "datetime"}
ROUTINE_COLUMNS = {**dict.fromkeys("qlrw", COLUMNS["t"]), "n": "int", "d": "datetime"}
PIECES = ["'", "''", '"', "\\", "\\'", "--", "/*", "*/", ";", "?", "{", "}", "{d '", "{fn now()}", "[x]", "]", "$$",
          "$1", "%", "_", ":x", "@p", "Null", "\r\n", "\n", "\\\r\n", "\\\n", "\t", "\x1a", "\x01", "\x7f", " ", "   ",
          "E'", "U&'", "N'", "go\n", "select top 1", "dateadd(s, 1, x)", "getdate()", "O'Brien", "é", "ß", "–", "€",
          "日本", "ー", "\u00a0", "\u200b", "\ufeff", "\U0001f9b7", "\U00020bb7", "е́", "؟"]
FIRST_DAY = datetime.datetime(100, 1, 1)
LAST_DAY = datetime.datetime(9999, 12, 31)
NEAR = [*map(datetime.datetime.fromisoformat, ("1899-12-29", "1899-12-30", "1899-12-31", "1900-01-01", "1970-01-01",
                                               "2000-02-29")), FIRST_DAY, LAST_DAY]


def random_text(chance, longest):
    count = chance.choice([0, 1, 2, 3, 8, 8, 40])
    text = "".join(chance.choice(PIECES) if chance.random() < 0.6 else random_character(chance) for _ in range(count))
    if chance.random() < 0.01:
        text += "x'" * (longest // 2)
    return text[:longest]


def random_character(chance):
    code = chance.choice([chance.randrange(1, 128), chance.randrange(128, 0xD800), chance.randrange(0xE000, 0xFFFE),
                          chance.randrange(0x10000, 0x110000)])
    return chr(code)


def is_halfway(value):
    """Whether the number lies half-way between two of fifteen digits: it may be rounded either way."""
    digits = decimal.Decimal(value).as_tuple().digits
    return len(digits) == 16 and digits[15] == 5


def random_double(chance):
    kind = chance.randrange(4)
    if kind == 0:
        while True:
            value = struct.unpack("<d", chance.randbytes(8))[0]
            if math.isfinite(value) and not is_halfway(value):
                return value
    if kind == 1:
        return float(chance.randint(-10**6, 10**6))
    if kind == 2:
        return chance.randint(-10**9, 10**9) / 10**chance.randint(1, 9)
    return chance.choice([0.0, 5e-324, 2.2250738585072014e-308, 1.7976931348623157e308, 0.1, 0.30000000000000004, 1e15,
                          999999999999999.9, 1e16, 123456789012345678.0, 1e-5, 0.0001])


def random_date(chance):
    day = chance.choice(NEAR) if chance.random() < 0.2 else \
        FIRST_DAY + datetime.timedelta(days=chance.randrange((LAST_DAY - FIRST_DAY).days))
    if chance.random() < 0.4:
        day = datetime.datetime(chance.randint(1950, 2049), chance.randint(1, 12), chance.randint(1, 28))
    if chance.random() < 0.3:
        return day
    milliseconds = chance.choice([chance.randrange(86_398_000), chance.randrange(86_398) * 1000, 400, 1000, 43_200_000])
    # Half a second may be rounded either way, and a server may hold its neighbours as half a second.
    return day + datetime.timedelta(milliseconds=milliseconds + 3 * (milliseconds % 1000 in (499, 500, 501)))


MAKERS = {
    "t": lambda chance: random_text(chance, LENGTHS["t"]),
    "c": lambda chance: random_text(chance, LENGTHS["c"]).ljust(LENGTHS["c"]),
    "i": lambda chance: chance.choice([0, 1, -2**31, 2**31 - 1, chance.randint(-2**31, 2**31 - 1)]),
    "s": lambda chance: chance.choice([0, 1, -2**15, 2**15 - 1, chance.randint(-2**15, 2**15 - 1)]),
    "f": random_double,
    "m": lambda chance: decimal.Decimal(chance.choice(
        [0, 1, 12500, -2**63, 2**63 - 1, chance.randint(-2**63, 2**63 - 1), chance.randint(-10**6, 10**6)])).scaleb(-4),
    "b": lambda chance: chance.random() < 0.5,
    "g": lambda chance: str(uuid.UUID(bytes=chance.randbytes(16))),
    "d": random_date,
}


def random_row(chance):
    """All columns, or one alone: a column that is refused takes the others with it."""
    wanted = list(COLUMNS) if chance.random() < 0.2 else [chance.choice("ttcisffmmbgddd")]
    return {name: MAKERS[name](chance) if name in wanted else None for name in COLUMNS}


def carried(name, value, region, login):
    """The value that arrives; raises Refused where the statement is refused."""
    if value is None or value == "" and name == "t":
        return None
    if name == "t":
        return login.text(value)
    if name == "c":
        return login.text(value).ljust(LENGTHS["c"])
    if name == "d":
        return login.date(value, region)
    if name == "f":
        return login.number(f"{value:.15G}", region)
    if name == "m":
        login.number(f"{value:f}".rstrip("0").rstrip("."), region)
    return value


def carried_row(row, region, login):
    """The row that arrives, or None when it is refused."""
    try:
        return {name: carried(name, value, region, login) for name, value in row.items()}
    except Refused:
        return None


def routine_results(row, region, login):
    """The values that the literal routines' statement stores: four texts, a bit, a date; None when it is refused."""
    given = bool(row["t"])
    text = login.text(row["t"] or "")
    if len(text) > LENGTHS["t"] - 2:
        return None
    try:
        return {"q": text if given else None, "l": f"%{text}", "r": f"{text}%", "w": f"%{text}%" if given else "%",
                "n": int(given), "d": login.date(row["d"], region)}
    except Refused:
        return None
