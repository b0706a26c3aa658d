"""The reports that a run leaves in the log, as lines; the time of an entry stands as <time>."""

import re

from server import no_row, skips
from values import text_of

NAME_WIDTH = 20
VALUE_WIDTH = 50
RULER = "-" * 50


def delete_report(name, table, row):
    """Every field of a row that one side lacks."""
    lines = _entry(f"Replication Discrepancy (delete) on table: {name} --> Unid: {_key(table, row)}",
                   "Field" + " " * 15 + "Data", "-" * 19 + " " + "-" * 10)
    for column in _reported(table):
        lines.append(_fixed(column.name, NAME_WIDTH) + text_of(column.type, row[column.name]))
    return lines + _entry(RULER)


def difference_report(name, table, primary, secondary):
    """The fields in which two rows differ."""
    lines = _entry(f"Replication Discrepancy (mismatch) on table: {name} --> Unid: {_key(table, primary)}",
                   "Field" + " " * 15 + "Primary" + " " * 43 + "Secondary",
                   "-" * 19 + " " + "-" * 10 + " " * 40 + "-" * 10)
    for column in _reported(table):
        texts = [text_of(column.type, row[column.name]) for row in (primary, secondary)]
        if texts[0] != texts[1]:
            lines.append(_fixed(column.name, NAME_WIDTH) + "".join(_fixed(text, VALUE_WIDTH) for text in texts))
    return lines + _entry(RULER)


def log_lines(data):
    """The lines of a log file."""
    text = re.sub(r"(?m)^\d+/\d+/\d{4}( \d+:\d\d:\d\d [AP]M)?: (?=WARN )", "<time>: ", data.decode("cp1252"))
    return text.split("\r\n")[:-1]


def _entry(*lines):
    return ["", "<time>: WARN : " + lines[0], *lines[1:]]


def _key(table, row):
    if row is None:
        raise no_row()
    return text_of(table.by_name["unid"].type, row["unid"])


def _reported(table):
    return [column for column in table.columns if not skips(table, column, False)]


def _fixed(text, width):
    return text[:width].ljust(width)
