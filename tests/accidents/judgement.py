"""Checks the databases after an accident, and after the next run that succeeds."""

from scene import DEPENDENTS, TABLES

FULL_COPIES = ["ada_code", "computer_type", "computer_type_setting"]
PARENT = "chart_option"
DEPENDENT, _ = DEPENDENTS[PARENT]
BY_ROW = [name for name in TABLES if name not in FULL_COPIES]


def after_accident(before, seen, after):
    """The faults that an accident left. Each state is that of both sides, by name; `after` is an undisturbed run's."""
    faults = []
    for side in before:
        for table in BY_ROW:
            faults += _rows(f"{side} {table}", before[side][table], seen[side][table], after[side][table])
        for table in FULL_COPIES:
            if seen[side][table] not in (before[side][table], {}, after[side][table]):
                faults.append(f"{side} {table} is neither as before nor empty nor copied")
        for option, settings in _settings(seen[side]).items():
            if settings not in (_settings(before[side]).get(option), _settings(after[side]).get(option)):
                faults.append(f"{side} {DEPENDENT} of {option}: {settings}")
    office = seen["office"]
    faults += _conflicts(office, after["office"])
    if office["advanced"] and not office["key"]:
        faults.append("the interval moved, but the foreign key is gone")
    if not office["advanced"] and not office["ready"]:
        faults.append("the interval did not move, but the site is not ready any more")
    return faults


def after_good_run(before, seen, final, wanted):
    """The differences between the run after the accident, which left `seen`, and undisturbed runs."""
    faults = []
    left = settings_left(before, seen, wanted)
    for side in wanted:
        for table in (*BY_ROW, *FULL_COPIES):
            if final[side][table] != wanted[side][table]:
                faults += _rows(f"{side} {table}", {}, final[side][table], wanted[side][table], exactly=True)
        expected, actual = _settings(wanted[side]), _settings(final[side])
        for option in expected.keys() | actual.keys():
            allowed = _settings(seen[side]).get(option) if side == "laptop" and option in left else expected.get(option)
            if actual.get(option) != allowed:
                faults.append(f"{side} {DEPENDENT} of {option}: {actual.get(option)}, not {allowed}")
    faults += _conflicts(final["office"], wanted["office"])
    missing = [c for c in wanted["office"]["conflicts"] if c not in final["office"]["conflicts"]]
    faults += [f"conflict missing: {conflict}" for conflict in missing]
    faults += [f"office {name}: {final['office'][name]}" for name in ("advanced", "key") if not final["office"][name]]
    return faults


def settings_left(before, seen, wanted):
    """The options that were copied or deleted while their settings were not: these stay as they are."""
    options = before["laptop"][PARENT].keys() | seen["laptop"][PARENT].keys()
    return {option for option in options
            if seen["laptop"][PARENT].get(option) != before["laptop"][PARENT].get(option)
            and _settings(seen["laptop"]).get(option) != _settings(wanted["laptop"]).get(option)}


def _rows(name, before, seen, after, exactly=False):
    faults = []
    for key in before.keys() | seen.keys() | after.keys():
        allowed = [after.get(key)] if exactly else [before.get(key), after.get(key)]
        if seen.get(key) not in allowed:
            faults.append(f"{name} {key}: {seen.get(key)}, not {' or '.join(map(str, allowed))}")
    return faults


def _settings(side):
    """The dependent rows of each option that has any."""
    options = {}
    for row in side[DEPENDENT].values():
        text = f"{row['unid']} {row['setting_value']} {row['mod_date']}"
        options.setdefault(row["chart_option_id"], set()).add(text)
    return options


def _conflicts(side, wanted):
    """Conflicts that an undisturbed run does not record; one that an accident interrupts may lack columns."""
    known = {conflict[:4]: conflict[4] for conflict in wanted["conflicts"]}
    return [f"conflict {conflict}" for conflict in side["conflicts"]
            if conflict[:4] not in known or not conflict[4].items() <= known[conflict[:4]].items()]
