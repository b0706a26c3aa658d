"""Every version of every row that anybody typed, and the judgement of the copies that runs wrote over or deleted.

A version is lost where a run writes over it with one that was not typed on top of it, or deletes it though nobody
deleted it who saw it. Each loss has to have one of the reasons below; docs/administration.md ("Several laptops") names
them to people.
"""

import collections
import typing

from machines import OFFICE
from pair import FULL_COPY, LAPTOP, NEWER_WINS, SOURCE_NEWER
from values import SECOND, seconds

CONFLICT = "a conflict tells of it"
COPIED_WHOLE = "a full copy takes the office's rows"
BOX = "two-way: the newer row wins, and a message box tells of it"
LEFT = "a laptop's own change, which a run had left alone"
WRONG_DATE = "dated before the last run, though typed after it"
SHARED = "dated before the last run with another laptop, which moved the office's only interval"
CLOSE = "dated within two seconds of the other side's row, so that a run had left both"
SINCE = "typed after the laptop's last run"
LATE = "brought to the office under a date before the last run"


class Version(typing.NamedTuple):
    """What a row said after somebody had typed it, and all earlier versions that this person saw under it."""
    machine: str
    typed: int
    date: int
    seen: frozenset


class Copy(typing.NamedTuple):
    """A version as a machine has it."""
    text: str
    date: int


class Loss(typing.NamedTuple):
    """A copy that a run wrote over or deleted: `former` became `present`, or nothing."""
    side: str
    row: tuple
    former: Copy
    present: Copy


class Run(typing.NamedTuple):
    """What a run did: copies by row for each side, before and after it."""
    laptop: str
    site: int
    begin: int
    last: int
    end: int
    before: dict
    after: dict
    reasons: dict
    boxes: list
    shared: bool
    waiting: set


class Ledger:
    """A month's versions. Rows are (table, text of the key). All laptops ran last at `last_run`."""

    def __init__(self, last_run):
        self.versions = {}
        self.history = collections.defaultdict(list)
        self._deleted = collections.defaultdict(set)  # versions under a deletion, by machine and row
        self._told = set()  # laptop, row, text of versions in a conflict
        self._met = {}  # laptop, side, row, text: seconds between it and the other side's row at a run that left both
        self._arrived = {}  # machine, row, text: when it came
        self._winners = collections.defaultdict(set)  # versions to which a row's version was lost
        self._hidden = {}  # laptop, row, text: why its date is before a run that it was typed after
        # A laptop's runs: when, and the end of the interval as it is recorded.
        self._runs = collections.defaultdict(lambda: [(last_run, last_run)])

    def type(self, machine, row, text, when, date, seen=()):
        under = frozenset(seen).union(*(self.versions[version].seen for version in seen))
        self.versions[text] = Version(machine, when, date, under)
        self._arrived[machine, row, text] = when
        self.history[row].append((when, f"{machine} has typed {text}, dated {date}, over {sorted(seen)}"))

    def delete(self, machine, row, text, when):
        self._deleted[machine, row] |= {text} | self.versions[text].seen
        self.history[row].append((when, f"{machine} has deleted {text}"))

    def tell(self, laptop, row, copies, kind, when):
        self._told |= {(laptop, row, copy.text) for copy in copies if copy}
        self.history[row].append((when, f"a conflict of kind {kind} on {laptop}"))

    def judge(self, run):
        """The losses of a run with their reasons: None where there is none."""
        self._note_dates(run)
        losses = [loss for side in ("source", "destination") for loss in self._losses(run, side)]
        judged = [(loss, self._reason(run, loss)) for loss in losses]
        for loss in losses:
            for version in self.versions[loss.former.text].seen | {loss.former.text} if loss.present else ():
                self._winners[loss.row, version].add(loss.present.text)
        self._note_meetings(run)
        self._runs[run.laptop].append((run.begin, seconds(run.end) * SECOND))
        return judged

    def _losses(self, run, side):
        other = "destination" if side == "source" else "source"
        machine, peer = (OFFICE, run.laptop) if side == "source" else (run.laptop, OFFICE)
        for row, former in run.before[side].items():
            present = run.after[side].get(row)
            if present and present.text == former.text:
                continue
            self.history[row].append((run.begin, f"the run with {run.laptop} makes {former.text} at {machine} "
                                                 f"{present.text if present else 'nothing'}"))
            if former.text in self._deleted[peer, row] and (present or row not in run.after[other]):
                self._deleted[machine, row] |= self._deleted[peer, row]
            elif not present or not self._follows(row, present.text, former.text):
                yield Loss(side, row, former, present)

    def _follows(self, row, present, former):
        """Whether a version was typed by somebody who saw another, or is one to which that was lost elsewhere, if need
        be by way of others."""
        seen = self.versions[present].seen | {present}
        losers, lost = set(), {former}
        while lost and not lost & seen:
            losers |= lost
            lost = set().union(*(self._winners[row, version] for version in lost)) - losers
        return bool(lost)

    def _reason(self, run, loss):
        """By the rule that the model names, and what the ledger knows of the version."""
        table, key = loss.row
        rule = run.reasons.get((loss.side, table, key), run.reasons.get((loss.side, table, None)))
        if rule is None:
            return None
        if rule == FULL_COPY:
            return COPIED_WHOLE
        mark = (run.laptop, loss.row, loss.former.text)
        if mark in self._told or loss.row in run.waiting:
            return CONFLICT
        apart = self._met.get((run.laptop, loss.side, loss.row, loss.former.text))
        if rule == NEWER_WINS:
            return self._reason_of_newer(run, loss, self._hidden.get(mark), apart)
        if mark in self._hidden:
            return self._hidden[mark]
        if apart is not None and apart <= 2:
            return CLOSE
        if apart is not None and rule == SOURCE_NEWER and run.site == LAPTOP:
            return LEFT
        return None

    def _reason_of_newer(self, run, loss, hidden, apart):
        """`apart` are the seconds between it and the other side's row at an earlier run that left both."""
        if min(loss.former.date, loss.present.date) > run.last and run.boxes:
            return BOX
        if hidden:
            return hidden
        machine, former = OFFICE if loss.side == "source" else run.laptop, self.versions[loss.former.text]
        was_brought = former.machine != machine or self._arrived[machine, loss.row, loss.former.text] > former.typed
        if was_brought and self._came_late(run.laptop, machine, loss.row, loss.former):
            return LATE
        if apart is None:
            return None
        return CLOSE if apart < 1 else LATE

    def _came_late(self, laptop, machine, row, copy):
        """Whether a run with this laptop lies between the copy's date and its arrival here."""
        return any(copy.date <= end and begin <= self._arrived[machine, row, copy.text]
                   for begin, end in self._runs[laptop])

    def _note_dates(self, run):
        """Versions that were typed after the laptop's last run and are dated before its interval."""
        reason = SHARED if run.shared else WRONG_DATE
        for side, machine in (("source", OFFICE), ("destination", run.laptop)):
            for row, copy in run.before[side].items():
                version = self.versions[copy.text]
                if version.machine == machine and copy.date <= run.last \
                        and version.typed > self._runs[run.laptop][-1][0]:
                    self._hidden.setdefault((run.laptop, row, copy.text), reason)

    def _note_meetings(self, run):
        for side, other in (("source", "destination"), ("destination", "source")):
            machine = OFFICE if side == "source" else run.laptop
            for row, copy in run.after[side].items():
                former = run.before[side].get(row)
                if not former or former.text != copy.text:
                    self._arrived[machine, row, copy.text] = run.begin
                peer = run.after[other].get(row)
                if not peer or peer.text != copy.text:
                    apart = abs(seconds(copy.date) - seconds(peer.date)) if peer else 3
                    self._met.setdefault((run.laptop, side, row, copy.text), apart)

    def difference(self, laptop, row, office, own, is_two_way):
        """The reason for which the office and a laptop differ in a row after quiet nights."""
        machines = {self.versions[copy.text].machine for copy in (office, own) if copy}
        hidden = [self._hidden.get((laptop, row, copy.text)) for copy in (office, own) if copy]
        apart = abs(seconds(office.date) - seconds(own.date)) if office and own else 3
        if apart < 1 or apart <= 2 and not is_two_way:
            return CLOSE
        if any(hidden):
            return next(filter(None, hidden))
        if office and self.versions[office.text].typed > self._runs[laptop][-1][0]:
            return SINCE
        if is_two_way:
            return LATE if office and own and self._came_late(laptop, OFFICE, row, office) else None
        if laptop in machines or self._deleted[laptop, row]:
            return LEFT
        return None
