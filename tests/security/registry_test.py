"""Registration writes the classes of the machine and nothing else: no files, and no settings of the user. Other tests
create the registered class; those of the package see that removal leaves nothing.
"""

import re
import shutil
import unittest

from practice import BINARIES, main
from wine_prefix import Prefix

CLASSES = r"Software\Classes" + "\\"
# With blanks and foreign letters.
FOLDER = "Praxis Müller Łódź"
ENTRY, TYPES = "{79586827-05E1-4F56-8EB0-EA73BFA5E163}", "{9B1D537E-7D6C-4723-8D46-F708D8D5F33C}"
VERSION = rf"Typelib\{TYPES}\3.2e"
WRITTEN = {
    rf"CLSID\{ENTRY}": ['@="QuinmarkRepDLL.Factory"'],
    rf"CLSID\{ENTRY}\InprocServer32": [rf'@="C:\{FOLDER}\QuinmarkRepDLL.dll"', '"ThreadingModel"="Apartment"'],
    rf"CLSID\{ENTRY}\ProgID": ['@="QuinmarkRepDLL.Factory"'],
    rf"CLSID\{ENTRY}\TypeLib": [f'@="{TYPES}"'],
    r"Interface\{0CCCC1CB-870D-424E-AE26-DA2F1294AC8C}": ['@="_Factory"'],
    r"Interface\{4D650EE4-4645-4F84-AC7B-7E65553FC228}": ['@="_clsConflictData"'],
    r"Interface\{5A3809E2-B90D-4F44-91AD-9B31E6C69B20}": ['@="_Collection"'],
    r"Interface\{8AEC4479-5C30-4C44-8AA0-C4BC9FF98DD8}": ['@="_clsReplicateTable"'],
    r"Interface\{A8A3C2C2-106F-4AE3-A6E3-6813FAD93ACD}": ['@="_clsConflict"'],
    r"Interface\{F7252DBA-7FED-40E1-B1FE-51D4CB7F8B3D}": ['@="_clsReplicate"'],
    "QuinmarkRepDLL.Factory": ['@="QuinmarkRepDLL.Factory"'],
    r"QuinmarkRepDLL.Factory\CLSID": [f'@="{ENTRY}"'],
    VERSION: ['@="Quinmark replication of practice databases"'],
    rf"{VERSION}\0\win32": [rf'@="C:\{FOLDER}\QuinmarkRepDLL.dll"'],
    rf"{VERSION}\FLAGS": ['@="8"'],
    rf"{VERSION}\HELPDIR": [rf'@="C:\{FOLDER}"'],
}


def registry(file):
    """The lines of values by their keys; the times of the keys are left out."""
    text = file.read_text(encoding="utf-8", errors="replace").replace("\\\\", "\\")
    text = re.sub(r"\\x([0-9a-f]{1,4})", lambda code: chr(int(code[1], 16)), text)
    keys = {}
    for block in text.split("\n[")[1:]:
        head, *lines = block.splitlines()
        keys[head.rpartition("]")[0]] = [line for line in lines if line and not line.startswith("#")]
    return keys


def files(folder):
    return {str(file): file.lstat().st_mtime_ns for file in folder.rglob("*") if not file.is_dir()}


class Registration(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = Prefix()
        cls.addClassCleanup(cls.prefix.close)
        library = cls.prefix.path / "drive_c" / FOLDER / "QuinmarkRepDLL.dll"
        library.parent.mkdir()
        shutil.copy2(BINARIES / library.name, library)
        # Removes the classes that are registered for the other tests.
        cls.prefix.run("wine", "regsvr32", "/s", "/u", library.name, cwd=BINARIES)
        idle = cls.state()
        cls.prefix.start()
        cls.before = cls.state()
        # Wine writes down the display's adapters at each start.
        cls.noise = {part: cls.difference(part, idle, cls.before) for part in idle}
        cls.prefix.start()
        cls.prefix.register(library)
        cls.after = cls.state()

    @classmethod
    def state(cls):
        cls.prefix.stop()
        state = {name: registry(cls.prefix.path / f"{name}.reg") for name in ("system", "user", "userdef")}
        state["files"] = files(cls.prefix.path / "drive_c")
        return state

    @staticmethod
    def difference(part, before, after):
        before, after = before[part], after[part]
        return {key for key in before.keys() | after.keys() if before.get(key) != after.get(key)}

    def changed(self, part):
        return sorted(self.difference(part, self.before, self.after) - self.noise[part])

    def test_classes_of_the_machine_are_written_and_nothing_of_the_user_and_no_file(self):
        self.assertLess(len(self.noise["system"]), 10)
        written = {key.removeprefix(CLASSES): self.after["system"].get(key) for key in self.changed("system")}
        # What the platform writes below an interface.
        own = {key: values for key, values in written.items() if not re.search(r"}\\(ProxyStub|TypeLib$)", key)
               or key.startswith("CLSID")}
        self.assertEqual({key: values for key, values in own.items() if values}, WRITTEN)
        self.assertEqual([self.changed(part) for part in ("user", "userdef", "files")], [[], [], []])


if __name__ == "__main__":
    main()
