"""What the ADO classes for Wine take, against the same statements sent through ODBC in plain C: everything that a
one-way run sends, replayed by both in turn from the same state of the databases.
"""

import statistics
import subprocess

import work
from bed import windows_path

ROUNDS = 5
LIMIT = 1.10
TABLES = {"GUID keys": work.GUID, "numeric keys": work.NUMBER}


def figures(bed, scale):
    """`scale` has the number of rows of each side, of which a fifth was changed."""
    bench = work.Work(bed)
    state = f"mixed_{scale.rows}"
    bench.make_state(state)
    found = []
    for title, table in TABLES.items():
        found += _ratios(bed, bench, state, title, table)
    bench.pair.forget(state)
    return found


def _ratios(bed, bench, state, title, table):
    bench.pair.restore(state)
    trace = bench.record([table])
    plain = trace.with_suffix(".plain")
    subprocess.run([*bed.program("bench_plain_trace"), windows_path(trace.resolve()), windows_path(plain.resolve())],
                   check=True)
    ado, odbc = [], []
    for _ in range(ROUNDS):
        bench.pair.restore(state)
        ado.append(bench.replay(trace))
        bench.pair.restore(state)
        odbc.append(bed.measure([*bed.program("bench_odbc"), windows_path(plain.resolve())]))
        _require_same_work(ado[-1], odbc[-1])
    return [_figure(f"adodb against plain ODBC, {title}: wall time", ado, odbc, "wall", LIMIT),
            _figure(f"adodb against plain ODBC, {title}: processor time", ado, odbc, "cpu", None)]


def _require_same_work(ado, odbc):
    for counter in ("statements", "rows"):
        if ado[counter] != odbc[counter]:
            raise work.WrongResult(f"{counter}: {ado[counter]} over ADO, {odbc[counter]} over plain ODBC")


def _figure(name, ado, odbc, what, limit):
    """The median of the ratios of neighbours."""
    ratio = statistics.median(mine[what] / plain[what] for mine, plain in zip(ado, odbc))
    return {"name": name, "value": ratio, "limit": limit}
