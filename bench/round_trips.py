"""Round trips between the component and its databases for a changed row, and what they are spent on."""

import collections
import contextlib

import component
import messages
from figures import figure
from practice import Practice
from relay import LOCALHOST
from side import is_postgresql

# Changed rows; fewer than the keys that PostgreSQL's driver fetches at once.
FEW, MANY = 100, 900


def count(_rows, _rounds):
    """The difference between two runs, for each row that the second one has more; every call counts the same."""
    few, many = _spent(FEW), _spent(MANY)
    spent = {kind: (many[kind] - few[kind]) / (MANY - FEW) for kind in {*few, *many} if many[kind] != few[kind]}
    return [figure("round trips for a changed row", sum(spent.values()), 3),
            *(figure(f"round trips for a changed row: {kind}", spent[kind]) for kind in sorted(spent))]


def _spent(changed):
    """The round trips of a run, by what the component sent."""
    with _relay() as (turns, settings):
        taken = component.run_in(f"changed_{5 * changed}", (component.GUID,), **settings)
        if taken["updated"] != changed:
            raise RuntimeError(f"{taken['updated']} rows were changed instead of {changed}")
        kind = messages.postgresql if is_postgresql() else messages.tds
        return collections.Counter(kind(bytes(turn)) for turn in turns)


@contextlib.contextmanager
def _relay():
    """A relay's turns, and the settings of a program that reaches both databases through it."""
    with contextlib.closing(Practice({})) as practice:
        relay = practice.relay("office")
        relay.turns = []
        for side in practice.dsns:
            # TDS then protects the login alone.
            practice.set_odbc(side, Server=LOCALHOST, Port=relay.port, Encryption="off")
        yield relay.turns, {"ODBCINI": practice.environment["ODBCINI"]}
