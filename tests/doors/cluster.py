"""A PostgreSQL of a test's own with both databases, whose password nobody else has to know."""

import os
import pathlib
import re
import secrets
import shutil
import subprocess
import tempfile

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
LAST_RUN = "2026-03-01 18:00:00"
NEW = "2026-03-02 09:00:00"


class Cluster:
    """`password` is the login's; `environment` leads programs here."""

    def __init__(self, password):
        self._folder = tempfile.TemporaryDirectory(prefix="quinmark-doors-")
        root = pathlib.Path(self._folder.name)
        root.chmod(0o755)
        (root / "scripts").mkdir()
        (root / "build").mkdir()
        for script in ("devdb.sh", "lib.sh"):
            shutil.copy2(REPOSITORY / "scripts" / script, root / "scripts")
        (root / "database").symlink_to(REPOSITORY / "database")
        self.program = str(root / "scripts" / "devdb.sh")
        self.password = password
        self._devdb("reset", "5", "--both")
        for database in ("office", "laptop"):
            self.sql(database, f"""alter role quinmarkapp_user password '{password}';
                alter user mapping for public server peer options (set password '{password}')""")
        settings = (root / "build" / "devdb" / "env.sh").read_text()
        self.environment = {**os.environ, **dict(re.findall(r"export (\w+)=(.*)", settings)),
                            "QUINMARK_PASSWORD": password}

    def _devdb(self, *arguments):
        return subprocess.run([self.program, *arguments], check=True, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL).stdout

    def sql(self, database, text):
        return self._devdb("psql", database, "-X", "-q", "-At", "-v", "ON_ERROR_STOP=1", "-c", text).strip()

    def contents(self):
        """Everything in the tables of both databases."""
        rows = "query_to_xml(format('select * from %I.%I', schemaname, tablename), false, false, '')::text"
        return "".join(self.sql(database, f"select {rows} from pg_tables where schemaname = '{database}'")
                       for database in ("office", "laptop"))

    def changed_row(self, key):
        """A row at the office that the next run copies, and one that both sides have changed."""
        self.sql("office", f"insert into users (unid, user_name, mod_date) values ({key}, 'new', '{NEW}')")
        for database, time in (("office", NEW), ("laptop", "2026-03-02 10:00:00")):
            self.sql(database, f"insert into chair_type (unid, chair_type_name, mod_date)"
                               f" values ({key}, '{database}', '{time}')")

    def close(self):
        self._devdb("stop")
        self._folder.cleanup()


def marked_password():
    """A text that stands nowhere by chance."""
    return f"Marked{secrets.token_hex(8)}"
