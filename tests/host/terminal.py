"""A pseudo terminal with quinrep in it, and the text that a person would see there."""

import contextlib
import io
import os

from side import PATIENCE, skip, wait_until

try:
    import pexpect
    import pyte
except ImportError:
    skip("python3-pexpect or python3-pyte is missing; run scripts/install-deps.sh --tests",
         os.environ.get("QUINMARK_REQUIRE_TOOLS") == "1")

CTRL_C = "\x03"
LINES, COLUMNS = 50, 200


def screen(output):
    """The lines that stand on a terminal after this output, down to the cursor's."""
    shown = pyte.Screen(COLUMNS, LINES)
    pyte.Stream(shown).feed(output)
    return [line.rstrip() for line in shown.display[:shown.cursor.y + 1]]


class Terminal:
    """A program that runs in a terminal of its own, its results in a file where one is named."""

    def __init__(self, command, environment, results=None):
        def divert():
            os.dup2(os.open(results, os.O_WRONLY | os.O_CREAT | os.O_TRUNC), 1)

        self._program = pexpect.spawn(command[0], command[1:], env=environment, dimensions=(LINES, COLUMNS),
                                      encoding="utf-8", preexec_fn=divert if results else None)
        self._program.logfile_read = io.StringIO()
        self.pid = self._program.pid
        self.close = lambda: self._program.close(force=True)

    @property
    def output(self):
        """All that came, escape sequences included."""
        with contextlib.suppress(pexpect.TIMEOUT, pexpect.EOF):
            while True:
                self._program.read_nonblocking(65536, timeout=0)
        return self._program.logfile_read.getvalue()

    @property
    def lines(self):
        return screen(self.output)

    def type(self, text):
        self._program.send(text)

    def wait_for(self, text):
        wait_until(lambda: text in "\n".join(self.lines), f"the terminal shows {text!r}")

    def wait_for_reader(self):
        """Waits until the program reads the keys. The terminal echoes earlier ones itself."""
        wait_until(lambda: not self._program.getecho(), "a key is waited for")

    @property
    def running(self):
        # Output that nobody reads would keep the program from ending.
        return self.output is not None and self._program.isalive()

    def wait(self, patience=PATIENCE):
        """The program's exit code, once it has ended by itself."""
        wait_until(lambda: not self.running, "the program in the terminal ends", patience)
        self._program.expect([pexpect.EOF, pexpect.TIMEOUT], timeout=PATIENCE)
        return -self._program.signalstatus if self._program.exitstatus is None else self._program.exitstatus
