"""Runs with an accident in the middle: a connection cut or frozen, the server or the host killed, after a random number
of bytes. Each is judged by the databases after it, and after the next run. A SQL Server is not killed, since others use
it too; a session of the run is ended there.

The last lines say what was tried and how much was found; the exit status is 1 when anything was, 77 when the databases
are not told. `--seed N --first K --accidents 1` repeats an accident.
"""

import collections
import contextlib
import random
import subprocess
import sys
import time

import drawing
from fragile_practice import PATIENCE, FragilePractice
from judgement import after_accident, after_good_run, settings_left
from scene import Scene
from side import is_postgresql, skip_without_databases, wait_until

ACCIDENTS_OF_A_SCENE = 16
SAMPLE = 8


class Rehearsal:
    """A scene and its databases after undisturbed runs."""

    def __init__(self, practice, seed):
        self.scene = Scene(random.Random(seed))
        practice.set(self.scene)
        self.before = practice.states()
        begin = {name: relay.passed for name, relay in practice.relays.items()}
        practice.good_run()
        self.bytes = {name: relay.passed - begin[name] for name, relay in practice.relays.items()}
        self.after = practice.states()
        practice.good_run()
        self.after_second = practice.states()
        if self.after["laptop"]["users"] == self.before["laptop"]["users"]:
            raise AssertionError("an undisturbed run copies nothing")


class Accident:
    """One accident of a seed: each kind in its turn, in front of which database, after how many bytes."""

    KINDS = ["cut", "cut politely", "cut for good", "frozen for a while", "frozen until the host was killed",
             "host killed"] + (["server process killed", "server killed"] if is_postgresql() else ["session ended"])

    def __init__(self, number, choose, rehearsal):
        self.kind = self.KINDS[number % len(self.KINDS)]
        self.place = choose.choice(list(rehearsal.bytes))
        self.count = choose.randint(1, rehearsal.bytes[self.place])
        self._choose = choose

    def __str__(self):
        return f"{self.kind}, {self.place}, after {self.count} bytes"

    def happen(self, practice):
        """Starts a run and lets it happen; whether it did, and the run's status and output."""
        relay = practice.relays[self.place]
        relay.freeze_after(self.count)
        with practice.start_run() as process:
            try:
                wait_until(lambda: relay.frozen.is_set() or process.poll() is not None, "it is time", PATIENCE)
                happened = process.poll() is None
                if happened:
                    self._strike(practice, relay, process)
                if "cut" not in self.kind:
                    relay.heal()
                process.wait(PATIENCE)
            finally:
                process.kill()
        return happened, process.returncode, practice.said()

    def _strike(self, practice, relay, process):
        if "cut" in self.kind:
            relay.cut(reset=self.kind != "cut politely")
            if self.kind != "cut for good":
                relay.heal()
        elif self.kind == "frozen for a while":
            time.sleep(0.2)
        elif "host" in self.kind:
            process.kill()
            process.wait()
            if self.kind != "host killed":
                relay.cut()
        elif self.kind == "server killed":
            practice.home.kill_server()
        else:
            practice.kill_session(self._choose.choice)


class Trial:
    """Accidents one after the other, and what was found and seen."""

    def __init__(self, practice, seed):
        self._practice = practice
        self._seed = seed
        self._rehearsal = None
        self.tried, self.found, self.seen = collections.Counter(), collections.Counter(), collections.Counter()

    def one(self, number):
        scene = number // ACCIDENTS_OF_A_SCENE
        if not self._rehearsal or self._rehearsal[0] != scene:
            self._rehearsal = scene, Rehearsal(self._practice, f"{self._seed} scene {scene}")
        rehearsal = self._rehearsal[1]
        accident = Accident(number, random.Random(f"{self._seed} {number}"), rehearsal)
        self.tried[accident.kind] += 1
        try:
            faults = self._faults(accident, rehearsal)
        except (AssertionError, subprocess.TimeoutExpired) as error:
            faults = [repr(error)]
        if faults:
            self.found[accident.kind] += 1
            name = f"--seed {self._seed} --first {number} --accidents 1: {accident}"
            print(name, *faults[:8], sep="\n  ", flush=True)

    def _faults(self, accident, rehearsal):
        practice = self._practice
        practice.set(rehearsal.scene)
        happened, status, output = accident.happen(practice)
        practice.restore()
        seen = practice.states()
        faults = after_accident(rehearsal.before, seen, rehearsal.after)
        moved = seen["office"]["advanced"]
        if status in (0, 2) and not moved:
            faults.append(f"the run says that it went through: {output}")
        wanted = rehearsal.after_second if moved else rehearsal.after
        practice.good_run()
        faults += after_good_run(rehearsal.before, seen, practice.states(), wanted)
        self._count(happened, rehearsal, seen)
        return faults

    def _count(self, happened, rehearsal, seen):
        self.seen["accidents that came too late"] += not happened
        self.seen["interval moved"] += seen["office"]["advanced"]
        self.seen["foreign key dropped"] += not seen["office"]["key"]
        self.seen["full-copy table emptied"] += not seen["laptop"]["ada_code"]
        self.seen["settings left behind"] += bool(settings_left(rehearsal.before, seen, rehearsal.after))


def main():
    skip_without_databases()
    chosen = drawing.parser(__doc__, "accidents", SAMPLE).parse_args()
    with contextlib.closing(FragilePractice()) as practice:
        trial = Trial(practice, chosen.seed)
        for number in drawing.numbers(chosen):
            trial.one(number)
    print("seen:", ", ".join(f"{what} {count}" for what, count in trial.seen.items()))
    for kind in sorted(trial.tried):
        print(f"tried {kind}: {trial.tried[kind]}, found: {trial.found[kind]}")
    return 1 if trial.found else 0


if __name__ == "__main__":
    sys.exit(main())
