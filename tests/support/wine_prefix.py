"""A Wine prefix for one test alone."""

import os
import pathlib
import shutil
import subprocess
import tempfile


class Prefix:
    """A copy of the prefix of the tests; it shares the files, which nobody changes, and not the registry."""

    def __init__(self):
        original = pathlib.Path(os.environ["WINEPREFIX"])
        self._folder = tempfile.TemporaryDirectory(prefix="wine-own-", dir=original.parent)
        self.path = pathlib.Path(self._folder.name)
        shutil.copytree(original / "drive_c", self.path / "drive_c", symlinks=True, copy_function=os.link,
                        ignore=lambda folder, names: names if folder.lower().endswith("temp") else [])
        for file in [*original.glob("*.reg"), original / ".update-timestamp"]:
            shutil.copy2(file, self.path)
        shutil.copytree(original / "dosdevices", self.path / "dosdevices", symlinks=True)
        self.environment = {**os.environ, "WINEPREFIX": str(self.path)}
        self.start()

    def start(self):
        subprocess.run(["wineserver", "-p"], env=self.environment, check=True)
        # The first program starts Windows' own programs, which would hold on to a pipe.
        self.run("wine", "cmd", "/c", "exit")

    def run(self, *command, **options):
        """Runs a program that prints nothing."""
        subprocess.run(command, env=self.environment, check=True, timeout=60, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)

    def register(self, library):
        # A path that begins with a slash would be taken for a switch.
        self.run("wine", "regsvr32", "/s", library.name, cwd=library.parent)

    def stop(self):
        """Everything in the registry is in its files afterwards."""
        for option in ("-k", "-w"):
            subprocess.run(["wineserver", option], env=self.environment, check=False)

    def close(self):
        self.stop()
        self._folder.cleanup()
