"""Makes a failing case small."""

from cases import SIDES
from tables import TABLES
from values import SECOND


def shrunk(case, fails):
    """The smallest case found by leaving out one thing at a time for which `fails` is still true."""
    while True:
        for change in _changes(case):
            candidate = case.copy()
            change(candidate)
            if fails(candidate):
                case = candidate
                break
        else:
            return case


def _changes(case):
    """Each takes one thing from a copy of the case; those that take most are first."""
    if case.again:
        yield lambda copy: setattr(copy, "again", None)
    for index in range(len(case.plans) if len(case.plans) > 1 else 0):
        yield lambda copy, index=index: copy.plans.pop(index)
    rows = [(side, name, index)
            for side in SIDES for name, rows in case.state[side].items() for index in range(len(rows))]
    for side, name, index in rows:
        yield lambda copy, side=side, name=name, index=index: copy.state[side][name].pop(index)
    for side, name, index in rows:
        row = case.state[side][name][index]
        for column in TABLES[name].columns[:-1]:
            if not column.required and row[column.name] is not None:
                yield _setting(side, name, index, column.name, None)
        if row["mod_date"] is not None and row["mod_date"] % SECOND:
            yield _setting(side, name, index, "mod_date", row["mod_date"] - row["mod_date"] % SECOND)
    if case.run and len(case.plans) == 1:
        yield lambda copy: setattr(copy, "run", False)
    if case.last % SECOND:
        yield lambda copy: setattr(copy, "last", copy.last - copy.last % SECOND)
    for index, plan in enumerate(case.plans):
        if plan["name"] != plan["name"].lower():
            yield lambda copy, index=index: copy.plans[index].update(name=copy.plans[index]["name"].lower())


def _setting(side, name, index, column, value):
    return lambda copy: copy.state[side][name][index].update({column: value})
