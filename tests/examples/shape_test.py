"""The example hosts that cannot run here have the shape of the others. Nothing but an argument marks a site ready or
clears a recorded error. The error's text is shown first. A run that recorded something has its own exit status. A run
that failed is recorded, and its error is told also where that fails."""

import dataclasses
import pathlib
import re
import unittest

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"

# Statements of the hosts, and a word for each. The first that fits counts.
STOP = r"Stop(?:With|-Run)?[( ]"
TERMS = [
    (r"factory\.setError\b.*", "record"),
    (r"and it could not be recorded", "unrecorded"),
    (r"The run failed", "failed"),
    (r"[iI]f \(?\$?[rR]eady\b", "if ready"),
    (r"run\.SetReady\b", "SetReady"),
    (r"run\.initNextRun\b", "initNextRun"),
    (r"[iI]f \(?\$?[rR]esetError (?:And|-and) \$?run\.bError", "if reset and error"),
    (r"factory\.resetError\b", "resetError"),
    (r"[iI]f \(?\$?run\.bError", "if error"),
    (r"run\.sErrorMessage", "text"),
    (r"bReady\b", "marked"),
    (STOP + r"4", "stop 4"),
    (r"run\.go\b|\bGoOrRecord\b", "go"),
    (r"[iI]f \(?\$?\w+ (?:=|-eq) 2\b", "if 2"),
    (r"\w+ = 2\b", "status 2"),
    (r"lCntConflict (?:>|-gt) 0|conflicts > 0", "if conflicts"),
    (r"\b(?:NextStep|NEXT_STEP)\b", "next step"),
    (r"\b(?:Get-)?StatusOfRun\b", "status of run"),
]
REPLICATE = ["if ready", "SetReady", "initNextRun", "if reset and error", "text", "resetError", "initNextRun",
             "if error", "stop 4", "text", "next step", "marked", "stop 4", "go", "failed", "status of run"]
RECORD = ["record", "unrecorded"]
STATUS_OF_RUN = ["if error", "status 2", "text", "if conflicts", "status 2", "if 2", "next step"]
# The lines that depend on a condition: (what they hold, what the condition says).
GUARDED = [("SetReady", ["if ready"]), ("resetError", ["if reset and error"])]


@dataclasses.dataclass
class Host:
    """A source, how three routines begin (they make a run, record its failure, tell its status), and everything that
    gives one of the arguments a value."""

    file: str
    replicate: str
    record: str
    status_of_run: str
    values: list

    def read(self):
        return (EXAMPLES / self.file).read_text(encoding="utf-8")


HOSTS = [
    Host("replicate.bas", "Private Function RunTables(", "Private Function GoOrRecord(",
         "Private Function StatusOfRun(",
         ["ready As Boolean = False", "resetError As Boolean = False"]),
    Host("replicate.ps1", "function Invoke-Run(", "function Save-Error(", "function Get-StatusOfRun(",
         ["[switch] $Ready", "[switch] $ResetError"]),
]


def words(text):
    """The words for what a text says, in its order."""
    term = re.compile("|".join(f"({pattern})" for pattern, _ in TERMS))
    return [TERMS[match.lastindex - 1][1] for match in term.finditer(text)]


def indentation(line):
    return len(line) - len(line.lstrip())


def routine(text, begin):
    """The lines after a routine's first that belong to it: they are indented further."""
    _, found, rest = ("\n" + text).partition("\n" + begin)
    body = []
    for line in (found + rest).split("\n")[2:] if found else []:
        if line.strip() not in ("", "{") and indentation(line) <= indentation(begin):
            break
        body.append(line)
    return "\n".join(body)


def condition(text, word):
    """The condition of the line with a word: its own, or that of the block around it."""
    lines = text.split("\n")
    at = next((number for number, line in enumerate(lines) if word in words(line)), None)
    if at is None or words(lines[at])[0].startswith("if"):
        return None if at is None else words(lines[at])[:1]
    outer = at - 1
    while outer > 0 and (lines[outer].strip() in ("", "{") or indentation(lines[outer]) >= indentation(lines[at])):
        outer -= 1
    return words(lines[outer])


def faults(host, text):
    """In what a source has not the shape."""
    body = routine(text, host.replicate)
    values = re.findall(r"\[switch\] \$\w+|\b(?:ready|resetError)(?: As Boolean)? = (?:False|.*)", text)
    looks = [("run", words(body), REPLICATE),
             ("record", [word for word in words(routine(text, host.record)) if word in RECORD], RECORD),
             ("outcome", [word for word in words(routine(text, host.status_of_run)) if word != "status of run"],
              STATUS_OF_RUN),
             ("values", values, host.values)]
    looks += [(f"condition of {word}", condition(body, word), wanted) for word, wanted in GUARDED]
    looks += [(f"calls of {word}", words(text).count(word), 1) for word, _ in GUARDED]
    return [f"{name}: {seen}" for name, seen, wanted in looks if seen != wanted]


# Mistakes that an edit may make in a host, each as a pattern and its replacement.
BREAKS = {
    "marks the site ready always": (r"[iI]f \(?\$?[rR]eady\b(?:\)| Then)?", ""),
    "marks the site ready where no argument says so": (r"([iI]f \(?\$?)[rR]eady\b", r"\1always"),
    "resets at a second place": (r"\Z", "factory.resetError"),
    "marks the site ready at a second place": (r"\Z", "run.SetReady"),
    "resets without the argument": (r"\$?[rR]esetError (?:And|-and) ", ""),
    "resets outside of the branch": (r"( *)    (.*factory\.resetError\b.*)", r"\1\2"),
    "resets unseen": (r".*Clearing the recorded error.*\n", ""),
    "says 0 for an error": (r"(\n.*(?:status|StatusOfRun) = )2", r"\g<1>0"),
    "looks at no conflicts": (r"lCntConflict (>|-gt) 0|conflicts > 0", "false"),
    "runs in spite of an error": (r".*Nothing was run\. Recorded.*\n", ""),
    "is in error with the status of a failure": (r"(" + STOP + r")4", r"\g<1>1"),
    "runs when not ready": (r".*Nothing was run: this site is not ready.*\n", ""),
    "records no failure": (r".*factory\.setError.*\n", ""),
    "tells nothing of a failure": (r"The run failed", ""),
    "tells nothing of a failure that it could not record": (r"and it could not be recorded", ""),
    "says nothing of the next step": (r"(Nothing was run\. Recorded.*)(?:NextStep|NEXT_STEP)", r"\1"),
}


class Shape(unittest.TestCase):
    maxDiff = None

    def test_hosts_have_it(self):
        for host in HOSTS:
            with self.subTest(host.file):
                self.assertEqual(faults(host, host.read()), [])

    def test_a_break_is_found(self):
        for host in HOSTS:
            for name, (pattern, replacement) in BREAKS.items():
                with self.subTest(host.file, name=name):
                    broken = re.sub(pattern, replacement, host.read(), count=1)
                    self.assertTrue(broken != host.read(), "nothing to break")
                    self.assertNotEqual(faults(host, broken), [])

    def test_an_argument_that_is_always_there_is_found(self):
        for host in HOSTS:
            for value in host.values:
                with self.subTest(host.file, value=value):
                    broken = host.read().replace(value, re.sub("= .*", "= 1", value.replace("[switch]", "[bool]")), 1)
                    self.assertNotEqual(faults(host, broken), [])

    def test_program_of_visual_basic_marks_and_resets_by_arguments_alone(self):
        text = (EXAMPLES / "vb6/Program.bas").read_text(encoding="utf-8")
        self.assertEqual(re.findall(r"^ *(.*\b(?:ready|resetError) = .*)", text, re.M),
                         ['Case "--ready": ready = True', 'Case "--reset-error": resetError = True'])
        self.assertEqual(re.findall(r"ReplicateOffice\(.*\)", text),
                         ["ReplicateOffice(names(1), ready:=ready, resetError:=resetError)",
                          "ReplicateOffice(names(1), names(2), names(3), names(4), names(5), ready, resetError)"])


if __name__ == "__main__":
    unittest.main()
