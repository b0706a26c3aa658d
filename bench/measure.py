"""A client's wall time, and processor time and memory of its own process.

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


def measure(argv, **settings):
    """Runs a client, with further settings in its environment; Wine programs are given as ["wine", "x.exe", ...].

    {"wall": seconds, "cpu": seconds of all threads, "peak_kb": most memory} and the numbers of its `end` line.
    """
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "WINEDEBUG": "-all", **settings}
    # No client shows a window; the driver for a display would count as memory of Wine's clients.
    environment.pop("DISPLAY", None)
    with subprocess.Popen([str(word) for word in argv], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          env=environment, text=True, encoding="utf-8", errors="replace") as client:
        try:
            return _watch(client)
        finally:
            client.kill()


def _watch(client):
    scheduled = ((~client.pid) << 3) | SCHEDULED
    _wait_for(client, "begin")
    cpu, wall = time.clock_gettime(scheduled), time.perf_counter()
    _go_on(client)
    words = _wait_for(client, "end")
    figures = {"wall": time.perf_counter() - wall, "cpu": time.clock_gettime(scheduled) - cpu}
    with open(f"/proc/{client.pid}/status", encoding="ascii", errors="replace") as status:
        figures["peak_kb"] = int(re.search(r"^VmHWM:\s+(\d+) kB", status.read(), re.MULTILINE)[1])
    _go_on(client)
    if client.wait(60) != 0:
        raise RuntimeError(f"{client.args}: ended with status {client.returncode}")
    return {**figures, **{key: float(number) for key, number in (word.split("=") for word in words)}}


def _go_on(client):
    client.stdin.write("\n")
    client.stdin.flush()


def _wait_for(client, expected):
    line = client.stdout.readline()
    first, *words = line.split() or [""]
    if first != expected:
        client.stdin.close()
        raise RuntimeError(f"{client.args}: '{expected}' was expected, but came: {line}{client.stdout.read()}")
    return words
