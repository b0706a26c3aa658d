"""The two databases of a run, and which of their rows it looks at."""

import dataclasses
import itertools

from dialect import DIALECT
from server import Database
from values import date_literal

OFFICES, LAPTOP = 0, 1
# Why a row was written over or deleted.
FULL_COPY = "full copy"
SOURCE_NEWER = "the source's row is newer"
ONLY_DESTINATION = "an old row that only the destination has"
NEWER_WINS = "the newer row wins"


@dataclasses.dataclass
class Pair:
    """The two databases of a run, its site, the messages that it showed, and why it wrote over rows or deleted
    them: the reason by the row's side, table and text of the key, which is None for all rows of a table."""
    source: Database
    destination: Database
    site: int
    local: Database
    boxes: list = dataclasses.field(default_factory=list)
    reasons: dict = dataclasses.field(default_factory=dict)

    def set_error(self, message):
        self.local.error = message

    def explain(self, side, table, key, reason):
        self.reasons["source" if side is self.source else "destination", table.name, key] = reason


def changed_rows(pair, table, key, last):
    """Keys and dates of the rows on both sides that differ in date, one of them after the last run."""
    limit = date_literal(last)
    if limit is None:
        return []
    listed = []
    for row, other in itertools.product(pair.source.listed(table), pair.destination.listed(table)):
        dates = (row["mod_date"], other["mod_date"])
        if row[key] is None or other[key] is None or None in dates or dates[0] == dates[1]:
            continue
        if DIALECT.comparable(row[key]) == DIALECT.comparable(other[key]) and max(dates) > limit:
            listed.append((other[key], *dates))
    return DIALECT.joined(listed)


def missing_rows(here, there, table, key):
    """Key and date of the rows that only `here` has. A Null among the keys there hides them all."""
    keys = {DIALECT.comparable(row[key]) for row in there.rows(table)}
    if not keys:
        return [(row[key], row["mod_date"]) for row in here.listed(table)]
    if None in keys:
        return []
    return [(row[key], row["mod_date"]) for row in here.listed(table)
            if row[key] is not None and DIALECT.comparable(row[key]) not in keys]
