"""The example hosts use nothing but what the type library has, and all that a whole run takes. Projects that bind early
refer to that library."""

import pathlib
import re
import unittest

from type_library import CONSTANTS, DESCRIPTION, ID, MEMBERS, TYPES

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples"
# The hosts in C++ and C# are compiled.
HOSTS = ["replicate.vbs", "replicate.js", "replicate.bas", "replicate.ps1", "replicate.py"]
# The variables of the hosts that hold the component's objects.
OBJECTS = {"factory": "Factory", "run": "clsReplicate", "table": "clsReplicateTable"}
WHOLE_RUN = {
    "factory.init", "factory.ensureReplication", "factory.sErrorMessage", "factory.createReplication",
    "factory.createReplicationTable", "factory.setError", "factory.resetError", "factory.disconnect", "run.SetReady",
    "run.initNextRun", "run.bError", "run.bReady", "run.go", "run.sErrorMessage", "table.sTable", "table.lCntDestAdd",
    "table.lCntDestUpdate", "table.lCntDestDelete", "table.lCntConflict"}


def uses(text):
    return re.findall(r"\b(factory|run|table)\.([A-Za-z_]\w*)", text)


def strangers(text):
    """Everything that the type library does not have, or has with another value."""
    return ([f"{name}.{member}" for name, member in uses(text) if member not in MEMBERS[OBJECTS[name]]] +
            [name for name in re.findall(r"\bQuinmarkRepDLL\.([A-Za-z_]\w*)", text) if name not in TYPES | set(CONSTANTS)] +
            [name for name in re.findall(r"createReplicationTable\(\$?([A-Z_]+)\b", text) if name not in CONSTANTS] +
            [f"{name} = {value}" for name, value in re.findall(r"\b([A-Z_]{2,}) = (\d+)", text)
             if int(value) != CONSTANTS.get(name, int(value))])


class Members(unittest.TestCase):
    def test_hosts_use_what_there_is_and_make_a_whole_run(self):
        for host in HOSTS:
            with self.subTest(host):
                text = (EXAMPLES / host).read_text(encoding="utf-8")
                self.assertEqual([], strangers(text))
                self.assertEqual(set(), WHOLE_RUN - {".".join(use) for use in uses(text)})

    def test_strangers_are_found(self):
        for text, found in [
                ("factory.ensureReplicaton", ["factory.ensureReplicaton"]),
                ("factory.connectDatabases", ["factory.connectDatabases"]),
                ("run.InitNextRun, run.initNextRun", ["run.InitNextRun"]),
                ("table.lCntDestAdded", ["table.lCntDestAdded"]),
                ("Const ONE_WAY = 2: x = QuinmarkRepDLL.TWO_WAY: createReplicationTable(ONE_WAY", []),
                ("Const ONE_WAY = 3", ["ONE_WAY = 3"]),
                ("QuinmarkRepDLL.ONEWAY", ["ONEWAY"]),
                ("createReplicationTable($ONEWAY, ", ["ONEWAY"])]:
            with self.subTest(text):
                self.assertEqual(found, strangers(text))


class Projects(unittest.TestCase):
    """Visual Basic and MSBuild find a type library by its id, and take its version or a later one."""

    def setUp(self):
        self.major, self.minor = (ROOT / "VERSION").read_text(encoding="utf-8").split(".")[:2]

    def test_visual_basic_refers_to_the_library_and_has_its_modules(self):
        project = (EXAMPLES / "vb6/Replicate.vbp").read_text(encoding="utf-8")
        version = f"{int(self.major):x}.{int(self.minor):x}"
        self.assertEqual([f"*\\G{{{ID}}}#{version}#0#..\\..\\QuinmarkRepDLL.dll#{DESCRIPTION}"],
                         re.findall("^Reference=(.*)", project, re.M))
        modules = re.findall("^Module=(.*); (.*)", project, re.M)
        self.assertEqual([f'Attribute VB_Name = "{name}"' for name, _ in modules],
                         [(EXAMPLES / "vb6" / file.replace("\\", "/")).read_text(encoding="utf-8").split("\n")[0]
                          for _, file in modules])

    def test_visual_basic_gets_the_line_ends_that_it_reads(self):
        for file in [*EXAMPLES.rglob("*.bas"), *EXAMPLES.rglob("*.vbp")]:
            with self.subTest(file.name):
                self.assertEqual([], re.findall(rb"[^\r]\n", file.read_bytes()))

    def test_csharp_refers_to_the_library(self):
        reference = re.search(r'<COMReference Include="QuinmarkRepDLL">(.*?)</COMReference>',
                              (EXAMPLES / "csharp/replicate.csproj").read_text(encoding="utf-8"), re.S)[1]
        for name, value in [("Guid", f"{{{ID}}}"), ("VersionMajor", self.major), ("VersionMinor", self.minor)]:
            self.assertIn(f"<{name}>{value}</{name}>", reference)


if __name__ == "__main__":
    unittest.main()
