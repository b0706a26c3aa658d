"""The work of the benches: tables of 20 columns in states of known differences, and the clients that bring the
destination in line with the source.
"""

import atexit
import dataclasses
import functools
import pathlib

from bed import windows_path

OFF = 5  # log level: nothing of a run without conflicts is an error
DEBUG = 1
SQL = pathlib.Path(__file__).with_name("work.sql")


@dataclasses.dataclass(frozen=True)
class Table:
    """A replicated table, by its method; `key` is the word of its key."""

    name: str
    method: int
    key: str

    def word(self):
        return f"{self.method}:{self.name}" + (f":{self.key}" if self.method == 7 else "")


GUID = Table("work_guid", 3, "unid")
NUMBER = Table("work_number", 7, "row_no")
FULL = Table("work_guid", 1, "")
QUIET = tuple(Table(f"quiet_{number}", 3, "unid") for number in range(1, 41))


class Work:
    """The databases and the clients. A state is named by what differs: `mixed_N` has N rows with 20 % changed, 5 % new
    and 5 % deleted, `changed_N` the changed ones only, and not of NUMBER.
    """

    def __init__(self, bed):
        self.bed = bed
        self.pair = bed.pair("bench", SQL.read_text(encoding="utf-8"))
        self._states = set()
        self._traces = {}

    def restore(self, state):
        """Brings both databases into a state, which is made the first time."""
        if state in self._states:
            self.pair.restore(state)
            return
        kind, rows = state.split("_")
        for side in "SD":
            self.pair.psql(side, "truncate work_guid, work_number;"
                                 f"call fill_work({rows}, {side == 'S'}, {kind == 'mixed'});")
        self.pair.save(state)
        self._states.add(state)

    def forget(self, state):
        self.pair.forget(state)
        self._states.discard(state)

    def trace(self, state, tables, whole=False):
        """The path of what a run over `tables` sends in a state; recorded the first time."""
        key = (state, tables, whole)
        if key not in self._traces:
            self.restore(state)
            self._traces[key] = self._record(f"{state}_{tables[0].name}{'_whole' * whole}", tables, whole)
        return self._traces[key]

    def run(self, tables, level=OFF, whole=False):
        return self.bed.measure([*self.bed.program("bench_run"), *self._host_words(tables, level, whole)])

    def replay(self, trace, *option):
        """`option`: --whole, when the trace was recorded so, or --append=FILE."""
        return self.bed.measure([*self.bed.program("bench_replay"), *option, windows_path(trace)])

    def entries(self, program, count, size):
        """Log entries without a run, each of `size` bytes: bench_append's by system calls alone, bench_log's by the
        component.
        """
        self.log().unlink(missing_ok=True)
        return self.bed.measure([*self.bed.program(program), windows_path(self.log()), str(count), str(size)])

    def log(self):
        return (self.bed.work / "run.log").resolve()

    def digest(self, table):
        """What both copies of a table hold, and the counts of the run."""
        return tuple(self.pair.psql(side, f"select count(*), sum(hashtextextended(t::text, 0)::numeric) from {table} t;"
                                          "select count_name, count_value from replication_counts order by 1;")
                     for side in "SD")

    def _record(self, name, tables, whole):
        trace = (self.bed.work / f"{name}.trace").resolve()
        trace.unlink(missing_ok=True)
        self.bed.measure([*self.bed.program("bench_record"), windows_path(trace),
                          *self._host_words(tables, OFF, whole)])
        return trace

    def _host_words(self, tables, level, whole):
        self.log().unlink(missing_ok=True)
        return [*(["--whole"] if whole else []), self.pair.dsn("S"), self.pair.prefix("S"), self.pair.dsn("D"),
                self.pair.prefix("D"), str(level), windows_path(self.log()), *(table.word() for table in tables)]


@functools.cache
def shared_work(bed):
    """One for all parts of the bench: states and traces are made once. Its databases are deleted at the end."""
    work = Work(bed)
    atexit.register(work.pair.forget)
    return work
