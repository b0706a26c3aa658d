"""The example host in Python, run between stand-ins for pywin32 and for the component's objects."""

import contextlib
import importlib.util
import io
import pathlib
import sys
import types
import unittest

from host_behaviour import ComponentError, HostBehaviour

HOST = pathlib.Path(__file__).resolve().parents[2] / "examples" / "replicate.py"


class PythonHost(HostBehaviour, unittest.TestCase):
    def run_host(self, component, *arguments):
        client = types.SimpleNamespace(Dispatch=lambda _: component)
        stand_ins = {"pythoncom": types.SimpleNamespace(com_error=ComponentError), "win32com.client": client,
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


if __name__ == "__main__":
    unittest.main()
