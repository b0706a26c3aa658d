"""Changes one operator, constant or text of the decision code at a time and tells which changes no unit test notices.

    mutate.py BUILD [--count N] [--seed S] [--only FILE:LINE] [--list]

BUILD is a configured build with a finished unit_tests.exe. Runs in the environment of scripts/mutate.sh, which is how
to call it. A mutated file is compiled into BUILD/mutants and linked in front of the core library, so that the working
copy stays as it is. Exit status: 0 few enough live, 1 too many live, 2 the unit tests fail without any mutation.
"""
import argparse
import functools
import json
import os
import random
import re
import shutil
import subprocess
import sys
import threading
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDERS = ("replication", "conflicts")
LIVING_ALLOWED = 0.05
TEST_SECONDS = 240

TOKEN = re.compile(r"""
    (?P<skip> //[^\n]* | /\*.*?\*/ | ^\s*\#[^\n]* | static_assert[^;]*; | '(?:\\.|[^'])' )
  | (?P<text> L?"(?:\\.|[^"\\])*" )
  | (?P<enumerator> \b(?:ResolutionStep|CommonRow|SourceOnlyRow|DestinationOnlyRow|TwoWayRow|Modified|Site)::\w+
      | \bLOG_(?:DEBUG|STAT|WARN)\b | \b(?:CHANGED_ON_BOTH|NEW_ON_source|NEW_ON_DEST|CHANGED_ON_DEST|DELETED_ON_SOURCE)\b
      | \b(?:OFFICES|LAPTOP|ONLY_DELETES|DELETE_WITH_UPDATES|UNKNOWN)\b | \b(?:kLocal|kSource|kDestination)\b(?!\w|\[)
      | \bgetConn(?:Source|Dest)\b | \bs(?:Source|Destination)DB\b )
  | (?P<number> \b\d+L?\b )
  | (?P<boolean> \b(?:true|false)\b )
  | (?P<binary> \ (?:==|!=|<=|>=|<|>|&&|\|\||\+|-)\  )
  | (?P<unary> \+\+ | !(?=[\w(]) | (?<=[(\s])-(?=[\w(]) )
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

BINARY = {"==": ["!="], "!=": ["=="], "<": ["<=", ">"], "<=": ["<", ">"], ">": [">=", "<"], ">=": [">", "<"],
          "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"]}
FAMILIES = [
    ["ResolutionStep::Keep", "ResolutionStep::CopyFromSource", "ResolutionStep::DeleteAtDestination",
     "ResolutionStep::AcceptDestination", "ResolutionStep::RefuseToReplicateBack", "ResolutionStep::RefuseUnknown"],
    ["CommonRow::Leave", "CommonRow::Update", "CommonRow::ReportChangedOnBoth",
     "CommonRow::ReportChangedOnDestination"],
    ["SourceOnlyRow::Insert", "SourceOnlyRow::Leave", "SourceOnlyRow::ReportDeletedInDestination"],
    ["DestinationOnlyRow::Leave", "DestinationOnlyRow::Delete", "DestinationOnlyRow::ReportNew",
     "DestinationOnlyRow::ReportNewOrDeletedFromSource", "DestinationOnlyRow::ReportDeletedFromSource"],
    ["TwoWayRow::Leave", "TwoWayRow::UpdateDestination", "TwoWayRow::UpdateSource"],
    ["Modified::BeforeLastRun", "Modified::SinceLastRun"],
    ["Site::Offices", "Site::Laptop"],
    ["LOG_DEBUG", "LOG_STAT", "LOG_WARN"],
    ["CHANGED_ON_BOTH", "NEW_ON_source", "NEW_ON_DEST", "CHANGED_ON_DEST", "DELETED_ON_SOURCE"],
    ["OFFICES", "LAPTOP"],
    ["ONLY_DELETES", "DELETE_WITH_UPDATES"],
    ["UNKNOWN", "ONLY_DELETES"],
    ["kLocal", "kSource", "kDestination"],
    ["getConnSource", "getConnDest"],
    ["sSourceDB", "sDestinationDB"],
]


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


def replacements(kind, token):
    if kind == "text":
        return [token[:-1] + 'x"']
    if kind == "enumerator":
        for family in FAMILIES:
            if token in family:
                return [family[(family.index(token) + 1) % len(family)]]
    if kind == "number":
        return [str(int(token.rstrip("L")) + 1)]
    if kind == "boolean":
        return ["false" if token == "true" else "true"]
    if kind == "binary":
        return [f" {other} " for other in BINARY[token.strip()]]
    return {"++": ["--"], "!": [""], "-": [""]}.get(token, [])


def joins_text(source, match):
    """Whether the statement around the match is about text, from which nothing can be subtracted."""
    ends = [source.find(end, match.end()) for end in ";{}"]
    begin = max(source.rfind(end, 0, match.start()) for end in ";{}")
    return '"' in source[begin:min(end for end in ends if end >= 0)]


def mutants_of(file):
    source = file.read_text()
    found = []
    for match in TOKEN.finditer(source):
        kind = match.lastgroup
        if kind == "skip" or (match.group() == " + " and joins_text(source, match)):
            continue
        line = source.count("\n", 0, match.start()) + 1
        found += [Mutant(file, match.start(), match.end(), other, line, match.group())
                  for other in replacements(kind, match.group())]
    return found


def all_mutants():
    files = sorted(path for folder in FOLDERS for path in (ROOT / "src" / folder).glob("*.*"))
    return [mutant for file in files for mutant in mutants_of(file)]


# Most of what compiling a file of the component takes are these.
COMMON_HEADERS = ("comdef.h", "comutil.h", "wrl/client.h", "algorithm", "array", "chrono", "functional", "map", "memory",
                  "string", "vector")


class Build:
    def __init__(self, folder):
        self.folder = folder.resolve()
        self.mutants = self.folder / "mutants"
        self.mutants.mkdir(exist_ok=True)
        entries = json.loads((self.folder / "compile_commands.json").read_text())
        self.commands = {Path(entry["file"]): entry["command"].split() for entry in entries
                         if entry["file"].endswith(".cpp")}
        last = self.ninja("-t", "commands", "unit_tests.exe").strip().splitlines()[-1]
        self.link = last.removeprefix(": && ").removesuffix(" && :").split()

    def command(self, unit, source, output, *options):
        """How to compile `source` as `unit` is compiled, but for speed and without complaints."""
        command = [part for part in self.commands[unit] if part != "-Werror" and not part.endswith("ccache")]
        command[command.index("-o") + 1] = str(output)
        command[command.index("-c") + 1] = str(source)
        return [command[0], *options, *command[1:], "-O0", "-w"]

    def precompile(self):
        header = self.mutants / "common.h"
        header.write_text("".join(f"#include <{name}>\n" for name in COMMON_HEADERS))
        unit = ROOT / "src/replication/OneWay.cpp"
        command = self.command(unit, header, f"{header}.gch")
        command[command.index("-c"):command.index("-c")] = ["-x", "c++-header"]
        subprocess.run(command, cwd=self.folder, check=True)

    def ninja(self, *arguments):
        return subprocess.run(["ninja", *arguments], cwd=self.folder, check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def dependents(self, file):
        """What to compile anew: the file, or a header's users in the core, and the header's own test. The expectations
        of all other tests stay as they were."""
        if file.suffix == ".cpp":
            return [file]
        own = ROOT / "tests/unit" / f"{file.stem}_test.cpp"
        found = [unit for unit, command in self.commands.items()
                 if str(file) in self.seen.get(command[command.index("-o") + 1], ())
                 and (unit == own or "quinmark_core.dir" in command[command.index("-o") + 1])]
        assert found, file
        return found

    @functools.cached_property
    def seen(self):
        """The files each object was compiled from; a compiler cache records them relative to the build."""
        seen, output = {}, ""
        for line in self.ninja("-t", "deps").splitlines():
            if line.startswith(" "):
                seen[output].add(os.path.normpath(self.folder / line.strip()))
            elif line:
                output = line.split(":")[0]
                seen[output] = set()
        return seen


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
        self.folder = build.mutants / str(number)
        self.program = self.folder / "unit_tests.exe"
        self.folder.mkdir(parents=True, exist_ok=True)
        self.environment = dict(os.environ, WINEPREFIX=str(self.folder / "wine"))
        if not (self.folder / "wine").exists():
            shutil.copytree(os.environ["WINEPREFIX"], self.folder / "wine", symlinks=True)
        self.server("-p")
        subprocess.run(["wine", "cmd", "/c", "exit"], env=self.environment, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)

    def server(self, option):
        subprocess.run(["wineserver", option], env=self.environment, check=True, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def compile(self, unit, mutated):
        output = self.folder / (unit.name + ".obj")
        command = self.build.command(unit, mutated if mutated.suffix == ".cpp" else unit, output,
                                     f"-I{self.folder / 'src'}", "-include", str(self.build.mutants / "common.h"))
        result = subprocess.run(command, cwd=self.build.folder, text=True, stderr=subprocess.PIPE, check=False)
        return output if result.returncode == 0 else result.stderr

    def test(self, suites):
        filter_file = ":".join(f"{suite}.*" for suite in suites)
        try:
            return subprocess.run(["wine", str(self.program), "--gtest_fail_fast", "--gtest_brief=1",
                                   f"--gtest_filter={filter_file}"], env=self.environment, cwd=self.folder,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  timeout=TEST_SECONDS, check=False).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def build_with(self, units, mutated):
        """None, or what the compiler said."""
        shutil.rmtree(self.folder / "src", ignore_errors=True)
        target = self.folder / "src" / mutated.file.relative_to(ROOT / "src")
        target.parent.mkdir(parents=True)
        target.write_text(mutated.text())
        link = list(self.build.link)
        link[link.index("-o") + 1] = str(self.program)
        for unit in units:
            output = self.compile(unit, target)
            if isinstance(output, str):
                return output
            original = self.build.commands[unit][self.build.commands[unit].index("-o") + 1]
            if original in link:
                link[link.index(original)] = str(output)
            else:
                link.insert(link.index("-static"), str(output))
        link = [part for part in link if not part.startswith("-Wl,--out-implib")]
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
    suites = related_suites()
    build.precompile()
    units = {file: build.dependents(file) for file in {mutant.file for mutant in mutants}}
    workers = [Worker(build, number) for number in range(jobs)]
    free, lock, verdicts = list(workers), threading.Lock(), {}

    def judge(mutant):
        with lock:
            worker = free.pop()
        try:
            verdicts[mutant] = worker.judge(mutant, units[mutant.file], suites)
        finally:
            free.append(worker)
        print(f"{verdicts[mutant]:8}{mutant}", flush=True)

    try:
        if not workers[0].passes_unchanged():
            return {}
        with ThreadPoolExecutor(jobs) as pool:
            for done in [pool.submit(judge, mutant) for mutant in mutants]:
                done.result()
    finally:
        for worker in workers:
            worker.server("-k")
    return verdicts


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
    if not verdicts:
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
