"""The component against the same statements without it: the figures of the table's first part."""

from bed import windows_path
from figures import figure, median, ratio, require_same, take_turns
from typed import Terminal
from work import DEBUG, FULL, GUID, NUMBER, OFF, QUIET, shared_work

# Rows of the smaller state where two sizes are compared: 2,000 of them changed. A run over it is so short that it
# takes the median of several.
SMALL = 10_000
SHORT_RUNS = 3
# Rows of a full copy, and how often it is made at most.
MANY = 1_000_000
LONG_RUNS = 3


def run_against_replay(bed, scale):
    """A run, and the same statements from a bare loop."""
    figures = []
    for table, kind in ((GUID, "GUID keys"), (NUMBER, "numeric keys")):
        run, replay = _run_and_replay(bed, scale, table)
        figures += [figure(f"run against bare loop, {kind}: wall time", ratio(run, replay, "wall"), 1.03),
                    figure(f"run against bare loop, {kind}: processor time", ratio(run, replay, "cpu"), 1.10)]
    return figures


def _run_and_replay(bed, scale, table):
    work = shared_work(bed)
    state = f"mixed_{scale.rows}"
    trace = work.trace(state, (table,))
    left = {}

    def client(name, start):
        def measured():
            work.restore(state)
            taken = start()
            left[name] = work.digest(table.name)
            return taken
        return measured

    taken = take_turns(scale.rounds, {
        "replay": client("replay", lambda: work.replay(trace)),
        "run": client("run", lambda: work.run((table,)))})
    require_same(f"databases after a run and its replay on {table.name}", left)
    source, destination = left["run"]
    require_same(f"both copies of {table.name}", {"source": source.split("\n")[0], "destination": destination})
    return taken["run"], taken["replay"]


def growth(bed, scale):
    """What a changed row takes when there are many, against few."""
    work = shared_work(bed)
    rows = 10 * scale.rows

    def run(state):
        work.restore(state)
        taken = work.run((GUID,))
        changed = taken["updated"]
        return {"wall": taken["wall"] / changed, "cpu": taken["cpu"] / changed, "peak": taken["peak_kb"] / 1024}

    def few():
        runs = [run(f"changed_{SMALL}") for _ in range(SHORT_RUNS)]
        return {key: median(runs, key) for key in runs[0]}

    taken = take_turns(scale.rounds, {"few": few, "many": lambda: run(f"changed_{rows}")})
    little, much = taken["few"], taken["many"]
    what = f"at {rows // 5} changed rows, against {SMALL // 5}"
    return [figure(f"time per changed row {what}", ratio(much, little, "wall"), 1.05),
            figure(f"processor time per changed row {what}", ratio(much, little, "cpu")),
            figure(f"peak memory {what}, in MB more", median(much, "peak") - median(little, "peak"), 2)]


def logging(bed, scale):
    """What an entry of the log takes, against the system calls that it consists of."""
    work = shared_work(bed)
    state = f"mixed_{scale.rows}"
    trace = work.trace(state, (GUID,))

    def fresh(measured, *arguments):
        work.log().unlink(missing_ok=True)
        work.restore(state)
        return measured(*arguments)

    fresh(work.run, (GUID,), DEBUG)
    log = work.log().read_bytes()
    entries = log.count(b"\r\n\r\n") + 1
    size = len(log) // entries
    taken = take_turns(scale.rounds, {
        "debug": lambda: fresh(work.run, (GUID,), DEBUG), "off": lambda: fresh(work.run, (GUID,), OFF),
        "bare": lambda: fresh(work.replay, trace),
        "append": lambda: fresh(work.replay, trace, f"--append={windows_path(work.log())}"),
        "entries": lambda: work.entries("bench_log", entries, size),
        "calls": lambda: work.entries("bench_append", entries, size)})
    logged = (median(taken["debug"], "cpu") - median(taken["off"], "cpu")) / entries
    appended = (median(taken["append"], "cpu") - median(taken["bare"], "cpu")) / taken["bare"][0]["statements"]
    return [figure("DEBUG log entry of a run against open, append, close: processor time", logged / appended, 2),
            figure("log entry by itself against open, append, close: processor time",
                   ratio(taken["entries"], taken["calls"], "cpu"), 2)]


def full_copy(bed, scale):
    """A copy of a whole table, against its two statements typed into psql."""
    work = shared_work(bed)
    rows = min(MANY, 100 * scale.rows)
    state = f"changed_{rows}"
    source, destination = work.pair.prefix("S"), work.pair.prefix("D")
    left = {}

    def typed():
        work.restore(state)
        there, here = (Terminal(work.pair.databases[side]) for side in "DS")
        wall = there.type(f"Delete from {FULL.name};")
        wall += here.type(f"insert into {destination}{FULL.name} select * from {source}{FULL.name};")
        there.close()
        here.close()
        left["typed"] = work.digest(FULL.name)[1]
        return {"wall": wall}

    def run():
        work.restore(state)
        taken = work.run((FULL,))
        left["run"] = work.digest(FULL.name)[1]
        return taken

    taken = take_turns(min(scale.rounds, LONG_RUNS), {"run": run, "typed": typed})
    require_same("destination after a full copy", left)
    return [figure(f"full copy of {rows} rows against psql: wall time", ratio(taken["run"], taken["typed"], "wall"),
                   1.02)]


def nothing_to_do(bed, scale):
    """Start to end of a run over unchanged tables: connecting and disconnecting are part of it."""
    work = shared_work(bed)
    state = f"mixed_{scale.rows}"
    trace = work.trace(state, QUIET, whole=True)

    def run():
        work.restore(state)
        return work.run(QUIET, whole=True)

    def replay():
        work.restore(state)
        return work.replay(trace, "--whole")

    taken = take_turns(scale.rounds, {"run": run, "replay": replay})
    return [figure(f"run over {len(QUIET)} unchanged tables against bare loop: wall time",
                   ratio(taken["run"], taken["replay"], "wall"), 1.03)]
