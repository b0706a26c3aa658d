"""The component against the same work without it, on tables of 20 columns in states of known differences.

A state is named by what differs: `mixed_N` has N rows with 20 % changed, 5 % new and 5 % deleted, `changed_N` the
changed ones only, and not of NUMBER.
"""

import atexit
import functools
import re
import statistics

import clients
from databases import AS_LOGIN, new_pair
from figures import figure, median, ratio, require_same, take_turns
from side import REPOSITORY, is_postgresql

GUID = (3, "work_guid", "")
NUMBER = (7, "work_number", "row_no")
FULL = (1, "work_guid", "")
QUIET = tuple((3, f"quiet_{number}", "") for number in range(1, 41))
# The ratio to the bare loop differs from call to call, each of which has its own databases; one call decides nothing.
CALLS = 3
# Rows of the smaller state where two sizes are compared, and of a full copy.
SMALL = 10_000
MANY = 1_000_000
# The number of short runs over the smaller state, and the greatest number of full copies.
FEW = 3
TRACE = clients.FOLDER / "run.trace"


@functools.cache
def _pair():
    server = "postgresql" if is_postgresql() else "sqlserver"
    pair = new_pair("bench", REPOSITORY / "bench" / f"work_{server}.sql")
    atexit.register(pair.close)
    return pair


def _make(state):
    kind, rows = state.split("_")
    for side in "SD":
        _pair().fill(side, rows, kind)
    _pair().keep(state)


def _in_state(state, client, *arguments, **options):
    """A client at work on databases in a state, which is made the first time."""
    if state not in _pair().states:
        _make(state)
    _pair().restore(state)
    return client(*arguments, **options)


def run_in(state, tables, **options):
    return _in_state(state, clients.run, _pair(), tables, **options)


def _left(table):
    """Number and sum of each copy's rows, and the counts of the run there."""
    return tuple((_pair().sum_of(side, table),
                  tuple(_pair().sql(side, "select count_name, count_value from replication_counts order by 1")))
                 for side in "SD")


def run(rows, rounds):
    """A run against the same statements from a bare loop."""
    figures = []
    for table, keys in ((GUID, "GUID keys"), (NUMBER, "numeric keys")):
        calls = [_run_and_loop(f"mixed_{rows}", rounds, table) for _ in range(CALLS)]
        for title, key, limit in (("wall time", "wall", 1.20), ("processor time", "cpu", 1.30)):
            ratios = [ratio(taken["run"], taken["loop"], key) for taken in calls]
            name = f"run against bare loop (goal 1.0), {keys}: {title}"
            figures += [figure(f"{name}, median of {CALLS} calls", statistics.median(ratios), limit),
                        figure(f"{name}, lowest call", min(ratios)), figure(f"{name}, highest call", max(ratios))]
    return figures


def _run_and_loop(state, rounds, table):
    name, left = table[1], {}

    def client(kind, *arguments):
        taken = _in_state(state, getattr(clients, kind), *arguments)
        left[kind] = _left(name)
        return taken

    _make(state)
    run_in(state, (table,), trace=TRACE)
    taken = take_turns(rounds, {"run": lambda: client("run", _pair(), (table,)), "loop": lambda: client("loop", TRACE)})
    require_same(f"databases after a run and the bare loop on {name}", left)
    source, destination = left["run"]
    require_same(f"both copies of {name}", {"source": source[0], "destination": destination[0]})
    return taken


def growth(rows, rounds):
    """A changed row's time when there are many, against few."""
    def per_row(state):
        taken = run_in(state, (GUID,))
        return {**{key: taken[key] / taken["updated"] for key in ("wall", "cpu")}, "peak": taken["peak_kb"] / 1024}

    def few():
        runs = [per_row(f"changed_{SMALL}") for _ in range(FEW)]
        return {key: median(runs, key) for key in runs[0]}

    taken = take_turns(rounds, {"few": few, "many": lambda: per_row(f"changed_{10 * rows}")})
    little, much = taken["few"], taken["many"]
    sizes = f"at {2 * rows} changed rows, against {SMALL // 5}"
    return [figure(f"time per changed row {sizes}", ratio(much, little, "wall"), 1.05),
            figure(f"processor time per changed row {sizes}", ratio(much, little, "cpu")),
            figure(f"peak memory {sizes}, in MB more", median(much, "peak") - median(little, "peak"), 2)]


def log(rows, rounds):
    """An entry of the log, against the system calls that it consists of; as many and as long as a run's at DEBUG."""
    run_in(f"mixed_{rows}", (GUID,), level=clients.DEBUG)
    written = clients.LOG.read_bytes()
    entries = written.count(b"\r\n\r\n") + 1
    taken = take_turns(rounds, {kind: lambda kind=kind: clients.log(kind, entries, len(written) // entries)
                                for kind in ("component", "bare")})
    return [figure("DEBUG log entry against open, append, close: processor time",
                   ratio(taken["component"], taken["bare"], "cpu"), 2)]


def full_copy(rows, rounds):
    """A copy of a whole table, against its two statements typed into psql."""
    rows, (_, name, _), left = min(MANY, 100 * rows), FULL, {}
    state, here, there = f"changed_{rows}", _pair().prefix("S"), _pair().prefix("D")

    def typed():
        statements = {"D": f"delete from {name};", "S": f"insert into {there}{name} select * from {here}{name};"}
        said = [_pair().psql(side, f"{AS_LOGIN}\\timing on\n{statement}") for side, statement in statements.items()]
        return {"wall": sum(float(re.search(r"Time: ([\d.]+) ms", text)[1]) / 1000 for text in said)}

    def client(kind, start):
        taken = start()
        left[kind] = _pair().sql("D", f"select count(*), sum(hashtextextended(t::text, 0)::numeric) from {name} t")[0]
        return taken

    taken = take_turns(min(rounds, FEW), {"run": lambda: client("run", lambda: run_in(state, (FULL,))),
                                                "typed": lambda: client("typed", lambda: _in_state(state, typed))})
    require_same("destinations after a full copy and the typed statements", left)
    return [figure(f"full copy of {rows} rows against psql: wall time", ratio(taken["run"], taken["typed"], "wall"),
                   1.02)]


def nothing_to_do(rows, rounds):
    """Start to end of a run over unchanged tables: connecting and disconnecting are part of it."""
    state = f"mixed_{rows}"
    run_in(state, QUIET, whole=True, trace=TRACE)
    taken = take_turns(rounds, {"run": lambda: run_in(state, QUIET, whole=True),
                                "loop": lambda: _in_state(state, clients.loop, TRACE, whole=True)})
    return [figure(f"run over {len(QUIET)} unchanged tables against bare loop: wall time",
                   ratio(taken["run"], taken["loop"], "wall"), 1.03)]
