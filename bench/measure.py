"""What a client takes for its work: wall time, processor time and memory of its own process.

Every client keeps to the same protocol. It prepares, prints the line `begin` and waits for a line; it works, prints
`end` followed by key=number words, and waits for a line; then it ends.
"""

import contextlib
import os
import re
import struct
import subprocess
import sys
import time

SCHEDULED = 2  # the kernel's clock of the time that a process has run, in the number of a clock
PATIENCE = 60


@contextlib.contextmanager
def processors_awake():
    """While it lasts, idle processors poll instead of sleeping, where this user may ask the kernel for it. A virtual
    one takes up to a tenth of a millisecond to wake, for each answer that a client waits for, and how long depends on
    what else its host does.
    """
    with contextlib.ExitStack() as held:
        try:
            latency = held.enter_context(open("/dev/cpu_dma_latency", "wb", buffering=0))
            latency.write(struct.pack("i", 0))  # microseconds
        except OSError as error:
            print(f"processors may sleep, figures will be unsteady: {error}", file=sys.stderr)
        yield


class ClientFailed(RuntimeError):
    """A client that ended, or said something else, before its work was done."""


def processor_seconds(pid):
    """Of all threads, those that have ended included."""
    return time.clock_gettime(((~pid) << 3) | SCHEDULED)


def peak_kb(pid):
    with open(f"/proc/{pid}/status", encoding="ascii", errors="replace") as status:
        return int(re.search(r"^VmHWM:\s+(\d+) kB", status.read(), re.MULTILINE)[1])


def measure(argv, env=None):
    """Runs a client. `env` is added to the environment. Wine programs are given as ["wine", "x.exe", ...].

    {"wall": seconds, "cpu": seconds, "peak_kb": most memory since the client's start, "peak_before_kb": the same when
    its work began} and the numbers of its `end` line.
    """
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "WINEDEBUG": "-all", **(env or {})}
    # No client shows a window; the driver for a display would count as memory of Wine's clients.
    environment.pop("DISPLAY", None)
    with subprocess.Popen([str(word) for word in argv], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          env=environment, text=True, encoding="utf-8", errors="replace") as client:
        try:
            return _watch(client)
        finally:
            client.kill()


def _watch(client):
    _line(client, "begin")
    figures = {"peak_before_kb": peak_kb(client.pid)}
    cpu, wall = processor_seconds(client.pid), time.perf_counter()
    _go_on(client)
    words = _line(client, "end")
    figures["wall"] = time.perf_counter() - wall
    figures["cpu"] = processor_seconds(client.pid) - cpu
    figures["peak_kb"] = peak_kb(client.pid)
    _go_on(client)
    client.wait(PATIENCE)
    if client.returncode != 0:
        raise ClientFailed(f"{client.args}: ended with status {client.returncode}")
    return {**figures, **{key: float(number) for key, number in (word.split("=") for word in words)}}


def _go_on(client):
    client.stdin.write("\n")
    client.stdin.flush()


def _line(client, expected):
    line = client.stdout.readline()
    words = line.split()
    if not words or words[0] != expected:
        raise ClientFailed(f"{client.args}: '{expected}' was expected, but came: {line}{_rest(client)}")
    return words[1:]


def _rest(client):
    client.stdin.close()
    return client.stdout.read()
