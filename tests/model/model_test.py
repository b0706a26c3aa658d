"""Random cases, and the kept ones, on the component against the model, in several processes side by side.

The last lines say what was tried, what was left out because its outcome is not determined, and how much was found; the
exit status is 1 when anything was, 77 when a setting for the databases is missing (1 with QUINMARK_REQUIRE_DATABASE=1).
`--seed` and `--first` repeat cases.
"""

import collections
import itertools
import multiprocessing
import os
import pathlib
import random
import sys
import time
import typing
import unittest

import drawing
from cases import Case, Generator
from check import Check
from shrink import shrunk
from side import is_postgresql, server_of, skip, skip_without_databases

SAMPLE = 1500 if is_postgresql() else 500
ENOUGH = 5
# Numbers that are handed out at once, and how many cases lie between two lines that say how far it is.
BATCH, TOLD = 100, 5000
KEPT = pathlib.Path(__file__).parent / "cases"


class Result(typing.NamedTuple):
    """Of a case: what was found as text, empty if nothing was; why it was left out, if it was; how the server differs
    from its documents."""
    found: str
    left_out: str
    differences: list


class Worker:
    """One of the processes."""

    @classmethod
    def start(cls, pairs):
        cls.pair, cls.check = pairs.get(), None

    @classmethod
    def faults(cls, case):
        # Not at the start, where a failure would have the process started again.
        cls.check = cls.check or Check(cls.pair)
        return cls.check.faults(case)

    @classmethod
    def result(cls, lines):
        return Result("\n  ".join(lines), cls.check.left_out, cls.check.differences)

    @classmethod
    def replay(cls, file):
        found = cls.faults(Case.from_json(file.read_text(encoding="utf-8")))
        return cls.result([f"{file.name}:", *found] if found else [])

    @classmethod
    def try_random(cls, chosen, number):
        case = Generator(random.Random(f"{chosen.seed} {number}")).case()
        found = cls.faults(case)
        if not found:
            return cls.result([])
        small = shrunk(case, cls.faults)
        if chosen.keep:
            (KEPT / f"seed_{chosen.seed}_{number}.json").write_text(small.to_json() + "\n", encoding="utf-8")
        return cls.result([f"--seed {chosen.seed} --first {number} --cases 1:", *found[:8],
                           "small:", *cls.faults(small)[:8], small.to_json()])


class Tally:
    """The cases of one kind."""
    told = set()  # differences of the server

    def __init__(self, kind):
        self._kind = kind
        self.tried = self.found = 0
        self._left_out = collections.Counter()

    def add(self, results):
        """Counts results and prints what was found."""
        for result in results:
            self.tried += 1
            self.found += bool(result.found)
            self._left_out.update(filter(None, [result.left_out]))
            news = [line for line in result.differences if line not in self.told]
            self.told.update(news)
            for line in (*news, *filter(None, [result.found])):
                print(line, flush=True)

    def print(self):
        for reason, count in self._left_out.items():
            print(f"left out of the {self._kind} model cases: {count}, {reason}")
        print(f"tried {self._kind} model cases: {self.tried}, found: {self.found}")


def try_random(chosen, pool, tally):
    numbers = drawing.numbers(chosen)
    while (batch := list(itertools.islice(numbers, BATCH))) and tally.found < ENOUGH:
        tally.add(pool.starmap(Worker.try_random, zip(itertools.repeat(chosen), batch), chunksize=1))
        if tally.tried % TOLD == 0:
            print(f"{tally.tried} tried; to go on from here: --seed {chosen.seed} --first {chosen.first + tally.tried}",
                  flush=True)


def skip_without_administrator():
    """Skips the program where databases cannot be made."""
    try:
        server_of().owner()
    except unittest.SkipTest as reason:
        skip(reason, False)


def main():
    skip_without_databases()
    skip_without_administrator()
    parser = drawing.parser(__doc__, "cases", SAMPLE)
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many processes")
    parser.add_argument("--keep", action="store_true", help="put what is found, made small, into cases/")
    chosen = parser.parse_args()
    pairs = multiprocessing.SimpleQueue()
    for number in range(chosen.jobs):
        pairs.put(number)
    with multiprocessing.Pool(chosen.jobs, Worker.start, (pairs,)) as pool:
        start = time.monotonic()
        kept, drawn = Tally("kept"), Tally("random")
        kept.add(pool.map(Worker.replay, sorted(KEPT.glob("*.json")), chunksize=1))
        try_random(chosen, pool, drawn)
        seconds = time.monotonic() - start
        pool.close()
        pool.join()
    print(f"{(kept.tried + drawn.tried) / seconds:.1f} cases a second")
    kept.print()
    drawn.print()
    return 1 if kept.found or drawn.found else 0


if __name__ == "__main__":
    sys.exit(main())
