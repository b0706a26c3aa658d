"""Libraries planted in the working directory, each named like one that the programs load: none of them is loaded."""

import re
import shutil
import subprocess
import unittest

from practice import BINARIES, Practice, main, windows_path

# Libraries of every Windows.
COMPONENT_NEEDS = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll", "user32.dll"}
SYSTEM = COMPONENT_NEEDS | {"bcrypt.dll", "odbc32.dll", "shell32.dll", "version.dll", "ws2_32.dll"}
PROGRAMS = {"quinrep.exe": SYSTEM, "QuinmarkRepDLL.dll": COMPONENT_NEEDS, "adodb.dll": SYSTEM}
# Libraries that programs of all kinds look for; not all of them are loaded here.
USUAL = {"cryptbase.dll", "cryptsp.dll", "dbghelp.dll", "dwmapi.dll", "libgcc_s_dw2-1.dll", "libstdc++-6.dll",
         "libwinpthread-1.dll", "msado15.dll", "odbccp32.dll", "profapi.dll", "propsys.dll", "secur32.dll", "sxs.dll",
         "uxtheme.dll", "winmm.dll", "wtsapi32.dll"}

# Wine starts only with its own libraries of these names.
UNMOVABLE = {"kernel32.dll", "kernelbase.dll", "ntdll.dll", "user32.dll", "gdi32.dll", "win32u.dll"}


def imports_and_exports(file):
    dump = subprocess.run(["i686-w64-mingw32-objdump", "-p", str(file)], check=True, text=True, capture_output=True)
    imports = {name.lower() for name in re.findall(r"DLL Name: (\S+)", dump.stdout)}
    exports = dump.stdout.partition("[Ordinal/Name Pointer] Table")[2]
    return imports, re.findall(r"^\t\[.* (\w+)$", exports, re.M)


class Planted(unittest.TestCase):
    def setUp(self):
        practice = Practice({"users": "method = 'one_way'"})
        self.addCleanup(practice.close)
        practice.reset()
        self.check = practice.command("check")[1:]
        self.folder = practice.folder
        self.told = self.folder / "told.txt"
        self.environment = {**practice.environment, "QUINMARK_CANARY": windows_path(self.told)}
        (self.folder / "create.vbs").write_text(
            'set f = CreateObject("QuinmarkRepDLL.Factory")\nset a = CreateObject("ADODB.Connection")\n'
            'a.Open "DSN=QuinmarkOffice;UID=quinmarkapp_user;PWD=" & '
            'CreateObject("WScript.Shell").Environment("PROCESS")("QUINMARK_PASSWORD")\nWScript.Echo TypeName(f)\n')

    def run_in_folder(self, *command, said=""):
        """The paths of all libraries that a program loads, in lower case. It has to say something."""
        run = subprocess.run(["wine", *command], cwd=self.folder, stdin=subprocess.DEVNULL, timeout=60, check=False,
                             env={**self.environment, "WINEDEBUG": "+loaddll"}, text=True, errors="replace",
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(run.returncode, 0, run.stdout)
        self.assertIn(said, run.stdout, command)
        return {path.lower() for path in re.findall(r'Loaded L"([^"]+\.dll)"', run.stdout, re.I)}

    def plant(self, names, folder):
        for name in names:
            shutil.copy2(BINARIES / "canary.dll", folder / name)
        # Wine would take its own library instead of one of that name that it finds; Windows takes the one it finds.
        modules = ",".join(name.removesuffix(".dll") for name in names - UNMOVABLE)
        self.environment["WINEDLLOVERRIDES"] = f"mscoree,mshtml,winedbg.exe=;{modules}=n,b"

    def told_paths(self):
        return self.told.read_bytes().decode("utf-16-le").split() if self.told.exists() else []

    def test_nothing_is_loaded_from_the_working_directory(self):
        commands = {("cscript", "//nologo", "create.vbs"): "Factory", tuple(self.check): "users",
                    (str(BINARIES / "quinrep.exe"), "--version"): "quinrep "}
        names = SYSTEM | USUAL | {name.lower() for name in PROGRAMS if name.endswith(".dll")}
        for command, said in commands.items():
            loaded = {path.rpartition("\\")[2] for path in self.run_in_folder(*command, said=said)}
            self.assertIn("kernel32.dll", loaded)
            names |= loaded
        self.plant(names, self.folder)
        for command, said in commands.items():
            loaded = self.run_in_folder(*command, said=said)
            self.assertEqual([path for path in loaded if self.folder.name in path], [])
        self.assertEqual(self.told_paths(), [])

    def test_a_planted_library_would_be_seen(self):
        """A library in the program's own folder is loaded: only administrators may write there."""
        shutil.copy2(BINARIES / "quinrep.exe", self.folder)
        self.plant({"bcrypt.dll", "ws2_32.dll"}, self.folder)
        self.run_in_folder(str(self.folder / "quinrep.exe"), "--version")
        self.assertTrue(self.told_paths())

    def test_programs_need_system_libraries_only_and_the_component_exports_what_a_server_has_to(self):
        exported = {}
        for name, needs in PROGRAMS.items():
            imports, exported[name] = imports_and_exports(BINARIES / name)
            self.assertTrue(imports)
            self.assertLessEqual(imports, needs, name)
        self.assertEqual(exported["QuinmarkRepDLL.dll"], ["DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                                                          "DllUnregisterServer"])


if __name__ == "__main__":
    main()
