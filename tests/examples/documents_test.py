"""Everything that the documents name exists: quinrep's commands and options, its configuration, scripts and files, and
the constants and members of the component. The programs or their sources tell what exists."""

import functools
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from type_library import CONSTANTS, MEMBERS, WORDS

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = [*sorted((ROOT / "docs").glob("*.md")), ROOT / "README.md", ROOT / "database/README.md"]
SOURCES = ["bench", "cmake", "database", "examples", "host", "packaging", "scripts", "src", "tests", "wine"]
# Names of Windows and of SQL Server that nothing here has to mention.
PLATFORM = {"ACCEPT_EULA", "CLSCTX_LOCAL_SERVER", "HKEY_LOCAL_MACHINE", "MSSQL_SA_PASSWORD", "QUOTED_IDENTIFIER"}
STRANGER = "no_such_name"
QUINREP = os.environ["QUINREP"]


def quinrep(*arguments, folder=ROOT):
    return subprocess.run(["wine", QUINREP, *arguments], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=60).stdout


class Command:
    """A command of quinrep with its options and the commands below it, as its --help tells them."""

    def __init__(self, *path):
        text = quinrep(*path, "--help")
        entries = re.findall(r"^  (-\S+)( [A-Z])?", text, re.M)
        # Whether an option takes a value, by each of its names.
        self.options = {name: bool(value) for names, value in entries for name in names.split(",")}
        listed = re.search(r"\n(?:Subc|C)ommands:(.*)", text, re.S)
        below = re.findall(r"^  ([a-z]\S*)", listed[1] if listed else "", re.M)
        self.commands = {name: Command(*path, name) for name in below}

    def all_options(self):
        return set(self.options).union(*(below.all_options() for below in self.commands.values()))


@functools.cache
def commands():
    return Command()


@functools.cache
def source_text():
    """All that was written by hand, but for the documents and this file."""
    files = [file for folder in SOURCES for file in (ROOT / folder).rglob("*")
             if file.is_file() and file.suffix not in (".md", ".pyc") and file != pathlib.Path(__file__).resolve()]
    return "\n".join(file.read_text(encoding="utf-8", errors="replace") for file in files)


def has(word, text):
    return re.search(rf"(?<![\w-]){word}(?![\w-])", text) is not None


def code(text):
    """The lines of code blocks without the explanations that follow two blanks, and the texts between back quotes."""
    fences = re.findall(r"^```.*?^```", text, re.M | re.S)
    lines = [line for fence in fences for line in fence.splitlines()] + re.findall(r"^ {4}.*$", text, re.M)
    spans = re.findall(r"`([^`\n]+)`", re.sub(r"^```.*?^```", "", text, flags=re.M | re.S))
    return [re.split(r" {2,}", line.strip())[0] for line in lines] + spans


def strange_words(words):
    """The words of a command line that quinrep would refuse."""
    path = [commands()]
    words = iter(words)
    for word in words:
        name = word.partition("=")[0]
        option = next((known.options[name] for known in path if name in known.options), None)
        if name.startswith("-"):
            if option is None:
                yield name
            elif option and "=" not in word:
                next(words, None)
        elif word in path[-1].commands:
            path.append(path[-1].commands[word])
        elif path[-1].commands:
            if word.isupper():
                return  # a place holder
            yield word


def strange_commands(text):
    for line in code(text):
        called = re.search(r'(?<![\w`-])quinrep(?:\.exe|\.sh)?(?:\\?")? +([^|>"^]+)', line)
        words = (called[1] if called else line).split()
        if called or (words and words[0] in commands().commands and any(word.startswith("-") for word in words)):
            yield from (f"{line}: {word}" for word in strange_words(words))


def strange_options(text):
    for option in set(re.findall(r"(?<![\w-])--[a-z][\w-]*", text)):
        if option not in commands().all_options() and not has(option, source_text()):
            yield option
    for name, rest in re.findall(r"(?<![\w-])([\w-]+\.sh)\b([^\n`|]*)", text):
        script = ROOT / "scripts" / name
        if script.is_file() and name != "quinrep.sh":
            given = re.findall(r"(?<!\S)--[a-z][\w-]*", re.split(r" {2,}", rest)[0])
            yield from (f"{name} {option}" for option in given if not has(option, script.read_text(encoding="utf-8")))


def strange_files(text):
    for path in re.findall(rf"(?<![\w/.-])(?:{'|'.join(SOURCES)}|docs)/[\w./-]*[\w/]", text):
        if not (ROOT / path).exists():
            yield path


def strange_names(text):
    first_words = {name.partition("_")[0] for name in CONSTANTS if "_" in name}
    for name in set(re.findall(r"\b[A-Z][A-Z0-9]+(?:_\w+)+", text)) - PLATFORM:
        if name not in CONSTANTS and (name.partition("_")[0] in first_words or not has(name, source_text())):
            yield name
    owners = {"factory": "Factory", "run": "clsReplicate"} | {name: name for name in MEMBERS}
    for owner, member in re.findall(rf"(?<![\w/.])({'|'.join(owners)})\.(\w+)", text):
        if member not in MEMBERS[owners[owner]] | {"h", "cpp"} and f"{owner}.{member}" not in source_text():
            yield f"{owner}.{member}"
    for owner, section in re.findall(r"^## (\w+)\n(.*?)(?=^## |\Z)", text, re.M | re.S):
        cells = re.sub(r"\(.*?\)", "", " ".join(re.findall(r"^\| *(`[^|]*)\|", section, re.M)))
        yield from (f"{owner}: {name}" for name in re.findall(r"`(\w+)", cells)
                    if name not in WORDS.get(owner, {name}))


@functools.cache
def messages():
    """The texts in quinrep's sources, with those that the compiler joins in one."""
    literal = re.compile(r"""//[^\n]*|'(?:[^'\\\n]|\\.){1,4}'|R"(\w*)\((.*?)\)\1"|((?:"(?:[^"\\\n]|\\.)*"\s*)+)""", re.S)
    texts = []
    for file in sorted((ROOT / "host").rglob("*")):
        if file.suffix in (".cpp", ".h"):
            for _, raw, parts in literal.findall(re.sub(r"^ *#include.*", "", file.read_text(encoding="utf-8"), flags=re.M)):
                texts.append(raw or "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', parts)).replace('\\"', '"'))
    return texts


@functools.cache
def headings():
    """The headings of each document, by its title: its page has no other name for a reader."""
    found = [re.findall(r"^#+ (.*)", re.sub(r"^```.*?^```", "", file.read_text(encoding="utf-8"), flags=re.M | re.S), re.M)
             for file in DOCUMENTS]
    return {title: set(below) for title, *below in found}


def strange_documents(text):
    """The documents, and sections of them, that a message names and that do not exist; and files, since the reader has
    none of these names."""
    for title, section in re.findall(r'the document "([^"]+)"(?:, "([^"]+)")?', text):
        if title not in headings() or section not in headings()[title] | {""}:
            yield f"{title}, {section}" if section else title
    yield from re.findall(r"[\w/-]+\.md\b", text)


def mistakes(configuration):
    """The message of quinrep about a configuration that it cannot use, which it reads before anything else."""
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "quinrep.toml").write_text(configuration, encoding="utf-8")
        return quinrep("check", folder=folder)


def configuration_names():
    """The names that the configuration may have, and the words that may be their values."""
    wrong = "".join(f"{name} = []\n" for name in ("site", "local", STRANGER))
    wrong += "".join(f"[{section}]\n{STRANGER} = []\n" for section in ("source", "log", "hooks"))
    wrong += f"[run]\non_conflicts = []\n{STRANGER} = []\n"
    wrong += f"[[table]]\nmethod = []\n{STRANGER} = []\n[[table]]\nmethod = 'by_key'\ndeletes = []\n"
    text = mistakes(wrong)
    return {word.strip('"') for listed in re.findall(r"expected one of (.*)", text) for word in listed.split(", ")}


# A rule's action, as the cells of docs/replication.md begin that tell it.
ACTIONS = {"LeavesIt": ("none", "no"), "OverwritesDestination": ("update the destination",),
           "InsertsIntoDestination": ("insert into the destination",),
           "DeletesAtDestination": ("delete in the destination",), "OverwritesSource": ("update the source",),
           "InsertsIntoSource": ("insert into the source",), "Fails": ("the table fails",), "Unknown": ("then as below",)}


def told_rules():
    """What quinrep says of each rule: its action, words, kind of conflict, and whether a message box opens."""
    source = (ROOT / "host/RowRule.cpp").read_text(encoding="utf-8")
    entries = re.findall(r'RuleEntry\{\s*\w+, "(\w+)", (\w+),\s*((?:"(?:[^"\\]|\\.)*"\s*)+)(?:,\s*(\w+)(, true)?)?\}', source)
    return {name: (action, re.sub(r'"\s*"', "", words), kind, bool(box)) for name, action, words, kind, box in entries}


def documented_rules():
    """The cells of each rule in docs/replication.md."""
    text = (ROOT / "docs/replication.md").read_text(encoding="utf-8")
    rows = re.findall(r"^\| ([A-Z]\d+) \| (.*) \|$", text, re.M)
    return {name: [cell.strip() for cell in cells.split("|")] for name, cells in rows}


class RulesTest(unittest.TestCase):
    """`quinrep explain` names rows of docs/replication.md, and says what they say."""

    def test_every_rule_is_documented(self):
        # K1 and K2 tell of no row; F1 is no row of a table.
        self.assertEqual(set(documented_rules()) - {"K1", "K2"}, set(told_rules()) - {"F1"})
        self.assertIn("Rule F1", (ROOT / "docs/replication.md").read_text(encoding="utf-8"))

    def test_rules_say_what_is_documented(self):
        for name, (action, words, kind, box) in told_rules().items():
            if name == "F1":
                continue
            cells = documented_rules()[name]
            with self.subTest(name):
                told = (f"`{kind}`",) if action == "ReportsIt" else ACTIONS[action]
                self.assertTrue(any(cell.startswith(told) for cell in cells), told)
                self.assertEqual(box, any(cell.startswith('"') for cell in cells) and name.startswith("T"))
                for place, site in (("the offices", "`OFFICES`"), ("a laptop", "`LAPTOP`")):
                    self.assertEqual(site in cells, place in words)
                self.assertEqual(any(cell.startswith("before") for cell in cells), "unchanged since" in words)
                self.assertEqual("conflict, error" in cells, "a conflict and an error" in words)


class DocumentsTest(unittest.TestCase):
    def test_documents_name_what_exists(self):
        for document in DOCUMENTS:
            text = document.read_text(encoding="utf-8")
            for look in (strange_commands, strange_options, strange_files, strange_names):
                with self.subTest(document=document.name, look=look.__name__):
                    self.assertEqual([], sorted(set(look(text))))

    def test_configuration_is_described_as_it_is_read(self):
        text = (ROOT / "docs/quinrep.md").read_text(encoding="utf-8")
        section = re.search(r"^## Configuration$(.*?)^## ", text, re.M | re.S)[1]
        self.assertEqual(configuration_names(), set(re.findall(r'`["[]*([a-z_]+)["\]]*`', section)))

    def test_configuration_to_start_from_has_no_other_mistake_than_the_one_made(self):
        with tempfile.TemporaryDirectory() as folder:
            quinrep("init", folder=folder)
            template = (pathlib.Path(folder) / "quinrep.toml").read_text(encoding="utf-8")
        self.assertEqual([STRANGER], re.findall(r"line \d+, column \d+: (\S+)", mistakes(f"{STRANGER} = 1\n" + template)))

    def test_messages_name_documents_that_exist(self):
        named = [text for text in messages() if "the document " in text]
        self.assertGreater(len(named), 10)
        self.assertTrue(any("Grant the login" in text for text in named))
        self.assertEqual([], sorted(stranger for text in messages() for stranger in strange_documents(text)))

    def test_strangers_are_found(self):
        for look, text, found in [
                (strange_commands, "`run --peview`", ["run --peview: --peview"]),
                (strange_commands, "    quinrep -c FILE statsu   what it is\n", ["quinrep -c FILE statsu: statsu"]),
                (strange_commands, "`quinrep conflicts resolve {ID} --use source --json`", []),
                (strange_options, "with `--redy` it", ["--redy"]),
                (strange_options, "`scripts/demo.sh --count A`", ["demo.sh --count"]),
                (strange_options, "`scripts/test.sh --sqlserver A`", []),
                (strange_documents, 'see the document "On SQL Server", "5. Prefixes"', []),
                (strange_documents, 'see the document "On SQL Server", "Prefixes"', ["On SQL Server, Prefixes"]),
                (strange_documents, '(the document "On Windows")', ["On Windows"]),
                (strange_documents, "(docs/sql-server.md)", ["docs/sql-server.md"]),
                (strange_files, "`scripts/tset.sh` and `tests/unit`", ["scripts/tset.sh"]),
                (strange_names, "`USE_SORCE`, `USE_SOURCE`", ["USE_SORCE"]),
                (strange_names, "`Factory.inti`, `run.bReady`", ["Factory.inti"]),
                (strange_names, "## clsConflict\n\n| `edit` | x |\n| `vGiud` (read) | |\n", ["clsConflict: vGiud"])]:
            with self.subTest(text=text):
                self.assertEqual(found, list(look(text)))


if __name__ == "__main__":
    unittest.main()
