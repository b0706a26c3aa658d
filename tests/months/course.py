"""A month's course on the machines: what people type and decide, the runs, and the judgement of what these did."""

import conflict
import month as calendar
from between import Between, Find
from cases import SIDES
from ledger import BOX, CLOSE, CONFLICT, SHARED, SINCE, Copy, Ledger, Run
from machines import LAPTOPS, MACHINES, OFFICE
from month import BEGIN, LAST_RUN, LONG_AGO, change, deletion, insertion, key_of
from pair import LAPTOP
from values import DAY, SECOND, iso, seconds

# At least two, and more as long as decisions make people save records again.
QUIET_NIGHTS = 4


class Course:
    """One month. `seen` counts the reasons of losses and of differences at the end."""

    def __init__(self, machines, month, seen):
        self._machines = machines
        self._month = month
        self._seen = seen
        self._ledger = Ledger(LAST_RUN)
        self._copies = {machine: {} for machine in MACHINES}
        self._pending = []  # statements of people
        self._last = dict.fromkeys(LAPTOPS, LAST_RUN)
        self._waiting = {}  # laptop and row by the id of a conflict
        self._kept = set()  # laptops and rows for which a person has decided
        self._saved = 0  # records that a person has saved again
        self.runs = 0

    def go(self):
        self._begin()
        for night, runs in self._month.evenings():
            moments = self._month.moments(night, runs)
            for laptop, when in runs:
                while moments and moments[0] < when:
                    self._type(moments.pop(0))
                self._run(laptop, when)
                self._decide(laptop, when + calendar.MINUTE // 2, 0.5)
            for when in moments:
                self._type(when)
        self._quiet_nights()

    def _begin(self):
        self._machines.empty(self._month.tables, LAST_RUN)
        for name, rows in self._month.base().items():
            for number, (key, text) in enumerate(rows.items()):
                date = LONG_AGO + number * SECOND
                self._ledger.type(OFFICE, (name, key), text, date, date)
                for machine in MACHINES:
                    self._pending.append(insertion(machine, name, key, text, date))
                    self._copies[machine][name, key] = Copy(text, date)

    # What people do.

    def _type(self, when):
        machine, name, key, text = self._month.act(when, self._copies)
        self._write(machine, (name, key), text, when)

    def _write(self, machine, row, text, when, seen=None):
        """Somebody saves or deletes a row at a machine; `seen` are the versions in front of this person."""
        former = self._copies[machine].pop(row, None)
        if text is None:
            self._ledger.delete(machine, row, former.text, when)
            self._pending.append(deletion(machine, *row))
            return
        date = self._month.clock(machine, when)
        seen = {former.text} if seen is None and former else seen or ()
        self._ledger.type(machine, row, text, when, date, seen)
        self._pending.append((change if former else insertion)(machine, *row, text, date))
        self._copies[machine][row] = Copy(text, date)

    def _decide(self, laptop, when, share):
        """A person looks at the laptop's conflicts, row by row, and decides about this share of the rows."""
        rows = {}
        for number, (owner, row) in self._waiting.items():
            if owner == laptop:
                rows.setdefault(row, []).append(number)
        for row, numbers in sorted(rows.items()):
            if self._month.random.random() < share:
                self._settle(laptop, row, numbers, when, share == 1)

    def _settle(self, laptop, row, numbers, when, for_good):
        use = conflict.USE_SOURCE if for_good else self._month.random.choice(
            (conflict.USE_SOURCE, conflict.USE_SOURCE, conflict.USE_DESTINATION, conflict.WORK_LATER))
        settled = False
        # At the offices the component settles nothing: tried now and then.
        if self._month.place.site == LAPTOP or self._month.random.random() < 0.2:
            settled = self._resolve(laptop, numbers[-1], use)
        if settled and use == conflict.USE_DESTINATION:
            self._kept.add((laptop, row))
        if not settled and (for_good or self._month.random.random() < 0.5):
            self._settle_by_hand(laptop, row, when)
            settled = True
        if settled:
            self._dismiss(laptop, numbers)

    def _resolve(self, laptop, number, use):
        self._flush()
        decision = Between(self._machines, self._month, laptop)
        settled = decision.resolve(number, use)
        self._take(laptop, decision.after)
        return settled

    def _settle_by_hand(self, laptop, row, when):
        """The person saves the record again at the office, or deletes it at the laptop where the office lacks it."""
        office, own = self._copies[OFFICE].get(row), self._copies[laptop].get(row)
        self._saved += 1
        if office:
            self._write(OFFICE, row, self._month.word(OFFICE), when, {copy.text for copy in (office, own) if copy})
        elif own:
            self._write(laptop, row, None, when)

    def _dismiss(self, laptop, numbers):
        for number in numbers:
            self._waiting.pop(number)
            self._pending += [f"delete from {self._local(laptop)}.{table} where {column} = '{number}';"
                              for table, column in (("replication_conflict_data", "conflict_id"),
                                                    ("replication_conflict", "unid"))]

    # Nights.

    def _run(self, laptop, when, last=None):
        """A run of the component, as a host makes it that goes on after conflicts."""
        if last is None and self._month.looks_back:
            last = BEGIN - DAY
        if last is None and self._month.place is calendar.KEPT:
            last = self._last[laptop]
        self._prepare(laptop, when, last)
        between = Between(self._machines, self._month, laptop)
        if list(self._rows(between.before).values()) != [self._copies[OFFICE], self._copies[laptop]]:
            raise Find(f"somebody else has written at the office or {laptop}", str(between.before), str(self._copies))
        known = between.conflicts()
        recorded = between.run()
        self.runs += 1
        if between.end != self._month.clock(self._local(laptop), when):
            raise Find(f"the run with {laptop} at {iso(when)} ends its interval at {iso(between.end)}")
        self._judge(laptop, when, between, known)
        self._move_interval(laptop, between.end, recorded)

    def _judge(self, laptop, when, between, known):
        former, present = self._rows(between.before), self._rows(between.after)
        waiting = {row for owner, row in self._waiting.values() if owner == laptop}
        for number, record in between.conflicts().items():
            if number not in known:
                row = (record["table"], record["guid"] or str(record["number"]))
                self._waiting[number] = (laptop, row)
                self._ledger.tell(laptop, row, [present[side].get(row) for side in SIDES], record["kind"], when)
        run = Run(laptop, between.site, when, between.last, between.end, former, present, between.reasons,
                  between.boxes, self._month.place is calendar.SHARED, waiting)
        for loss, reason in self._ledger.judge(run):
            if reason is None or self._month.is_safe() and reason not in (CONFLICT, BOX):
                raise Find(f"lost without a reason at the {loss.side}, in a run with {laptop}: {loss} ({reason})",
                           *self._story(loss.row))
            self._seen["lost", reason] += 1
        self._take(laptop, between.after)

    def _story(self, row):
        return [f"{iso(when)} {text}" for when, text in self._ledger.history[row]]

    def _move_interval(self, laptop, end, recorded):
        """The host of a laptop moves the interval itself."""
        self._last[laptop] = recorded
        if self._month.place.site == LAPTOP:
            self._last[laptop] = seconds(end) * SECOND
            self._pending.append(f"update {laptop}.replication_control set last_timestamp = "
                                 f"'{iso(self._last[laptop])}' where unique_key = {LAPTOP};")

    def _quiet_nights(self):
        """Nobody types, all conflicts are decided; then each laptop has the office's rows but for those that differ for
        a reason, and these too once a person has done what docs/administration.md says."""
        start = BEGIN + self._month.nights * DAY
        for night in range(QUIET_NIGHTS):
            saved = self._saved
            self._round(start + night * DAY)
            if night > 0 and saved == self._saved:
                break
        for laptop, row, office, own in self._different():
            reason = self._reason(laptop, row, office, own)
            if reason is None:
                raise Find(f"{laptop} differs in {row}: {office} at the office, {own}", *self._story(row))
            self._seen["differ", reason] += 1
        if self._different():
            self._put_right(start + QUIET_NIGHTS * DAY)

    def _round(self, when, last=None):
        for number, laptop in enumerate(LAPTOPS):
            moment = when + number * calendar.HOUR
            self._run(laptop, moment, last)
            self._decide(laptop, moment + calendar.MINUTE, 1)

    def _reason(self, laptop, row, office, own):
        deletes, = (plan["deletes"] for plan in self._month.plans if plan["name"] == row[0])
        if (laptop, row) in self._kept:
            return "decided for the laptop's row"
        if deletes == calendar.rules.SKIP_DELETES and not office:
            return "deletes are skipped"
        reason = self._ledger.difference(laptop, row, office, own, self._month.is_two_way)
        if reason == SINCE and self._month.place is calendar.SHARED:
            return SHARED
        return None if self._month.is_safe() and reason != CLOSE or reason == SINCE else reason

    def _put_right(self, when):
        """One-way: a person saves at the office what differs, or deletes at the laptop what the office lacks. Two-way,
        or with one interval for all laptops: it is set back."""
        is_two_way, is_shared = self._month.is_two_way, self._month.place is calendar.SHARED
        if not is_two_way:
            for laptop, row, *_ in self._different():
                self._settle_by_hand(laptop, row, when)
        last = BEGIN - DAY if is_two_way else when - calendar.HOUR if is_shared else None
        for number in range(2 if is_two_way or is_shared else 1):
            self._round(when + calendar.HOUR + number * DAY, last)
        for laptop, row, office, own in self._different():
            if not (is_two_way and office and own and seconds(office.date) == seconds(own.date)):
                raise Find(f"{laptop} still differs in {row}: {office} at the office, {own}", *self._story(row))

    def _different(self):
        office = self._copies[OFFICE]
        return [(laptop, row, office.get(row), self._copies[laptop].get(row)) for laptop in LAPTOPS
                for row in sorted(office.keys() | self._copies[laptop].keys())
                if not (row in office and row in self._copies[laptop]
                        and office[row].text == self._copies[laptop][row].text)]

    # The machines.

    def _local(self, laptop):
        return OFFICE if self._month.place.role == "SOURCE" else laptop

    def _prepare(self, laptop, when, last):
        local, moved = self._local(laptop), f", last_timestamp = '{iso(last)}'" if last is not None else ""
        self._pending.append(f"update {local}.clock set now = '{iso(self._month.clock(local, when))}';"
                             f"update {local}.replication_control set ready_f = 1, error_f = 0, error_message = null"
                             f"{moved} where unique_key = {self._month.place.site};")
        self._flush()

    def _flush(self):
        if self._pending:
            self._machines.sql("".join(self._pending))
        self._pending = []

    def _rows(self, state):
        return {side: {(name, key_of(name, row)): Copy(row[calendar.TEXTS[name][0]], row["mod_date"])
                       for name in self._month.tables for row in state[side][name]} for side in SIDES}

    def _take(self, laptop, state):
        self._copies[OFFICE], self._copies[laptop] = self._rows(state).values()
