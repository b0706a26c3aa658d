"""Changes one operator, constant or text of the decision code at a time and tells which changes no unit test notices.

    mutate.py BUILD [--count N] [--seed S] [--only FILE:LINE] [--list]

BUILD is a configured build with a finished unit_tests.exe. Runs in the environment of scripts/mutate.sh, which is how
to call it. A mutated file is compiled in BUILD/mutants and linked in front of the core library, so that the working
copy stays as it is. Exit status: 0 few enough live, 1 too many live, 2 the unit tests fail without any mutation.
"""
import argparse
import json
import os
import queue
import random
import re
import shlex
import shutil
import subprocess
import sys
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SOURCES = ROOT / "src"
FOLDERS = ("replication", "conflicts")
LIVING_ALLOWED = 0.05
TEST_SECONDS = 240

# Names that stand for each other; beside these, the enumerators of each enumeration of the decision code.
FAMILIES = [family.split() for family in (
    "LOG_DEBUG LOG_STAT LOG_WARN", "CHANGED_ON_BOTH NEW_ON_source NEW_ON_DEST CHANGED_ON_DEST DELETED_ON_SOURCE",
    "OFFICES LAPTOP", "ONLY_DELETES DELETE_WITH_UPDATES", "UNKNOWN ONLY_DELETES", "kLocal kSource kDestination",
    "getConnSource getConnDest", "sSourceDB sDestinationDB", "true false")]
BINARY = {"==": ["!="], "!=": ["=="], "<": ["<=", ">"], "<=": ["<", ">"], ">": [">=", "<"], ">=": [">", "<"],
          "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"]}
OTHER = {"++": "--", "!": "", "-": ""}
TOKEN = r"""
    (?P<skip> //[^\n]* | /\*.*?\*/ | ^\s*\#[^\n]* | static_assert[^;]*; | '(?:\\.|[^'])' )
  | (?P<text> L?"(?:\\.|[^"\\])*" )
  | (?P<number> \b\d+L?\b )
  | (?P<binary> \ (?:==|!=|<=|>=|<|>|&&|\|\||\+|-)\  )
  | (?P<name> (?<!&\ )\b(?:NAMES)\b(?!\[) )
  | (?P<unary> \+\+ | !(?=[\w(]) | (?<=[(\s])-(?=[\w(]) )
"""


@dataclass(frozen=True)
class Mutant:
    file: Path
    begin: int
    end: int
    replacement: str
    line: int
    original: str

    def __str__(self):
        return f"{self.file.relative_to(ROOT)}:{self.line}: {self.original} -> {self.replacement}"

    def text(self):
        source = self.file.read_text()
        return source[:self.begin] + self.replacement + source[self.end:]


def enumerations(source):
    for name, body in re.findall(r"enum class (\w+)\s*\{(.*?)\}", source, re.DOTALL):
        yield [f"{name}::{enumerator}" for enumerator in re.findall(r"^\s*(\w+),?$", body, re.MULTILINE)]


def replacements(kind, token, families):
    if kind == "text":
        return [token[:-1] + 'x"']
    if kind == "number":
        return [str(int(token.rstrip("L")) + 1)]
    if kind == "binary":
        return [f" {other} " for other in BINARY[token.strip()]]
    if kind == "unary":
        return [OTHER[token]]
    family = next(names for names in families if token in names)
    return [family[(family.index(token) + 1) % len(family)]]


def joins_text(source, match):
    """Whether the statement around the match is about text, from which nothing can be subtracted."""
    begin = max(source.rfind(end, 0, match.start()) for end in ";{}")
    return '"' in re.split("[;{}]", source[begin + 1:], maxsplit=1)[0]


def all_mutants():
    sources = {path: path.read_text() for folder in FOLDERS for path in sorted((SOURCES / folder).glob("*.*"))}
    families = FAMILIES + [names for source in sources.values() for names in enumerations(source)]
    names = "|".join(name for family in families for name in family)
    tokens = re.compile(TOKEN.replace("NAMES", names), re.VERBOSE | re.MULTILINE | re.DOTALL)
    return [Mutant(file, match.start(), match.end(), other, source.count("\n", 0, match.start()) + 1, match.group())
            for file, source in sources.items() for match in tokens.finditer(source)
            if match.lastgroup != "skip" and not (match.group() == " + " and joins_text(source, match))
            for other in replacements(match.lastgroup, match.group(), families)]


class Build:
    def __init__(self, folder):
        self.folder = folder.resolve()
        entries = json.loads((self.folder / "compile_commands.json").read_text())
        self.commands = {Path(entry["file"]): shlex.split(entry["command"]) for entry in entries
                         if re.search(r" -o \S*/(quinmark_core|unit_tests)\.dir/", entry["command"])}
        # Compile lines tell nothing about linking; of what CMake writes, only the build file of its generator does.
        line = subprocess.run(["ninja", "-t", "commands", "unit_tests.exe"], cwd=self.folder, check=True, text=True,
                              stdout=subprocess.PIPE).stdout.splitlines()[-1]
        self.link = shlex.split(line.removeprefix(": && ").removesuffix(" && :"))

    def output(self, unit):
        return self.commands[unit][self.commands[unit].index("-o") + 1]

    def dependents(self, file, pool):
        """The units to compile anew: the file, or a header's users in the core and the header's own test. The
        expectations of all other tests stay as they were."""
        if file.suffix == ".cpp":
            return [file]
        own = ROOT / "tests/unit" / f"{file.stem}_test.cpp"
        units = [unit for unit in self.commands if unit == own or "quinmark_core.dir" in self.output(unit)]
        return [unit for unit, seen in zip(units, pool.map(self.headers, units)) if str(file) in seen]

    def headers(self, unit):
        command = list(self.commands[unit])
        command[command.index("-o") + 1] = "-"
        return subprocess.run([*command, "-MM"], cwd=self.folder, check=True, text=True,
                              stdout=subprocess.PIPE).stdout.split()


def related_suites():
    """The suites of the test files that see the decision code: the likeliest to notice, so they go first."""
    suites = set()
    for file in (ROOT / "tests/unit").glob("*_test.cpp"):
        text = file.read_text()
        if re.search(r'#include "(replication|conflicts)/|support/ReplicationFixture', text):
            suites.update(re.findall(r"\bTEST(?:_F)?\((\w+),", text))
            suites.update(f"*/{name}" for name in re.findall(r"\bTEST_P\((\w+),", text))
    return sorted(suites)


class Worker:
    """One mutant at a time, in folders and a Wine prefix of its own."""

    def __init__(self, build, number):
        self.build = build
        self.folder = build.folder / "mutants" / str(number)
        self.sources = self.folder / "src"
        self.program = self.folder / "unit_tests.exe"
        self.environment = dict(os.environ, WINEPREFIX=str(self.folder / "wine"))
        self.folder.mkdir(parents=True, exist_ok=True)
        if not (self.folder / "wine").exists():
            shutil.copytree(os.environ["WINEPREFIX"], self.folder / "wine", symlinks=True)
        self.run("wineserver", "-p")
        self.run("wine", "cmd", "/c", "exit")

    def run(self, *command, seconds=None):
        """Whether it went well."""
        try:
            return subprocess.run(command, env=self.environment, cwd=self.folder, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=seconds,
                                  check=False).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def test(self, suites):
        return self.run("wine", str(self.program), "--gtest_fail_fast", "--gtest_brief=1",
                        f"--gtest_filter={':'.join(f'{suite}.*' for suite in suites)}", seconds=TEST_SECONDS)

    def compile(self, unit, output):
        """Compiles a unit as the build does, but quickly, without complaints and from this worker's sources. Returns
        the compiler's complaint, or None.
        """
        command = [part.replace(str(SOURCES), str(self.sources)) for part in self.build.commands[unit]]
        command[command.index("-o") + 1] = str(output)
        done = subprocess.run([*command, "-O0", "-w"], cwd=self.build.folder, text=True, stderr=subprocess.PIPE,
                              check=False)
        return done.stderr if done.returncode != 0 else None

    def build_with(self, units, mutant):
        """None, or what the compiler said."""
        shutil.rmtree(self.sources, ignore_errors=True)
        shutil.copytree(SOURCES, self.sources, copy_function=os.symlink)
        mutated = self.sources / mutant.file.relative_to(SOURCES)
        mutated.unlink()
        mutated.write_text(mutant.text())
        link = [part for part in self.build.link if not part.startswith("-Wl,--out-implib")]
        link[link.index("-o") + 1] = str(self.program)
        for unit in units:
            output, original = self.folder / f"{unit.name}.obj", self.build.output(unit)
            complaint = self.compile(unit, output)
            if complaint is not None:
                return complaint
            link[1:1] = [str(output)]
            if original in link:
                link.remove(original)
        subprocess.run([*link, "-Wl,-s"], cwd=self.build.folder, check=True)
        return None

    def passes_unchanged(self):
        shutil.copy(self.build.folder / "unit_tests.exe", self.program)
        return self.test(["*"])

    def judge(self, mutant, units, suites):
        complaint = self.build_with(units, mutant)
        if complaint is not None:
            return "killed" if "static assertion failed" in complaint else "invalid"
        return "alive" if self.test(suites) and self.test(["*"]) else "killed"


def judge_all(build, mutants, jobs):
    """The verdicts by mutant; None when the unit tests fail without any."""
    suites = related_suites()
    workers, free = [Worker(build, number) for number in range(jobs)], queue.SimpleQueue()
    for worker in workers:
        free.put(worker)

    def judge(mutant):
        worker = free.get()
        try:
            verdict = worker.judge(mutant, units[mutant.file], suites)
        finally:
            free.put(worker)
        print(f"{verdict:8}{mutant}", flush=True)
        return verdict

    try:
        if not workers[0].passes_unchanged():
            return None
        with ThreadPoolExecutor(jobs) as pool:
            units = {file: build.dependents(file, pool) for file in {mutant.file for mutant in mutants}}
            return dict(zip(mutants, pool.map(judge, mutants)))
    finally:
        for worker in workers:
            worker.run("wineserver", "-k")


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    arguments.add_argument("build", type=Path)
    arguments.add_argument("--count", type=int, default=0, help="so many, drawn by the seed; all of them unless told")
    arguments.add_argument("--seed", type=int, default=1)
    arguments.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    arguments.add_argument("--only", default="", help="those whose FILE:LINE begins with this")
    arguments.add_argument("--list", action="store_true", help="tell which, and change nothing")
    options = arguments.parse_args()
    mutants = [mutant for mutant in all_mutants() if str(mutant).startswith(options.only)]
    random.Random(options.seed).shuffle(mutants)
    mutants = mutants[:options.count or None]
    print(f"seed {options.seed}: {len(mutants)} mutants", flush=True)
    if options.list:
        print(*sorted(mutants, key=str), sep="\n")
        return 0
    verdicts = judge_all(Build(options.build), mutants, options.jobs)
    if verdicts is None:
        print("the unit tests fail without any mutation")
        return 2
    counts = Counter(verdicts.values())
    tried = counts["alive"] + counts["killed"]
    print(f"not a program: {counts['invalid']}; killed: {counts['killed']}")
    print(*sorted(f"alive: {mutant}" for mutant, verdict in verdicts.items() if verdict == "alive"), sep="\n")
    print(f"tried mutants: {tried}, found: {counts['alive']}")
    return 0 if counts["alive"] <= LIVING_ALLOWED * tried else 1


if __name__ == "__main__":
    sys.exit(main())
