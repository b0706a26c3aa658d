"""A pseudo terminal with quinrep in it, and what a person would see there."""

import fcntl
import os
import pty
import re
import signal
import struct
import termios
import threading

from side import PATIENCE, wait_until

CTRL_C = "\x03"
COLUMNS = 200
SEQUENCE = re.compile(r"\x1b\[([?0-9;]*)([A-Za-z])|([^\x1b])", re.S)


def screen(output):
    """The lines that stand on a terminal after this output of Wine's console."""
    lines, column = [""], 0
    for arguments, command, character in SEQUENCE.findall(output):
        if character == "\r":
            column = 0
        elif character == "\n":
            lines.append("")
        elif character:
            lines[-1] = lines[-1][:column].ljust(column) + character + lines[-1][column + 1:]
            column += 1
        elif command == "K":
            lines[-1] = lines[-1][:column]
        elif command == "C":
            column += int(arguments)
        elif command not in "hlm":  # modes and colours
            raise ValueError(f"the console moves the cursor in an unknown way: {arguments}{command}")
    return [line.rstrip() for line in lines]


class Terminal:
    """A program that runs in a terminal of its own, its results in a file where one is named."""

    def __init__(self, command, environment, results=None):
        self._output = b""
        self._exit_code = None
        self.pid, self._terminal = pty.fork()
        if self.pid == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 50, COLUMNS, 0, 0))
            if results:
                os.dup2(os.open(results, os.O_WRONLY | os.O_CREAT | os.O_TRUNC), 1)
            os.execvpe(command[0], command, environment)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        try:
            while data := os.read(self._terminal, 65536):
                self._output += data
        except OSError:
            pass  # the last program in the terminal has ended

    @property
    def output(self):
        """All that came, escape sequences included."""
        return self._output.decode()

    @property
    def lines(self):
        return screen(self.output)

    def type(self, text):
        os.write(self._terminal, text.encode())

    def wait_for(self, text, times=1):
        """Until a text has been shown as many times."""
        wait_until(lambda: "\n".join(self.lines).count(text) >= times, f"the terminal shows {text!r}")

    def wait_for_reader(self):
        """Until the program reads what is typed. Before, the terminal itself echoes it."""
        wait_until(lambda: not termios.tcgetattr(self._terminal)[3] & termios.ECHO, "a key is waited for")

    @property
    def running(self):
        return not self._ended()

    def wait(self, patience=PATIENCE):
        """The program's exit code, once it has ended by itself."""
        wait_until(self._ended, "the program in the terminal ends", patience)
        self._reader.join(PATIENCE)
        return self._exit_code

    def _ended(self):
        if self._exit_code is None:
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                self._exit_code = os.waitstatus_to_exitcode(status)
        return self._exit_code is not None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.running:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self._terminal)
