"""Random cases, and the kept ones, on the component against the model, in several processes side by side.

The last lines say what was tried and how much was found; the exit status is 1 when anything was, 77 when a setting for
the databases is missing (1 with QUINMARK_REQUIRE_DATABASE=1). `--seed` and `--first` repeat cases.
"""

import itertools
import multiprocessing
import os
import pathlib
import random
import sys
import time

import drawing
from cases import Case, Generator
from check import Check
from shrink import shrunk
from side import skip_without_postgresql

SAMPLE, ENOUGH = 1500, 5
# Numbers that are handed out at once, and how many cases lie between two lines that say how far it is.
BATCH, TOLD = 100, 5000
KEPT = pathlib.Path(__file__).parent / "cases"


class Worker:
    """One of the processes; it returns its finds as text, which is empty when there are none."""

    @classmethod
    def start(cls, pairs):
        cls.pair, cls.check = pairs.get(), None

    @classmethod
    def faults(cls, case):
        # Not at the start, where a failure would have the process started again.
        cls.check = cls.check or Check(cls.pair)
        return cls.check.faults(case)

    @classmethod
    def replay(cls, file):
        found = cls.faults(Case.from_json(file.read_text(encoding="utf-8")))
        return "\n  ".join([f"{file.name}:", *found]) if found else ""

    @classmethod
    def try_random(cls, chosen, number):
        case = Generator(random.Random(f"{chosen.seed} {number}")).case()
        found = cls.faults(case)
        if not found:
            return ""
        small = shrunk(case, cls.faults)
        if chosen.keep:
            (KEPT / f"seed_{chosen.seed}_{number}.json").write_text(small.to_json() + "\n", encoding="utf-8")
        return "\n  ".join([f"--seed {chosen.seed} --first {number} --cases 1:", *found[:8],
                            "small:", *cls.faults(small)[:8], small.to_json()])


def told(texts):
    """Prints the finds and returns their number."""
    found = [text for text in texts if text]
    print(*found, sep="\n", end="\n" * bool(found), flush=True)
    return len(found)


def try_random(chosen, pool):
    """The number of cases tried and of those that differ."""
    numbers = drawing.numbers(chosen)
    tried = found = 0
    while (batch := list(itertools.islice(numbers, BATCH))) and found < ENOUGH:
        found += told(pool.starmap(Worker.try_random, zip(itertools.repeat(chosen), batch), chunksize=1))
        tried += len(batch)
        if tried % TOLD == 0:
            print(f"{tried} tried; to go on from here: --seed {chosen.seed} --first {chosen.first + tried}", flush=True)
    return tried, found


def main():
    skip_without_postgresql()
    parser = drawing.parser(__doc__, "cases", SAMPLE)
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many processes")
    parser.add_argument("--keep", action="store_true", help="put what is found, made small, into cases/")
    chosen = parser.parse_args()
    pairs = multiprocessing.SimpleQueue()
    for number in range(chosen.jobs):
        pairs.put(number)
    with multiprocessing.Pool(chosen.jobs, Worker.start, (pairs,)) as pool:
        start = time.monotonic()
        kept = sorted(KEPT.glob("*.json"))
        kept_found = told(pool.map(Worker.replay, kept, chunksize=1))
        tried, found = try_random(chosen, pool)
        seconds = time.monotonic() - start
        pool.close()
        pool.join()
    print(f"{(len(kept) + tried) / seconds:.1f} cases a second")
    print(f"tried kept model cases: {len(kept)}, found: {kept_found}")
    print(f"tried random model cases: {tried}, found: {found}")
    return 1 if kept_found or found else 0


if __name__ == "__main__":
    sys.exit(main())
