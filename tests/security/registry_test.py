"""Registration writes classes of the machine and nothing else: no files, and no settings of the user."""

import unittest

from practice import BINARIES, main
from wine_prefix import Prefix

CLASSES = r"Software\\Classes\\"
KINDS = ("CLSID", "Interface", "Typelib", "QuinmarkRepDLL.")


def registry(file):
    """The lines of values by their keys; the times of the keys are left out."""
    keys = {}
    for block in file.read_text(encoding="utf-8", errors="replace").split("\n[")[1:]:
        head, *lines = block.splitlines()
        keys[head.rpartition("]")[0]] = [line for line in lines if line and not line.startswith("#time=")]
    return keys


def files(folder):
    return {str(file): file.lstat().st_mtime_ns for file in folder.rglob("*") if not file.is_dir()}


class Registration(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = Prefix()
        # Removes the classes that are registered for the other tests.
        cls.prefix.run("wine", "regsvr32", "/s", "/u", "QuinmarkRepDLL.dll", cwd=BINARIES)
        idle = cls.state()
        cls.prefix.start()
        cls.before = cls.state()
        # Wine writes down the display's adapters at each start.
        cls.noise = {part: cls.difference(part, idle, cls.before) for part in idle}
        cls.prefix.start()
        cls.prefix.register(BINARIES / "QuinmarkRepDLL.dll")
        cls.after = cls.state()

    @classmethod
    def state(cls):
        cls.prefix.stop()
        state = {name: registry(cls.prefix.path / f"{name}.reg") for name in ("system", "user", "userdef")}
        state["files"] = files(cls.prefix.path / "drive_c")
        return state

    @classmethod
    def tearDownClass(cls):
        cls.prefix.close()

    @staticmethod
    def difference(part, before, after):
        before, after = before[part], after[part]
        return {key for key in before.keys() | after.keys() if before.get(key) != after.get(key)}

    def changed(self, part):
        return sorted(self.difference(part, self.before, self.after) - self.noise[part])

    def test_only_classes_of_the_machine_are_written(self):
        written = self.changed("system")
        self.assertGreater(len(written), 10)
        self.assertLess(len(self.noise["system"]), 10)
        for key in written:
            self.assertTrue(key.startswith(CLASSES), key)
            self.assertTrue(key[len(CLASSES):].startswith(KINDS), key)
            self.assertNotIn(key, self.before["system"])

    def test_nothing_of_the_user_is_written(self):
        self.assertEqual(self.changed("user"), [])
        self.assertEqual(self.changed("userdef"), [])

    def test_no_file_is_written(self):
        self.assertEqual(self.changed("files"), [])


if __name__ == "__main__":
    main()
