#!/usr/bin/env python3
"""Files include each other only along the arrows listed here, and never in a circle."""

import fnmatch
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
ROOMS = ("src", "wine/adodb", "host")

# From, to, and why. Arrows within a room are free.
ARROWS = (
    ("src/ado/*", "src/com/*", "ADO's objects are called late bound"),
    ("src/db/*", "src/ado/*", "clsConn is the only door to a database"),
    ("src/db/*", "src/com/*", "values are converted and errors raised"),
    ("src/db/*", "src/control/RaiseError.h", "RaiseError is every room's"),
    ("src/control/*", "src/ado/*", "states and types of ADO by their names"),
    ("src/control/*", "src/com/*", "values are converted and errors raised"),
    ("src/control/*", "src/db/*", "control records are read and written"),
    ("src/control/Factory*", "src/conflicts/*", "the entry object composes all"),
    ("src/control/Factory*", "src/replication/*", "the entry object composes all"),
    ("src/replication/*", "src/ado/*", "rows are read"),
    ("src/replication/*", "src/com/*", "values are converted and errors raised"),
    ("src/replication/*", "src/db/*", "statements are composed and run"),
    ("src/replication/*", "src/control/*", "pairing, settings, log and error state"),
    ("src/replication/OneWay.cpp", "src/conflicts/report_conflict.h", "a row that may not be copied is reported"),
    ("src/conflicts/*", "src/ado/*", "rows are read"),
    ("src/conflicts/*", "src/com/*", "values are converted and errors raised"),
    ("src/conflicts/*", "src/db/*", "statements are composed and run"),
    ("src/conflicts/*", "src/control/*", "pairing, settings, log and error state"),
    ("src/conflicts/*", "src/replication/row_*", "a row is read, compared and copied as a run does it"),
    ("src/typelib/*", "src/com/*", "the exports are made from the table of classes"),
    ("src/typelib/*", "src/control/*", "the one class of that table is the entry object"),
    ("wine/adodb/*", "src/com/*", "every COM server needs it"),
    ("host/*", "src/com/*", "the host is a client of COM"),
    ("host/*", "src/ado/Recordset.h", "it reads rows"),
    ("host/*", "src/db/*", "it reads rows as the component does"),
    ("host/*", "src/control/log.h", "its settings name the levels"),
    ("host/*", "src/control/settings.h", "the linked component is attached to the program"),
    ("host/*", "src/control/error_state.h", "it records a failure that the component could not"),
    ("host/*", "src/replication/method_plan.h", "it looks ahead of a run by the component's own tables"),
    ("host/*", "src/replication/row_*", "it looks ahead of a run by the component's own tables"),
    ("host/*", "src/conflicts/*", "it describes and settles conflicts as the component does"),
)


def includes(root=ROOT):
    """For each source its included sources, as paths below the root; the platform's and generated headers left out."""
    found = {}
    for room in ROOMS:
        for file in (root / room).rglob("*.*"):
            if file.suffix in (".h", ".cpp"):
                names = re.findall(r'^#include "([^"]+)"', file.read_text(encoding="utf-8"), re.M)
                found[str(file.relative_to(root))] = {
                    str(path.relative_to(root)) for name in names
                    for path in [next((base / name for base in (file.parent, root / room, root / "src")
                                       if (base / name).exists()), None)] if path}
    return found


def room_of(path):
    parts = path.split("/")
    return parts[0] if parts[0] == "host" else "/".join(parts[:2])


def strangers(graph):
    """Arrows between rooms that are not listed."""
    return sorted(f"{source} -> {target}" for source, targets in graph.items() for target in targets
                  if room_of(source) != room_of(target)
                  and not any(fnmatch.fnmatch(source, a) and fnmatch.fnmatch(target, b) for a, b, _ in ARROWS))


def circle(graph):
    """The files of one circle, empty when there is none."""
    done = set()

    def walk(file, way):
        if file in way:
            return way[way.index(file):]
        if file in done:
            return []
        for target in sorted(graph.get(file, ())):
            if found := walk(target, [*way, file]):
                return found
        done.add(file)
        return []

    return next((found for file in sorted(graph) if (found := walk(file, []))), [])


class Arrows(unittest.TestCase):
    """Of the sources as they are."""

    def test_only_listed_ones(self):
        self.assertEqual(strangers(includes()), [])

    def test_every_listed_one_is_used(self):
        graph = includes()
        unused = [f"{a} -> {b}" for a, b, _ in ARROWS
                  if not any(fnmatch.fnmatch(source, a) and fnmatch.fnmatch(target, b)
                             for source, targets in graph.items() for target in targets)]
        self.assertEqual(unused, [])

    def test_no_circle(self):
        self.assertEqual(circle(includes()), [])


class Finder(unittest.TestCase):
    """Finds an arrow and a circle that are put in."""

    def test_new_arrow_is_found(self):
        graph = includes()
        graph["src/com/error.cpp"].add("src/control/settings.h")
        self.assertEqual(strangers(graph), ["src/com/error.cpp -> src/control/settings.h"])

    def test_circle_is_found(self):
        graph = includes()
        graph["src/com/error.h"].add("src/com/convert.h")
        graph["src/com/convert.h"].add("src/com/error.h")
        self.assertEqual(set(circle(graph)), {"src/com/error.h", "src/com/convert.h"})


if __name__ == "__main__":
    unittest.main()
