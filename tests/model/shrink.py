"""Makes a failing case small."""

from cases import SIDES
from tables import TABLES


def shrunk(case, fails):
    """The smallest case found by leaving out one thing at a time for which `fails` is still true."""
    while True:
        for candidate in _smaller(case):
            if fails(candidate):
                case = candidate
                break
        else:
            return case


def _smaller(case):
    for change in (_without_second_run, _without_plans, _without_rows, _without_values, _with_common_dates, _plainer):
        yield from change(case)


def _without_second_run(case):
    if case.again:
        candidate = case.copy()
        candidate.again = None
        yield candidate


def _without_plans(case):
    for index in range(len(case.plans) if len(case.plans) > 1 else 0):
        candidate = case.copy()
        del candidate.plans[index]
        yield candidate


def _without_rows(case):
    for side in SIDES:
        for name, rows in case.state[side].items():
            for index in range(len(rows)):
                candidate = case.copy()
                del candidate.state[side][name][index]
                yield candidate


def _without_values(case):
    """Values that are not needed become Null."""
    for side in SIDES:
        for name, rows in case.state[side].items():
            for index, row in enumerate(rows):
                for column in TABLES[name].columns[:-1]:
                    if not column.required and row[column.name] is not None:
                        candidate = case.copy()
                        candidate.state[side][name][index][column.name] = None
                        yield candidate


def _with_common_dates(case):
    for side in SIDES:
        for name, rows in case.state[side].items():
            for index, row in enumerate(rows):
                if row["mod_date"] is not None and row["mod_date"] % 1000:
                    candidate = case.copy()
                    candidate.state[side][name][index]["mod_date"] -= row["mod_date"] % 1000
                    yield candidate


def _plainer(case):
    if case.run and len(case.plans) == 1:
        candidate = case.copy()
        candidate.run = False
        yield candidate
    if case.last % 1000:
        candidate = case.copy()
        candidate.last -= case.last % 1000
        yield candidate
    for index, plan in enumerate(case.plans):
        if plan["name"] != plan["name"].lower():
            candidate = case.copy()
            candidate.plans[index]["name"] = plan["name"].lower()
            yield candidate
