"""The shape of an example host, as a run of it shows: what every host does with a control record and with conflicts. A
test of a host runs it on the component's stand-in here."""


class ComponentError(Exception):
    """A failed call, as pywin32 raises it."""

    def __init__(self, text):
        super().__init__(text)
        self.hresult, self.strerror = -2147352567, "Exception occurred."
        self.excepinfo = (0, "clsReplicate.go", text, None, 0, -2147467259)


class Table:
    sTable = "patient"
    lCntDestAdd = lCntDestUpdate = lCntDestDelete = 0

    def __init__(self, conflicts):
        self.lCntConflict = conflicts


class Component:
    """Factory and run in one: a control record, what the next run records, how it fails, and the calls that change
    something."""

    def __init__(self, ready=True, error="", records="", conflicts=0, fails="", forgets=""):
        self.ready, self.error, self.records, self.conflicts = ready, error, records, conflicts
        self.fails, self.forgets = fails, forgets
        self.calls = []
        self.bReady, self.bError, self.sErrorMessage = False, False, ""

    def init(self, *_):
        pass

    def disconnect(self):
        self.calls.append("disconnect")

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

    def setError(self, _, text):
        if self.forgets:
            raise ComponentError(self.forgets)
        self.calls.append(f"setError {text}")

    def resetError(self):
        self.calls.append("resetError")
        self.error = ""

    def go(self, _):
        self.calls.append("go")
        if self.fails:
            self.sErrorMessage = self.fails
            raise ComponentError(self.fails)
        self.ready, self.error = False, self.records
        self.initNextRun()


class HostBehaviour:
    """The tests. `run_host(component, *arguments)` gives the status that the host ends with, and leaves in `said` what
    it says."""

    def test_run_that_records_nothing_ends_with_0(self):
        component = Component()
        self.assertEqual(self.run_host(component), 0)
        self.assertIn("patient: added 0, updated 0, deleted 0, conflicts 0\n", self.said)
        self.assertEqual(component.calls, ["go", "disconnect"])

    def test_recorded_error_ends_with_2_and_stays(self):
        component = Component(records="New in destination")
        self.assertEqual(self.run_host(component), 2)
        self.assertIn("Recorded: New in destination\n", self.said)
        self.assertIn("Only then run with --reset-error.", self.said)
        self.assertEqual(component.error, "New in destination")
        self.assertEqual(self.run_host(component, "--ready"), 4)
        self.assertIn("Nothing was run. Recorded: New in destination\n", self.said)
        self.assertIn("Only then run with --reset-error.", self.said)
        self.assertEqual(component.calls, ["go", "disconnect", "SetReady", "disconnect"])

    def test_conflicts_alone_end_with_2(self):
        self.assertEqual(self.run_host(Component(conflicts=3)), 2)
        self.assertIn("Conflicts in patient: 3\n", self.said)

    def test_reset_shows_what_it_clears(self):
        component = Component(error="New in destination")
        self.assertEqual(self.run_host(component, "--reset-error"), 0)
        self.assertIn("Clearing the recorded error: New in destination\n", self.said)
        self.assertEqual(component.calls, ["resetError", "go", "disconnect"])

    def test_site_that_is_not_ready_is_not_run_until_it_is_marked(self):
        component = Component(ready=False)
        self.assertEqual(self.run_host(component), 4)
        self.assertIn("Nothing was run: this site is not ready; --ready marks it\n", self.said)
        self.assertEqual(component.calls, ["disconnect"])
        self.assertEqual(self.run_host(component, "--ready"), 0)
        self.assertEqual(component.calls[1:], ["SetReady", "go", "disconnect"])

    def test_failed_run_is_recorded_and_ends_with_1(self):
        component = Component(fails="column missing")
        self.assertEqual(self.run_host(component), 1)
        self.assertIn("The run failed: -2147467259 (0x80004005), clsReplicate.go: column missing\n", self.said)
        self.assertEqual(component.calls, ["go", "setError column missing", "disconnect"])

    def test_failure_that_cannot_be_recorded_is_told_with_the_reason(self):
        component = Component(fails="connection lost", forgets="no connection")
        self.assertEqual(self.run_host(component), 1)
        self.assertIn("The run failed: -2147467259 (0x80004005), clsReplicate.go: connection lost\n"
                      "and it could not be recorded: -2147467259 (0x80004005), clsReplicate.go: no connection\n",
                      self.said)
        self.assertEqual(component.calls, ["go", "disconnect"])

    def test_wrong_arguments_end_with_3(self):
        self.assertEqual(self.run_host(Component(), "too", "many"), 3)
        self.assertIn("usage: ", self.said)
