"""psql with somebody who types statements into it, as the component's login."""

import os
import subprocess
import time

from bed import LOGIN, REPOSITORY

MARKER = "--answered--"


class Terminal:
    def __init__(self, database, port=None):
        command = [REPOSITORY / "scripts" / "devdb.sh", "psql", "-X", "-v", "ON_ERROR_STOP=1", "-U", LOGIN,
                   "-d", database, *(("-p", port) if port else ())]
        self._process = subprocess.Popen([str(word) for word in command], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True, encoding="utf-8",
                                         env={**os.environ, "PGPASSWORD": os.environ["QUINMARK_PASSWORD"]})
        self.type("")

    def type(self, statement):
        """Waits for the answer; the seconds that it took."""
        begun = time.perf_counter()
        self._process.stdin.write(f"{statement}\n\\echo {MARKER}\n")
        self._process.stdin.flush()
        for line in self._process.stdout:
            if line.rstrip("\n") == MARKER:
                return time.perf_counter() - begun
        raise RuntimeError(f"psql has ended: {statement}")

    def close(self):
        self._process.stdin.close()
        self._process.wait(30)
