"""Cases: their content, how a random one is made, and their form in a file.

A case is one base table perturbed twice, once for each side, so that the sides overlap as real ones do.
"""

import copy
import dataclasses
import decimal
import itertools
import json
import re
import uuid

import rules
from dialect import DIALECT
from server import collide
from tables import TABLES, parsed, plain
from values import (BIGINT, BIT, DATE, DAY, DOUBLE, GUID, INTEGER, MONEY, REAL, SECOND, SMALLINT, TEXT, ZERO_DATE,
                    date_of)

SIDES = ("source", "destination")
# The tables on which a method is tried.
PLAIN_TABLES = ("users", "patient", "procs", "config", "shortcut", "combo_values", "chart_option")
ONE_WAY_TABLES = PLAIN_TABLES * 3 + ("chart_option", "recall_plan")
TWO_WAY_TABLES = PLAIN_TABLES + ("dentist_company", "recall_plan")
BY_KEY_TABLES = ("users", "procs", "config", "combo_values") * 2 + ("dentist_company",) * 3 + ("recall_plan",)
COMPANIONS = {"chart_option": ("chart_option_setting",), "dentist_company": ("chart_comment_info",),
              "computer_type": ("computer_type_setting",)}
EDGES = (0, 1, 299, -299, 600, -600, SECOND, -SECOND, 2 * SECOND, -2 * SECOND, 3 * SECOND, -3 * SECOND, DAY, -DAY)
BETWEEN = (0, 1, 300, -300, 499, SECOND, 1499, 1501, -SECOND, 2 * SECOND, 2499, 2501, -2 * SECOND, 3 * SECOND,
           -3 * SECOND, 3499, -2501, 60 * SECOND, -60 * SECOND)
TEXTS = ("Ada", "ada", "ADA", "Bela", "O'Brien", "'", "''", "", " ", "Ada ", "Ada  ", "Ä-Öß", "a\\b", "%",
         "50 %_[x]", "null", "Null", "--", "/*", "{d '2025-01-01'}", "?", "[x]", "getdate()", "select top 1 x",
         "\u20ac", "a;b")
CODES = ("'", "''", "a''b", "A1", "a1", "A1 ", "B2", "C3", "D4", "12", "7", "O'Brien", "", "{x}", " 7")
DOUBLES = (0.0, 1.0, -1.5, 0.1, 1 / 3, 1e15, 1e16, 123456789012345678.0, 5e-324, 2.2250738585072014e-308, 1e308,
           1.7976931348623157e308, -1e-7, 1e-5, 100000.0, 2.5e100)
MONEYS = ("0.0000", "1.0000", "-1.5000", "0.0001", "922337203685477.5807", "-922337203685477.5808", "1234.5600")
DATES = ("1899-12-30", "1900-01-01", "1753-01-01", "1999-12-31 23:59:59", "2025-03-10", "2025-03-10 12:34:56",
         "2025-03-10 12:00:00.300", "2024-02-29 09:05:07.997", "9999-12-31 23:59:59")
# Unsupported types and missing words for a conflict end a table: seldom enough that most tables get to their end.
NULL_SHARE = 0.15
WORDLESS_SHARE = 0.03
UNSUPPORTED_SHARE = 0.08
DESCRIBING = {"user_name", "full_name", "proc_name", "category", "config_name", "item_name", "combo_name",
              "combo_value", "option_name"}


@dataclasses.dataclass
class Case:
    """One run of one or more tables, and perhaps a second one right after.

    `plans` are the table objects; `state` holds the rows of both sides; `again` is None, "same" (objects) or "new".
    """
    site: int
    role: str
    run: bool
    version: str
    last: int
    next: int
    again: str
    plans: list
    state: dict

    def tables(self):
        names = {plan["name"].lower() for plan in self.plans}
        names |= {companion for name in names for companion in COMPANIONS.get(name, ())}
        if any(plan["dependent"].lower() == "chart_option_setting" for plan in self.plans):
            names.add("chart_option_setting")
        if any(plan["method"] == rules.COMPUTER_TYPE for plan in self.plans):
            names |= {"computer_type", "computer_type_setting"}
        return sorted(names)

    def copy(self):
        return copy.deepcopy(self)

    def kept(self):
        """The case with its values as the server keeps them."""
        for tables in self.state.values():
            for name, rows in tables.items():
                for row in rows:
                    row.update({c.name: DIALECT.kept(c.type, row[c.name]) for c in TABLES[name].columns})
        self.last, self.next = DIALECT.kept(DATE, self.last), DIALECT.kept(DATE, self.next)
        return self

    def to_json(self):
        """Text, with a row to a line, without its Nulls; the settings of the run have a line, too."""
        fields = dict(vars(self))
        fields["state"] = {side: {name: [{column: value for column, value in plain(TABLES[name], row).items()
                                          if value is not None} for row in rows] for name, rows in tables.items()}
                           for side, tables in self.state.items()}
        text = json.dumps(fields, ensure_ascii=False, indent=1)
        text = re.sub(r"{[^{}[\]]*}", lambda row: re.sub(r"\s*\n\s*", " ", row[0]), text)
        return re.sub(r',\n (?="(?!plans|state))', ", ", text)

    @classmethod
    def from_json(cls, text):
        fields = json.loads(text)
        fields["state"] = {side: {name: [parsed(TABLES[name], row) for row in rows] for name, rows in tables.items()}
                           for side, tables in fields["state"].items()}
        return cls(**fields).kept()


class Generator:
    """Makes the cases of one seed."""

    def __init__(self, random):
        self._random = random

    def case(self):
        random = self._random
        whole_run = random.random() < 0.25
        last = date_of("2025-03-10 12:00:00") + random.choice((0, 0, 0, 300, 700, 12 * 3600 * SECOND, -1, 1, 499, 501))
        if not whole_run and random.random() < 0.02:
            last = ZERO_DATE
        self._last = last
        count = random.choice((1, 1, 1, 2)) if whole_run else 1
        plans = [self._plan() for _ in range(count)]
        case = Case(site=random.choice((0, 1)), role=random.choice(("SOURCE", "DESTINATION")), run=whole_run,
                    version=random.choice(("3.46", "laptop", "LAPTOP")), last=last, next=self._next(),
                    again=random.choice((None, "same", "new")), plans=plans, state={side: {} for side in SIDES})
        for name in case.tables():
            self._fill(case, name, plans)
        for name in case.tables():
            self._relate(name, case)
        self._respell(case)
        return case.kept()

    def _next(self):
        if self._random.random() < 0.01:
            return date_of("1900-01-01")
        return date_of("2025-03-12 08:00:00") + self._random.choice((0, 250, 997))

    def _plan(self):
        random = self._random
        method = random.choices((1, 2, 3, 4, 5, 6, 7, 0, 8), (3, 22, 22, 9, 9, 2, 22, 0.3, 0.3))[0]
        tables = {rules.BY_KEY: BY_KEY_TABLES, rules.COMPUTER_TYPE: ("computer_type", "users"),
                  rules.TWO_WAY: TWO_WAY_TABLES, rules.TWO_WAY_NO_DELETES: TWO_WAY_TABLES}.get(method, ONE_WAY_TABLES)
        name = random.choice(tables)
        plan = {"method": method, "name": random.choices((name, name.upper(), name.title()), (8, 1, 1))[0],
                "dependent": "", "key_field": "", "deletes": rules.UNKNOWN}
        if method == rules.BY_KEY:
            plan["key_field"] = random.choice(TABLES[name].key_fields) if random.random() < 0.97 else ""
            weights = (1, 10, 6, 6, 1) if name != "dentist_company" else (0, 1, 0, 1, 0)
            plan["deletes"] = random.choices((1, 2, 3, 4, 9), weights)[0]
        self._depend(plan, name)
        return plan

    def _depend(self, plan, name):
        random = self._random
        if plan["method"] == rules.ONE_WAY_DELETES and (name == "chart_option" or random.random() < 0.05):
            plan["dependent"] = random.choice(("chart_option_setting", "CHART_OPTION_SETTING", "other", ""))
        elif random.random() < 0.01:
            plan["dependent"] = "chart_option_setting"

    def _fill(self, case, name, plans):
        table = TABLES[name]
        by_unique_text = any(plan["key_field"] for plan in plans)
        base = [self._row(table, number) for number in range(self._random.choice((0, 1, 2, 3, 4, 5, 7)))]
        for side in SIDES:
            rows = [self._perturbed(table, row) for row in base if self._random.random() < 0.8]
            rows += [self._row(table, 100 + number + 10 * SIDES.index(side))
                     for number in range(self._random.choice((0, 0, 1, 2)))]
            self._random.shuffle(rows)
            self._swap(table, rows)
            case.state[side][name] = self._distinct(table, rows, by_unique_text)
        self._bring_close(table, case)
        if name == "dentist_company" and self._random.random() < 0.6:
            self._settle(name, case)

    def _row(self, table, number):
        row = {column.name: self._value(column) for column in table.columns}
        row["unid"] = self._key(table, number)
        row["mod_date"] = self._modified()
        for column in table.columns:
            if column.required and row[column.name] is None:
                row[column.name] = "x" if column.name != "unid" else row["unid"]
        return row

    def _key(self, table, number):
        if table.by_name["unid"].type is INTEGER:
            return number - 1 if number < 3 and self._random.random() < 0.1 else number + 5
        return str(uuid.UUID(int=self._random.getrandbits(128)))

    def _modified(self):
        if self._random.random() < 0.01:
            return None
        return self._last_or_noon() + self._random.choice(EDGES)

    def _last_or_noon(self):
        return self._last or date_of("2025-03-10 12:00:00")

    def _perturbed(self, table, row):
        random = self._random
        row = dict(row)
        if random.random() < 0.35:
            return row
        for column in table.columns[1:-1]:
            if random.random() < 0.25:
                row[column.name] = self._value(column)
                if column.required and row[column.name] is None:
                    row[column.name] = "y"
        choice = random.random()
        if choice < 0.6 and row["mod_date"] is not None:
            row["mod_date"] += random.choice(BETWEEN)
        elif choice < 0.9:
            row["mod_date"] = self._modified()
        return row

    def _swap(self, table, rows):
        for _, column in table.unique[1:]:
            if len(rows) > 1 and self._random.random() < 0.3:
                one, other = self._random.sample(rows, 2)
                one[column], other[column] = other[column], one[column]

    def _distinct(self, table, rows, also_keys):
        """Leaves out what the database's own constraints forbid; key fields name one row."""
        unique = {column for _, column in table.unique}
        keys = set(table.key_fields) - unique if also_keys else set()
        kept = []
        for row in rows:
            columns = unique | {column for column in keys if row[column] is not None}
            if not any(collide(row[column], other[column]) for other in kept for column in columns):
                kept.append(row)
        return [row for row in kept if all(abs(row[c.name]) % SECOND != 500 for c in table.columns
                                           if c.type is DATE and row[c.name] is not None)]

    def _bring_close(self, table, case):
        """Dates of a common row close to each other."""
        there = {row["unid"]: row for row in case.state["destination"][table.name]}
        for row in case.state["source"][table.name]:
            other = there.get(row["unid"])
            if other and None not in (row["mod_date"], other["mod_date"]) and self._random.random() < 0.3:
                date = other["mod_date"] + self._random.choice(BETWEEN)
                if date % SECOND != 500:
                    row["mod_date"] = date

    def _settle(self, name, case):
        """Nothing that would have to be described: common rows have equal dates, others are new or to be deleted."""
        source, destination = ({row["unid"]: row for row in case.state[side][name]} for side in SIDES)
        for key, row in source.items():
            row["mod_date"] = destination[key]["mod_date"] if key in destination else self._last_or_noon() + SECOND
        for key in destination.keys() - source.keys():
            destination[key]["mod_date"] = self._last_or_noon() - SECOND

    def _relate(self, name, case):
        """Lets a companion's rows refer to those of its parent."""
        parents = {child: (parent, column) for parent, child, column in (
            ("chart_option", "chart_option_setting", "chart_option_id"),
            ("dentist_company", "chart_comment_info", "dc_id"))}
        if name not in parents:
            return
        parent, column = parents[name]
        key = "dc_id" if column == "dc_id" else "unid"
        keys = [row[key] for side in ("source", "destination", "destination")
                for row in case.state[side].get(parent, ())]
        for side in SIDES:
            for row in case.state[side][name]:
                row[column] = self._random.choice(keys + [None])

    def _respell(self, case):
        """Lets the destination have keys that the server calls equal to what they were."""
        for name, rows in case.state["destination"].items():
            for row, key in itertools.product(rows, sorted(set(TABLES[name].key_fields))):
                if "char" in TABLES[name].by_name[key].type.sql and row[key] is not None:
                    row[key] = self._random.choice(DIALECT.spellings(row[key]))

    def _value(self, column):
        random = self._random
        # A patient without a dentist: the run's foreign key is not what is tried here.
        if random.random() < (WORDLESS_SHARE if column.name in DESCRIBING else NULL_SHARE):
            return None
        if column.name == "dentist_id" or (column.type in (BIGINT, REAL, TEXT) and random.random() > UNSUPPORTED_SHARE):
            return None
        return self._values[column.type](self) if column.type in self._values else self._text(column)

    def _text(self, column):
        random = self._random
        size = int(column.type.sql.rstrip(")").split("(")[1]) if "(" in column.type.sql else 20
        if random.random() < (0.03 if column.name != "config_value" else 0.1):
            text = random.choice(("x", "'", "ab ")) * random.choice((size, size // 2))
        else:
            text = random.choice(CODES if column.name in ("code", "proc_code", "badge") else TEXTS)
        return column.type.parse(text[:size])

    _values = {
        INTEGER: lambda self: self._random.choice((0, 1, 5, 6, 7, 8, 100, -1, 2147483647, -2147483648)),
        SMALLINT: lambda self: self._random.choice((0, 1, -1, 32767, -32768)),
        DOUBLE: lambda self: self._random.choice(DOUBLES) * self._random.choice((1, 1, -1)),
        MONEY: lambda self: decimal.Decimal(self._random.choice(MONEYS)),
        BIT: lambda self: self._random.random() < 0.5,
        GUID: lambda self: str(uuid.UUID(int=self._random.getrandbits(128))),
        DATE: lambda self: date_of(self._random.choice(DATES)),
        BIGINT: lambda self: self._random.choice((0, 1, -9223372036854775808)),
        REAL: lambda self: self._random.choice((0.5, 1e10, 0.0)),
    }
