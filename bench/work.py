"""The work of the benches: tables of 20 columns in states of known differences, and the clients that bring the
destination in line with the source.
"""

import dataclasses
import pathlib

from bed import windows_path

LAST_RUN = "6/1/2026"  # as fill_work in work.sql has it
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


class WrongResult(RuntimeError):
    """A client that was quick but left the databases as they should not be."""


class Work:
    """The databases and the clients. A state is named by what differs: `mixed_N` has N rows with 20 % changed, 5 % new
    and 5 % deleted, `changed_N` the changed ones only.
    """

    def __init__(self, bed):
        self.bed = bed
        self.pair = bed.pair("bench", SQL.read_text(encoding="utf-8"))

    def make_state(self, state):
        kind, rows = state.split("_")
        for side in "SD":
            self.pair.psql(side, "truncate work_guid, work_number;"
                                 f"call fill_work({rows}, {side == 'S'}, {kind == 'mixed'});")
        self.pair.save(state)

    def run(self, tables, level=OFF, whole=False):
        return self.bed.measure([*self.bed.program("bench_run"), *self._host_words(tables, level, whole)])

    def record(self, tables, whole=False):
        """A run, written down; the trace's path."""
        trace = self.bed.work / f"{'whole' if whole else 'run'}_{tables[0].name}.trace"
        trace.unlink(missing_ok=True)
        self.bed.measure([*self.bed.program("bench_record"), windows_path(trace.resolve()),
                          *self._host_words(tables, OFF, whole)])
        return trace

    def replay(self, trace, whole=False):
        words = ["--whole"] if whole else []
        return self.bed.measure([*self.bed.program("bench_replay"), *words, windows_path(trace.resolve())])

    def script(self, table):
        """The rules of replication in VBScript."""
        return self.bed.measure(self.bed.script(
            pathlib.Path(__file__).with_name("one_way.vbs").resolve(), self.pair.connection("S"),
            self.pair.connection("D"), self.pair.prefix("S"), self.pair.prefix("D"), table.name, table.key, LAST_RUN))

    def log(self):
        return (self.bed.work / "run.log").resolve()

    def digest(self, table):
        """What both copies of a table hold, and the counts of the run."""
        return tuple(self.pair.psql(side, f"select count(*), sum(hashtextextended(t::text, 0)::numeric) from {table} t;"
                                          "select count_name, count_value from replication_counts order by 1;")
                     for side in "SD")

    def _host_words(self, tables, level, whole):
        self.log().unlink(missing_ok=True)
        return [*(["--whole"] if whole else []), self.pair.dsn("S"), self.pair.prefix("S"), self.pair.dsn("D"),
                self.pair.prefix("D"), str(level), windows_path(self.log()), *(table.word() for table in tables)]
