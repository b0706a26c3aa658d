"""What is documented as seen after an accident, and the statements that put it right."""

import pathlib
import random
import time
import unittest

import practice
from bench import Bench
from scene import Scene, snapshot

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
