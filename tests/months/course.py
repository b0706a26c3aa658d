"""A month's course on the machines: each run of the component is compared with the model, and its losses are judged."""

import copy

import conflict
import month as calendar
from cases import Case
from check import closest
from ledger import CLOSE, CONFLICT, SINCE, Copy, Ledger, Run
from machines import LAPTOPS, MACHINES, OFFICE
from month import BEGIN, LAST_RUN, LONG_AGO, change, deletion, insertion, key_of
from outcome import Actual, Expected, conflicts, conflicts_by_id, date_of_json, differences, ordered
from pair import LAPTOP, Pair
from server import Database, Failure, host_number, raised
from tables import TABLES
from values import DAY, SECOND, iso, seconds

# At least two, and more as long as decisions make people save records again.
QUIET_NIGHTS = 4
SIDES = ("source", "destination")
LOCAL = {"SOURCE": "source", "DESTINATION": "destination"}


class Find(Exception):
    """Something that must not be; its arguments are lines."""


class Course:
    """One month. `seen` counts the reasons of losses and of differences at the end."""

    def __init__(self, machines, month, seen):
        self._machines = machines
        self._month = month
        self._seen = seen
        self._ledger = Ledger(LAST_RUN)
        self._copies = {machine: {} for machine in MACHINES}
        self._last = dict.fromkeys(LAPTOPS, LAST_RUN)
        self._waiting = {}  # laptop and row by the id of a conflict
        self._saved = 0  # records that a person has saved again
        self._pending = []
        self._settled_by_laptop = set()
        self.runs = 0

    def go(self):
        self._begin()
        for night, runs in self._month.evenings():
            moments = self._month.moments(night, runs)
            for laptop, when in runs:
                while moments and moments[0] < when:
                    self._type(moments.pop(0))
                self._night(laptop, when)
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
        machine, name, key, text = self._month.act(self._copies)
        self._write(machine, (name, key), text, when)

    def _write(self, machine, row, text, when, seen=None):
        """Somebody saves or deletes a row at a machine; `seen` are the versions in front of this person."""
        name, key = row
        former = self._copies[machine].pop(row, None)
        if text is None:
            self._ledger.delete(machine, row, former.text, when)
            self._pending.append(deletion(machine, name, key))
            return
        date = self._month.clock(machine, when)
        seen = {former.text} if seen is None and former else seen or ()
        self._ledger.type(machine, row, text, when, date, seen)
        self._pending.append((change if former else insertion)(machine, name, key, text, date))
        self._copies[machine][row] = Copy(text, date)

    def _decide(self, laptop, when, share):
        """A person looks at the laptop's conflicts, row by row."""
        rows = {}
        for number, (owner, row) in self._waiting.items():
            if owner == laptop:
                rows.setdefault(row, []).append(number)
        for row, numbers in sorted(rows.items()):
            if self._month.random.random() < share:
                self._settle(laptop, row, numbers, when, share == 1)

    def _settle(self, laptop, row, numbers, when, for_good):
        site = self._month.place.site
        use = conflict.USE_SOURCE if for_good else self._month.random.choice((1, 1, 2, 3))
        if site == LAPTOP or self._month.random.random() < 0.2:
            settled = self._resolve(laptop, row, numbers[-1], use)
        else:
            settled = False
        if use == conflict.USE_DESTINATION and settled:
            self._settled_by_laptop.add((laptop, row))
        if not settled and (for_good or self._month.random.random() < 0.5):
            self._settle_by_hand(laptop, row, when)
            settled = True
        if settled:
            self._dismiss(laptop, numbers)

    def _dismiss(self, laptop, numbers):
        machine = OFFICE if self._month.place.role == "SOURCE" else laptop
        for number in numbers:
            self._waiting.pop(number)
            self._pending.append(f"delete from {machine}.replication_conflict_data where conflict_id = '{number}';"
                                 f"delete from {machine}.replication_conflict where unid = '{number}';")

    def _settle_by_hand(self, laptop, row, when):
        """The person saves the record again at the office, or deletes it at the laptop where the office lacks it."""
        office, own = self._copies[OFFICE].get(row), self._copies[laptop].get(row)
        self._saved += 1
        if office:
            seen = {copy.text for copy in (office, own) if copy}
            self._write(OFFICE, row, self._month.word(OFFICE), when, seen)
        elif own:
            self._write(laptop, row, None, when)

    def _resolve(self, laptop, row, number, use):
        """Lets the component settle a conflict; whether it did."""
        self._flush(laptop, None)
        case, actual = self._pairing(laptop)
        before = actual.state
        local = LOCAL[case.role]
        records = conflicts_by_id(before[local])
        pair = self._model(case, before, list(records.values()))
        wanted = self._answer(pair, records[number], use)
        answer = self._host(laptop).ask("resolve", number, use)
        if answer[0][0] == "error":
            given = int(answer[0][1])
        else:
            given = (answer[0][1] == "1", answer[0][2])
        after = self._machines.pair(laptop).read(case.tables(), case.site)
        self._compare(f"the decision {use} about {row}",
                      {"answer": wanted, "conflicts": sorted(pair.local.conflicts, key=repr),
                       **{side: {name: ordered(getattr(pair, side).tables[name]) for name in case.tables()}
                          for side in SIDES}},
                      {"answer": given, "conflicts": conflicts(after[local]),
                       **{side: {name: ordered(after[side][name]) for name in case.tables()} for side in SIDES}})
        self._take(laptop, after)
        return number not in conflicts_by_id(after[local])

    @staticmethod
    def _answer(pair, record, use):
        try:
            return conflict.resolve(pair, record, use)
        except Failure as failure:
            return host_number(raised(failure.number))

    # Nights.

    def _night(self, laptop, when, last=None):
        """A run of the component, as a host makes it that goes on after conflicts."""
        place = self._month.place
        if last is None and self._month.looks_back:
            last = BEGIN - DAY
        if last is None and place is calendar.KEPT:
            last = self._last[laptop]
        self._flush(laptop, when, last)
        case, actual = self._pairing(laptop)
        before = actual.state
        local = LOCAL[case.role]
        case.last = date_of_json(before[local]["control"]["last_timestamp"])
        known = conflicts_by_id(before[local])
        memory = Database(None, {})
        memory.conflicts = list(known.values())
        names = self._machines.pair(laptop).names
        expected = Expected(case, names, {side: before[side]["key"] for side in SIDES}, memory)
        expected.create()
        actual.create()
        expected.begin()
        outcome = actual.run()
        next_date = outcome.pop("next")
        found, expected = closest(expected, outcome, before, next_date, outcome["control"][2])
        self.runs += 1
        if found or outcome["error"] or next_date != self._month.clock(self._local(laptop), when):
            raise Find(f"the run with {laptop} at {iso(when)}, interval from {iso(case.last)} to {iso(next_date)}:",
                       *found, str(outcome["error"]))
        self._judge(laptop, when, case, before, actual.state, expected.reasons, outcome["boxes"], known,
                    next_date)
        self._end(laptop, next_date, date_of_json(actual.state[local]["control"]["last_timestamp"]))

    def _judge(self, laptop, when, case, before, after, reasons, boxes, known, end):
        former = self._rows(before)
        if [former["source"], former["destination"]] != [self._copies[OFFICE], self._copies[laptop]]:
            raise Find("somebody else has written", str(former), str(self._copies))
        present = self._rows(after)
        waiting = {row for number, (owner, row) in self._waiting.items() if owner == laptop}
        for number, record in conflicts_by_id(after[LOCAL[case.role]]).items():
            if number not in known:
                name = record["table"]
                row = (name, record["guid"] or str(record["number"]))
                self._waiting[number] = (laptop, row)
                self._ledger.tell(laptop, row, [present[side].get(row) for side in SIDES], record["kind"], when)
        run = Run(laptop, case.site, when, case.last, end, former, present, reasons, boxes,
                  self._month.place is calendar.SHARED, waiting)
        for loss, reason in self._ledger.judge(run):
            self._count(laptop, loss, reason)
        self._take(laptop, after)

    def _count(self, laptop, loss, reason):
        allowed = (CONFLICT,) if self._is_strict() else None
        if reason is None or allowed and reason not in allowed:
            raise Find(f"lost without a reason at the {loss.side} of {laptop}: {loss} ({reason})",
                       *self._story(loss.row))
        self._seen["lost", reason] += 1

    def _is_strict(self):
        """Whether nothing may be lost: only the office types, at a distance from the runs, with intervals apart."""
        month = self._month
        return month.only_office_types and not month.is_hurried and month.place is not calendar.SHARED

    def _story(self, row):
        return [f"{iso(when)} {text}" for when, text in self._ledger.history[row]]

    def _end(self, laptop, next_date, recorded):
        """The host of a laptop moves the interval itself."""
        self._last[laptop] = recorded
        if self._month.place.site == LAPTOP:
            self._last[laptop] = seconds(next_date) * SECOND
            self._pending.append(f"update {laptop}.replication_control set last_timestamp = "
                                 f"'{iso(self._last[laptop])}' where unique_key = {LAPTOP};")

    def _quiet_nights(self):
        """Nobody types, all conflicts are decided; then each laptop has the office's rows but for those that differ for
        a reason, and these too once a person has done what the documents say."""
        start = BEGIN + self._month.nights * DAY
        for night in range(QUIET_NIGHTS):
            saved = self._saved
            self._round(start + night * DAY)
            if night > 0 and saved == self._saved:
                break
        for laptop in LAPTOPS:
            for row, office, own in self._different(laptop):
                reason = self._reason(laptop, row, office, own)
                if reason is None:
                    raise Find(f"{laptop} differs in {row}: {office} at the office, {own}", *self._story(row))
                self._seen["differ", reason] += 1
        self._put_right(start + QUIET_NIGHTS * DAY)

    def _round(self, when, last=None):
        for number, laptop in enumerate(LAPTOPS):
            moment = when + number * calendar.HOUR
            self._night(laptop, moment, last)
            self._decide(laptop, moment + calendar.MINUTE, 1)

    def _reason(self, laptop, row, office, own):
        method, = (plan for plan in self._month.plans if plan["name"] == row[0])
        if (laptop, row) in self._settled_by_laptop:
            return "decided for the laptop's row"
        if method["deletes"] == calendar.rules.SKIP_DELETES and not office:
            return "deletes are skipped"
        reason = self._ledger.difference(laptop, row, office, own, self._month.is_two_way)
        return None if self._is_strict() or reason == SINCE and self._month.place is not calendar.SHARED or self._month.looks_back and reason != CLOSE else reason

    def _put_right(self, when):
        """One-way: a person saves at the office what differs, or deletes at the laptop what the office lacks. Two-way:
        the interval is set back."""
        last = BEGIN - DAY if self._month.is_two_way else None
        for laptop in LAPTOPS if not self._month.is_two_way else ():
            for row, office, own in self._different(laptop):
                self._settle_by_hand(laptop, row, when)
        if self._month.place is calendar.SHARED:
            last = when - calendar.HOUR
        rounds = 2 if self._month.is_two_way or self._month.place is calendar.SHARED else 1
        for number in range(rounds):
            self._round(when + calendar.HOUR + number * DAY, last)
        for laptop in LAPTOPS:
            for row, office, own in self._different(laptop):
                if not (self._month.is_two_way and office and own and seconds(office.date) == seconds(own.date)):
                    raise Find(f"{laptop} still differs in {row}: {office} at the office, {own}", *self._story(row))

    def _different(self, laptop):
        office, own = self._copies[OFFICE], self._copies[laptop]
        return [(row, office.get(row), own.get(row)) for row in sorted(office.keys() | own.keys())
                if not (row in office and row in own and office[row].text == own[row].text)]

    # The machines.

    def _local(self, laptop):
        return OFFICE if self._month.place.role == "SOURCE" else laptop

    def _host(self, laptop):
        return self._machines.host(laptop, self._month.place.site, self._month.place.role)

    def _pairing(self, laptop):
        place = self._month.place
        case = Case(site=place.site, role=place.role, run=True, version="laptop", last=None, next=None, again=None,
                    plans=self._month.plans, state={})
        return case, Actual(case, self._machines.pair(laptop), self._host(laptop))

    @staticmethod
    def _model(case, state, records):
        databases = {side: Database(None, {name: copy.deepcopy(state[side][name]) for name in case.tables()})
                     for side in SIDES}
        pair = Pair(*databases.values(), case.site, databases[LOCAL[case.role]])
        pair.local.conflicts = records
        return pair

    def _flush(self, laptop, when, last=None):
        """Writes what people have done, and prepares a run."""
        if when is not None:
            local, site = self._local(laptop), self._month.place.site
            moved = f", last_timestamp = '{iso(last)}'" if last is not None else ""
            self._pending.append(f"update {local}.clock set now = '{iso(self._month.clock(local, when))}';"
                                 f"update {local}.replication_control set ready_f = 1, error_f = 0, error_message = "
                                 f"null{moved} where unique_key = {site};")
        if self._pending:
            self._machines.sql("".join(self._pending))
        self._pending = []

    def _rows(self, state):
        return {side: {(name, key_of(name, row)): Copy(row[calendar.TEXTS[name][0]], row["mod_date"])
                       for name in self._month.tables for row in state[side][name]} for side in SIDES}

    def _take(self, laptop, state):
        rows = self._rows(state)
        self._copies[OFFICE], self._copies[laptop] = rows["source"], rows["destination"]

    @staticmethod
    def _compare(what, expected, actual):
        if found := differences(expected, actual):
            raise Find(f"{what}:", *found)
