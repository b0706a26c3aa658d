"""Which parts the benches refuse."""

import os
import subprocess
import sys
import unittest

from side import REPOSITORY


class PartsOnSqlServer(unittest.TestCase):
    def test_part_that_is_not_measured_there_is_refused_by_name(self):
        ended = subprocess.run([sys.executable, REPOSITORY / "bench" / "bench.py", "--only", "run", "full-copy", "log"],
                               env={**os.environ, "QUINMARK_SERVER": "sqlserver"}, capture_output=True, text=True,
                               check=False, timeout=60)
        self.assertEqual(ended.returncode, 2)
        self.assertIn("on a SQL Server there is no measurement of full-copy and log", ended.stderr)


if __name__ == "__main__":
    unittest.main()
