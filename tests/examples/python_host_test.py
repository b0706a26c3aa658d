"""The example host in Python, run between stand-ins for pywin32 and for the component's objects."""

import contextlib
import importlib.util
import io
import pathlib
import sys
import types
import unittest

HOST = pathlib.Path(__file__).resolve().parents[2] / "examples" / "replicate.py"


class Table:
    sTable = "patient"
    lCntDestAdd = lCntDestUpdate = lCntDestDelete = 0

    def __init__(self, conflicts):
        self.lCntConflict = conflicts


class Component:
    """Factory and run in one: a control record, what the next run records, and the calls that change something."""

    def __init__(self, ready=True, error="", records="", conflicts=0):
        self.ready, self.error, self.records, self.conflicts = ready, error, records, conflicts
        self.calls = []
        self.bReady, self.bError, self.sErrorMessage = False, False, ""

    def init(self, *_):
        pass

    disconnect = init

    def ensureReplication(self):
        return True

    def createReplication(self):
        return self

    def createReplicationTable(self, *_):
        return Table(self.conflicts)

    def initNextRun(self, *_):
        self.bReady, self.bError, self.sErrorMessage = self.ready, bool(self.error), self.error

    def SetReady(self):
        self.calls.append("SetReady")
        self.ready = True

    def resetError(self):
        self.calls.append("resetError")
        self.error = ""

    def go(self, _):
        self.calls.append("go")
        self.ready, self.error = False, self.records
        self.initNextRun()


class PythonHost(unittest.TestCase):
    def run_host(self, component, *arguments):
        """The status it ends with; `said` is what it says."""
        client = types.SimpleNamespace(Dispatch=lambda _: component)
        stand_ins = {"pythoncom": types.SimpleNamespace(com_error=RuntimeError), "win32com.client": client,
                     "win32com": types.SimpleNamespace(client=client)}
        sys.modules.update(stand_ins)
        self.addCleanup(lambda: [sys.modules.pop(name, None) for name in stand_ins])
        spec = importlib.util.spec_from_file_location("replicate", HOST)
        host = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(host)
        with contextlib.redirect_stdout(io.StringIO()) as said:
            status = host.main(["run.log", *arguments])
        self.said = said.getvalue()
        return status

    def test_run_that_records_nothing_ends_with_0(self):
        component = Component()
        self.assertEqual(self.run_host(component), 0)
        self.assertEqual(component.calls, ["go"])

    def test_recorded_error_ends_with_2_and_stays(self):
        component = Component(records="New in destination")
        self.assertEqual(self.run_host(component), 2)
        self.assertIn("Recorded: New in destination\n", self.said)
        self.assertIn("Only then run with --reset-error.", self.said)
        self.assertEqual(component.error, "New in destination")
        self.assertEqual(self.run_host(component, "--ready"), 4)
        self.assertIn("Nothing was run. Recorded: New in destination\n", self.said)
        self.assertIn("Only then run with --reset-error.", self.said)
        self.assertEqual(component.calls, ["go", "SetReady"])

    def test_conflicts_alone_end_with_2(self):
        self.assertEqual(self.run_host(Component(conflicts=3)), 2)
        self.assertIn("Conflicts in patient: 3\n", self.said)

    def test_reset_shows_what_it_clears(self):
        component = Component(error="New in destination")
        self.assertEqual(self.run_host(component, "--reset-error"), 0)
        self.assertIn("Clearing the recorded error: New in destination\n", self.said)
        self.assertEqual(component.calls, ["resetError", "go"])

    def test_site_that_is_not_ready_is_not_run_until_it_is_marked(self):
        component = Component(ready=False)
        self.assertEqual(self.run_host(component), 4)
        self.assertEqual(component.calls, [])
        self.assertEqual(self.run_host(component, "--ready"), 0)
        self.assertEqual(component.calls, ["SetReady", "go"])

    def test_wrong_arguments_end_with_3(self):
        self.assertEqual(self.run_host(Component(), "too", "many"), 3)


if __name__ == "__main__":
    unittest.main()
