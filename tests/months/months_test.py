"""Random months of a practice with three laptops, through the registered component and against the model, in several
processes side by side: no copy of a row is written over or deleted but by a decision, with a conflict, or for a reason
that docs/administration.md names ("Several laptops").

The last lines say what was tried, seen and found; the exit status is 1 when anything was found, 77 without the private
PostgreSQL: each machine has a clock of its own, and a SQL Server has one for all. `--seed N --first K --months 1`
repeats a month.
"""

import collections
import itertools
import multiprocessing
import os
import random
import sys
import time

import drawing
from between import Find
from course import Course
from machines import Machines
from month import IN_ONE_PLACE, Month
from side import skip_without_postgresql

SAMPLE = 200
ENOUGH = 5
BATCH = 40


class Worker:
    """One of the processes."""

    @classmethod
    def start(cls, numbers):
        cls.number, cls.machines = numbers.get(), None

    @classmethod
    def month(cls, seed, number):
        """The month's find as text, if any; what was seen in it."""
        cls.machines = cls.machines or Machines(cls.number)
        month = Month(random.Random(f"{seed} {number}"), number)
        seen = collections.Counter()
        course = Course(cls.machines, month, seen)
        found = ""
        try:
            course.go()
        except Find as find:
            found = "\n  ".join([f"tests/months/soak.sh --seed {seed} --first {number} --months 1:", str(month), *find.args])
        return found, seen, course.runs


def main():
    skip_without_postgresql()
    parser = drawing.parser(__doc__, "months", SAMPLE)
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many processes")
    chosen = parser.parse_args()
    workers = multiprocessing.SimpleQueue()
    for number in range(chosen.jobs):
        workers.put(number)
    tried = found = runs = 0
    seen = collections.Counter()
    start = time.monotonic()
    with multiprocessing.Pool(chosen.jobs, Worker.start, (workers,)) as pool:
        numbers = drawing.numbers(chosen)
        while (batch := list(itertools.islice(numbers, BATCH))) and found < ENOUGH:
            for text, month_seen, month_runs in pool.starmap(
                    Worker.month, zip(itertools.repeat(chosen.seed), batch), chunksize=IN_ONE_PLACE):
                tried += 1
                found += bool(text)
                runs += month_runs
                seen.update(month_seen)
                if text:
                    print(text, flush=True)
        pool.close()
        pool.join()
    for (what, reason), count in sorted(seen.items()):
        print(f"{what}: {count}, {reason}")
    print(f"{runs} runs in {time.monotonic() - start:.0f} s")
    print(f"tried months of three laptops: {tried}, found: {found}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
