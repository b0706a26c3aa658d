"""What the ADO classes for Wine take, against the same statements through ODBC in plain C: all that a one-way run
sends, and the rows of a large result.
"""

import subprocess

from bed import windows_path
from figures import figure, ratio, require_same, take_turns
from work import GUID, NUMBER, shared_work

LIMIT = 1.10
STREAMED = 5  # how often the large result is read


def figures(bed, scale):
    work = shared_work(bed)
    state = f"mixed_{scale.rows}"
    return [*_compare(work, scale, state, work.trace(state, (GUID,)), "GUID keys", LIMIT),
            *_compare(work, scale, state, work.trace(state, (NUMBER,)), "numeric keys", LIMIT),
            *_compare(work, scale, state, _stream(work, scale), "all columns of all rows", None)]


def _stream(work, scale):
    """Reads a table from its first row to its last."""
    trace = (work.bed.work / "stream.trace").resolve()
    rows = int(work.pair.psql("S", f"select count(*) from {GUID.name};"))
    reading = [f"open\t0\tS\tselect * from {GUID.name}", *["next\t0"] * rows, "close\t0"]
    connecting = [f"connect\t{side}\t{work.pair.connection(side)}" for side in "SD"]
    trace.write_text("".join(f"{line}\n" for line in [*connecting, *reading * STREAMED]), encoding="utf-8")
    return trace


def _compare(work, scale, state, trace, kind, limit):
    plain = trace.with_suffix(".plain")
    subprocess.run([str(word) for word in (*work.bed.program("bench_plain_trace"), windows_path(trace),
                                           windows_path(plain))], check=True)
    left = {}

    def client(name, start):
        def measured():
            work.restore(state)
            taken = start()
            left[name] = (taken["statements"], taken["rows"], work.digest(GUID.name), work.digest(NUMBER.name))
            return taken
        return measured

    taken = take_turns(scale.rounds, {
        "ado": client("ado", lambda: work.replay(trace)),
        "odbc": client("odbc", lambda: work.bed.measure([*work.bed.program("bench_odbc"), windows_path(plain)]))})
    require_same(f"databases after the statements over ADO and over plain ODBC, {kind}", left)
    return [figure(f"adodb against plain ODBC, {kind}: {title}", ratio(taken["ado"], taken["odbc"], key), most)
            for title, key, most in (("wall time", "wall", limit), ("processor time", "cpu", None))]
