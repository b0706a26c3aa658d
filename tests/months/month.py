"""A random month of an office and three laptops: what is typed in where, which nights are missed, what is decided."""

import dataclasses
import uuid

import rules
from machines import LAPTOPS, MACHINES, OFFICE
from pair import LAPTOP, OFFICES
from side import literal
from tables import TABLES
from values import DAY, INTEGER, SECOND, date_of, iso, text_of

BEGIN = date_of("2025-03-03 00:00:00")
LAST_RUN = BEGIN - 4 * 3600 * SECOND
LONG_AGO = date_of("2025-01-01 08:00:00")
MINUTE, HOUR = 60 * SECOND, 3600 * SECOND
# The column with a row's text, and other columns that a row needs.
TEXTS = {"users": ("user_name", {}), "procs": ("proc_name", {}), "shortcut": ("item_name", {}),
         "chart_option": ("option_name", {}), "combo_values": ("combo_value", {"combo_name": "c"}),
         "config": ("config_name", {"category": "c", "title": "t"}), "recall_plan": ("plan_name", {})}


def plan(name, method, key_field="", deletes=rules.UNKNOWN):
    return {"method": method, "name": name, "dependent": "", "key_field": key_field, "deletes": deletes}


ONE_WAY_PLANS = (plan("shortcut", rules.ONE_WAY), plan("users", rules.ONE_WAY),
                 plan("chart_option", rules.ONE_WAY_DELETES), plan("procs", rules.ONE_WAY_DELETES),
                 plan("recall_plan", rules.DELETE_ALL),
                 plan("config", rules.BY_KEY, "unid", rules.DELETE_WITH_UPDATES),
                 plan("combo_values", rules.BY_KEY, "unid", rules.SKIP_DELETES))
TWO_WAY_PLANS = (plan("shortcut", rules.TWO_WAY), plan("users", rules.TWO_WAY),
                 plan("config", rules.TWO_WAY_NO_DELETES))


@dataclasses.dataclass(frozen=True)
class Place:
    """Where the component runs: its site, the role of its own database, and whose interval it uses."""
    name: str
    site: int
    role: str


AT_LAPTOPS = Place("each laptop runs the component", LAPTOP, "DESTINATION")
FOR_EACH = Place("the office runs it, with each laptop's database as the local one", OFFICES, "DESTINATION")
KEPT = Place("the office runs it, and puts in each laptop's last_timestamp", OFFICES, "SOURCE")
SHARED = Place("the office runs it, with one last_timestamp for all laptops", OFFICES, "SOURCE")
# The component connects anew for another place: so the following months are in one.
IN_ONE_PLACE = 10
PLACES = (AT_LAPTOPS, FOR_EACH, AT_LAPTOPS, KEPT, AT_LAPTOPS, SHARED, AT_LAPTOPS, FOR_EACH, AT_LAPTOPS, KEPT)


class Month:
    """What a month is like, and what happens in it as chance has it. Times are those of an unerring clock."""

    def __init__(self, random, number):
        self.random = random
        self.place = PLACES[number // IN_ONE_PLACE % len(PLACES)]
        self.is_two_way = self.place is AT_LAPTOPS and random.random() < 0.5
        # Two-way: the interval begins before everything that a laptop may bring late.
        self.looks_back = self.is_two_way and random.random() < 0.5
        self.only_office_types = not self.is_two_way and random.random() < 0.35
        # Somebody types in the seconds around the runs.
        self.is_hurried = random.random() < 0.25
        self.is_missed = random.choice((0, 0.3, 0.6))
        self.ahead = {machine: random.randrange(-5000, 5000) if machine != OFFICE else 0 for machine in MACHINES}
        self.plans = random.sample(TWO_WAY_PLANS if self.is_two_way else ONE_WAY_PLANS, 2)
        self.tables = [plan["name"] for plan in self.plans]
        self.nights = random.choice((2, 3, 4))
        self._count = 0
        self._former = 0, OFFICE, None  # when somebody wrote, at which machine, which row

    def __str__(self):
        words = [self.place.name, "two-way" if self.is_two_way else "one-way"]
        words += [word for word, is_so in (("looks back", self.looks_back), ("only the office types",
                  self.only_office_types), ("types around the runs", self.is_hurried)) if is_so]
        plans = [f"{plan['name']} by method {plan['method']}" for plan in self.plans]
        return "; ".join([*words, *plans, f"clocks ahead by ms: {self.ahead}"])

    def is_safe(self):
        """Whether nothing may be lost without a conflict or a decision, as docs/administration.md promises: a one-way
        table that only the office writes, at a distance from the runs, where each laptop has an interval of its own; or
        a two-way table whose interval looks back far enough."""
        return self.looks_back or (self.only_office_types and not self.is_hurried and self.place is not SHARED)

    def clock(self, machine, when):
        """The machine's clock. No date ends in half a second, which may be rounded either way."""
        date = when + self.ahead[machine]
        return date + 1 if date % SECOND == SECOND // 2 else date

    def evenings(self):
        """The runs of each night: laptop and time."""
        for night in range(self.nights):
            when = BEGIN + night * DAY + 20 * HOUR
            runs = []
            for laptop in self.random.sample(LAPTOPS, len(LAPTOPS)):
                if self.random.random() >= self.is_missed:
                    when += self.random.randrange(MINUTE, 20 * MINUTE)
                    runs.append((laptop, when))
            yield night, runs

    def moments(self, night, runs):
        """When somebody types on this day, and around its runs."""
        times = [BEGIN + night * DAY + self.random.randrange(8 * HOUR, 18 * HOUR)
                 for _ in range(self.random.choice((2, 3, 5)))]
        if self.is_hurried:
            times += [when + side * self.random.randrange(10 * self.random.choice((SECOND, SECOND // 10)))
                      for _, when in runs for side in (-1, 1)]
        return sorted(times)

    def base(self):
        """The rows that all machines have at the beginning."""
        rows = {name: {} for name in self.tables}
        for name in self.tables * 3:
            rows[name][self._new_key(name, rows[name])] = self.word("base")
        return rows

    def word(self, machine):
        """A text that no other version has."""
        self._count += 1
        return f"{machine} {self._count}"

    def act(self, when, copies):
        """What somebody does: machine, table, key and the new text; None to delete. `copies` by machine and row. In a
        hurry it is often the same row once more."""
        moment, machine, row = self._former
        if when - moment < 4 * SECOND and row in copies[machine] and self.random.random() < 0.7:
            return machine, *row, self.word(machine)
        machine, name, key, text = self._act(copies)
        self._former = when, machine, (name, key)
        return machine, name, key, text

    def _act(self, copies):
        machine = OFFICE if self.only_office_types else self.random.choice(MACHINES)
        name = self.random.choice(self.tables)
        keys = sorted(key for table, key in copies[machine] if table == name)
        choice = self.random.random()
        if not keys or choice < 0.25:
            return machine, name, self._new_key(name, keys), self.word(machine)
        return machine, name, self.random.choice(keys), None if choice > 0.85 else self.word(machine)

    def _new_key(self, name, keys):
        """A number is the machine's own highest and one."""
        if TABLES[name].by_name["unid"].type is INTEGER:
            return str(max(map(int, keys), default=0) + 1)
        return "{" + str(uuid.UUID(int=self.random.getrandbits(128))).upper() + "}"


def insertion(machine, name, key, text, date):
    column, others = TEXTS[name]
    row = {"unid": key, column: text, **others, "mod_date": iso(date)}
    return (f"insert into {machine}.{name} ({', '.join(row)}) values ("
            + ", ".join(map(literal, row.values())) + ");")


def change(machine, name, key, text, date):
    return (f"update {machine}.{name} set {TEXTS[name][0]} = {literal(text)}, mod_date = '{iso(date)}'"
            f" where unid = '{key}';")


def deletion(machine, name, key):
    return f"delete from {machine}.{name} where unid = '{key}';"


def key_of(name, row):
    return text_of(TABLES[name].by_name["unid"].type, row["unid"])
