"""Figures, and how they come from measurements of clients that take turns."""

import random
import statistics

from side import is_postgresql


def figure(name, value, limit=None):
    """Limits are promised on PostgreSQL."""
    return {"name": name, "value": round(value, 4), "limit": limit if is_postgresql() else None}


def within(entry):
    return entry["limit"] is None or entry["value"] <= entry["limit"]


def take_turns(rounds, clients):
    """Measures every client once a round, in an order that is drawn for each, so that none always follows the same.
    `clients` are functions by name; the measurements by name, in the order of rounds.
    """
    taken = {name: [] for name in clients}
    for number in range(rounds):
        for name in random.Random(number).sample(sorted(clients), len(clients)):
            taken[name].append(clients[name]())
    return taken


def ratio(first, second, key):
    """The median of the rounds' ratios."""
    return statistics.median(a[key] / b[key] for a, b in zip(first, second))


def median(measurements, key):
    return statistics.median(measurement[key] for measurement in measurements)


def require_same(what, results):
    """A client that was quick but left the databases as they should not be has no figures."""
    if len(set(results.values())) != 1:
        raise RuntimeError(f"{what} differ: {results}")
