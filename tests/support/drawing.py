"""The numbers of a test's random cases: the same sample in all everyday runs, so that these fail for a change and not by
chance, and others by seed and number."""

import argparse
import itertools
import time


def parser(description, what, sample):
    """The options of such a test, which draws as many as `sample` unless told."""
    options = argparse.ArgumentParser(description=description)
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--first", type=int, default=0, help="the number of the first of the seed")
    options.add_argument(f"--{what}", dest="count", type=int, default=sample, help="how many")
    options.add_argument("--minutes", type=float, help="how long to try, however many that are")
    return options


def numbers(chosen):
    """The numbers to be drawn, until there are enough or the time is over."""
    print(f"seed {chosen.seed}", flush=True)
    end = time.monotonic() + (chosen.minutes or 0) * 60
    for number in itertools.count(chosen.first):
        if time.monotonic() > end if chosen.minutes else number == chosen.first + chosen.count:
            return
        yield number
