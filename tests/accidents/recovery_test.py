"""What is documented as seen after an accident, and the statements that put it right."""

import json
import pathlib
import random
import re
import shlex
import time
import unittest

import practice
from bench import Bench
from scene import DEPENDENTS, Scene, TABLES, snapshot

DOCUMENTED = (pathlib.Path(__file__).parents[2] / "docs" / "recovery.md").read_text()
NEW_ON_SOURCE = 2
SECONDS_OF_SILENCE = "pqopt = keepalives_idle=2 keepalives_interval=1 keepalives_count=2 tcp_user_timeout=3000"


class Recovery(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.bench = Bench()
        cls.addClassCleanup(cls.bench.close)
        cls.office, cls.laptop = cls.bench.sides.values()

    def setUp(self):
        self.bench.set(Scene(random.Random(5)))

    def run_killed_at(self, table, event):
        """Kills the server when a statement of this kind is under way for a table of the laptop."""
        self.laptop.sql("create function pause() returns trigger language plpgsql as "
                        "'begin perform pg_sleep(60); return new; end'; "
                        f"create trigger pause before {event} on {table} for each row execute function pause()")
        process = self.bench.start()
        self.addCleanup(process.kill)
        sleeping = "select count(*) from pg_stat_activity where wait_event = 'PgSleep'"
        practice.wait_until(lambda: self.laptop.sql(sleeping) != "0", "the statement is under way", 60)
        self.bench.cluster.kill_server()
        process.wait(60)
        self.bench.restore()
        self.laptop.sql(f"drop trigger pause on {table}; drop function pause()")

    def test_full_copy_leaves_an_empty_table_and_the_next_run_fills_it(self):
        self.run_killed_at("ada_code", "insert")
        self.assertEqual(self.laptop.sql("select count(*) from ada_code"), "0")
        office = snapshot(self.office)
        self.assertEqual((office["key"], office["advanced"], office["ready"]), (False, False, True))
        self.bench.good_run()
        office = snapshot(self.office)
        self.assertEqual((office["key"], office["advanced"], office["ready"]), (True, True, False))
        self.assertEqual(snapshot(self.laptop)["ada_code"], office["ada_code"])

    def test_settings_left_behind_follow_when_their_option_changes_again(self):
        self.run_killed_at("chart_option_setting", "insert")
        self.bench.good_run()
        stale = self.stale_options()
        self.assertNotEqual(stale, "")
        self.bench.good_run()
        self.assertEqual(self.stale_options(), stale)
        self.office.sql(f"update chart_option set mod_date = getdate() where unid in ({stale})")
        self.bench.good_run()
        self.assertEqual(self.stale_options(), "")

    def stale_options(self):
        """The options that both sides have with the same date and whose settings differ, as SQL."""
        return self.office.sql("""select coalesce(string_agg(distinct quote_literal(o.unid), ','), '')
            from chart_option o join laptop.chart_option l on l.unid = o.unid and l.mod_date = o.mod_date
            join chart_option_setting s on s.chart_option_id = o.unid
            left join laptop.chart_option_setting t on t.unid = s.unid
            where t.setting_value is distinct from s.setting_value""")

    def test_documented_steps_after_a_killed_server_lose_no_row_of_a_conflict(self):
        before = self.bench.states()
        self.run_killed_at("shortcut", "insert")
        self.follow_the_documented_steps(before, "Changed on both databases")

    def test_documented_steps_after_a_failed_run_lose_no_row_of_a_conflict(self):
        before = self.bench.states()
        self.laptop.sql("alter table shortcut rename to hidden")
        status, said = self.bench.quinrep("run", "--ready", "--force")
        self.laptop.sql("alter table hidden rename to shortcut")
        self.assertEqual(status, 1, said)
        self.follow_the_documented_steps(before, "shortcut")

    def follow_the_documented_steps(self, before, recorded):
        """As somebody who reads them does, who decides for the laptop where it has the row; `recorded` is in the error
        that is told."""
        settled, code = self.documented_round(recorded)
        self.assertIn("users", {table for table, _ in settled})
        self.assertEqual(code, 2, self.bench.output())
        more, code = self.documented_round("not allowed")
        self.assertEqual(code, 0, self.bench.output())
        self.assert_nothing_is_lost(before, settled | more)

    def documented_round(self, recorded):
        """The rows of the conflicts that were settled, and the exit code of the run."""
        steps = [shlex.split(line)[1:] for line in re.findall(r"^    (quinrep .*)$", DOCUMENTED, re.M)]
        self.assertEqual(steps, [["status"], ["conflicts", "list"], ["run", "--ready"],
                                 ["run", "--ready", "--reset-error"], self.dismissal()])
        status, listing, run, reset, _ = steps
        code, said = self.bench.quinrep(*status)
        self.assertEqual(code, 0, said)
        self.assertIn(recorded, said)
        settled = self.settle(listing)
        code, said = self.bench.quinrep(*run)
        self.assertEqual(code, 4, said)
        self.assertIn(recorded, said)
        return settled, self.bench.quinrep(*reset)[0]

    @staticmethod
    def dismissal():
        return ["conflicts", "dismiss", "{ID}", "--reason", "settled on both sides"]

    def settle(self, listing):
        """Settles all conflicts as documented; the tables and keys of their rows."""
        code, said = self.bench.quinrep(*listing, "--json")
        self.assertEqual(code, 0, said)
        rows = set()
        for conflict in json.loads(said)["conflicts"]:
            table, key = conflict["table_name"], conflict["key"]
            keeps_office = conflict["conflict_type"] == NEW_ON_SOURCE
            self.copy(table, key, *(("office", "laptop") if keeps_office else ("laptop", "office")))
            code, said = self.bench.quinrep(*[word.replace("{ID}", conflict["unid"]) for word in self.dismissal()])
            self.assertEqual(code, 0, said)
            rows.add((table, str(key).strip("{}").lower()))
        self.assertEqual(self.office.sql("select count(*) from replication_conflict"), "0")
        return rows

    def copy(self, table, key, winner, loser):
        """Gives one side the other's row with its dependent rows."""
        documented, = re.findall(r"^    (insert into users select .*)$", DOCUMENTED, re.M)
        insert = documented.replace("insert into users", f"insert into {loser}.users") \
                           .replace("Laptop.dbo.", f"{winner}.").replace("(7)", f"('{key}')")
        dependent, parent = DEPENDENTS.get(table, (None, None))
        for name, column in ((table, "unid"), (dependent, parent)):
            if name:
                self.office.sql(f"delete from {loser}.{name} where {column} = '{key}'; " +
                                insert.replace("users", name).replace("unid", column))

    def assert_nothing_is_lost(self, before, conflicts):
        """Both sides are the same, and have the row of every conflict as the side had it for which was decided."""
        office, laptop = self.bench.states().values()
        for table in TABLES:
            self.assertEqual(office[table], laptop[table], table)
        self.assertEqual(office["chart_option_setting"], laptop["chart_option_setting"])
        self.assertEqual((office["conflicts"], office["key"], office["advanced"]), ([], True, True))
        for table, key in conflicts:
            had = before["laptop"][table].get(key) or before["office"][table][key]
            self.assertEqual(laptop[table][key], had)

    def test_silent_network_ends_the_run_by_the_connections_keepalive(self):
        relayed = pathlib.Path(self.bench.cluster.folder / "relayed.ini")
        before = relayed.read_text()
        self.addCleanup(relayed.write_text, before)
        relayed.write_text(before.replace("SSLmode = disable", f"SSLmode = disable\n{SECONDS_OF_SILENCE}"))
        status, seconds = self.silenced_run(lambda relay: relay.vanish())
        self.assertEqual(status, 1)
        self.assertLess(seconds, 30)
        self.bench.good_run()

    def silenced_run(self, silence):
        """Status of a run whose connection to the laptop falls silent, and after how many seconds it ends."""
        relay = self.bench.relays["laptop"]
        relay.freeze_after(8000)
        process = self.bench.start()
        self.addCleanup(process.kill)
        self.assertTrue(relay.frozen.wait(60))
        silence(relay)
        begin = time.monotonic()
        process.wait(60)
        relay.cut()
        self.bench.restore()
        return process.returncode, time.monotonic() - begin


if __name__ == "__main__":
    practice.main()
