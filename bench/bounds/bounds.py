"""What bounds one-way replication from below: a merge join of two ordered cursors, and a single statement; and what a
network's delay makes of each. Without limits.
"""

import statistics
import sys

from bed import REPOSITORY
from figures import figure, median, ratio, take_turns
from others import equal_work
from others.equal_sides import EqualSides, durable, server_port
from typed import Terminal

sys.path.insert(0, str(REPOSITORY / "tests" / "support"))
from relay import LOCALHOST, Relay  # noqa: E402  pylint: disable=wrong-import-position

ROUNDS = 3
ROUND_TRIPS = 50
DELAY = 0.0035  # seconds each way
COMPONENT, MERGE_JOIN, STATEMENT = "component", "merge join", "one statement"


def figures(bed, scale):
    """Seconds of all three, and how many times as long as the bounds the component takes."""
    sides = EqualSides(bed)
    try:
        with durable():
            near = _measure(sides, min(scale.rounds, ROUNDS))
            with Relay(LOCALHOST, server_port(), DELAY) as relay:
                far = _measure(sides, 1, relay.port)
                trip = _round_trip(sides, relay.port)
    finally:
        sides.close()
    return [*_judge("bounds", near), *_judge("bounds with a delay", far),
            figure("round trip with the delay: milliseconds", 1000 * trip)]


def _measure(sides, rounds, port=None):
    clients = {COMPONENT: lambda: sides.run(port), MERGE_JOIN: lambda: sides.merge_join(port),
               STATEMENT: lambda: _state(sides, port)}
    return take_turns(rounds, {name: lambda run=run: _checked(sides, run) for name, run in clients.items()})


def _checked(sides, run):
    sides.restore()
    taken = run()
    if sides.differences() != 0:
        raise RuntimeError("the sides are not equal after a run")
    return taken


def _state(sides, port):
    terminal = Terminal(sides.pair.databases["D"], port)
    wall = terminal.type(_statement(sides.table("D"), sides.table("S")))
    terminal.close()
    return {"wall": wall}


def _statement(there, here):
    """Makes one table like the other, by the dates of common rows, on the connection that has the first."""
    key, columns = equal_work.KEY, equal_work.COLUMNS
    values = ", ".join(f"s.{column}" for column in columns)
    return (f"with gone as (delete from {there} d where not exists (select from {here} s where s.{key} = d.{key})), "
            f"changed as (update {there} d set ({', '.join(columns)}) = row({values}) from {here} s "
            f"where s.{key} = d.{key} and s.mod_date <> d.mod_date) "
            f"insert into {there} select {values} from {here} s "
            f"where not exists (select from {there} d where d.{key} = s.{key});")


def _round_trip(sides, port):
    terminal = Terminal(sides.pair.databases["D"], port)
    seconds = statistics.median(terminal.type("select;") for _ in range(ROUND_TRIPS))
    terminal.close()
    return seconds


def _judge(what, taken):
    return [*(figure(f"{what}, {name}: seconds", median(taken[name], "wall"))
              for name in (COMPONENT, MERGE_JOIN, STATEMENT)),
            *(figure(f"{what}, against {name}: wall time", ratio(taken[COMPONENT], taken[name], "wall"))
              for name in (MERGE_JOIN, STATEMENT))]
