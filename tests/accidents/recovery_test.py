"""The documented traces of an accident, and the documented statements that repair them."""

import json
import random
import re
import shlex
import time

from fragile_practice import FragileCase
from practice import main
from scene import DEPENDENTS, Scene, TABLES, snapshot
from side import REPOSITORY, literal, skip_without_postgresql, wait_until

DOCUMENTED = (REPOSITORY / "docs" / "recovery.md").read_text()
NEW_ON_SOURCE = 2
SECONDS_OF_SILENCE = "keepalives_idle=2 keepalives_interval=1 keepalives_count=2 tcp_user_timeout=3000"


class Recovery(FragileCase):
    def setUp(self):
        self.replicate_only(*TABLES)
        self.practice.set(Scene(random.Random(5)))

    def replicate_only(self, *tables):
        self.practice.tables = {table: TABLES[table][2] for table in tables}

    def run_killed_at(self, table, event):
        """Kills the server when a statement of this kind is under way for a table of the laptop."""
        self.laptop.sql("create function pause() returns trigger language plpgsql as "
                        "'begin perform pg_sleep(60); return new; end'; "
                        f"create trigger pause before {event} on {table} for each row execute function pause()")
        with self.practice.start_run() as process:
            sleeping = "select count(*) from pg_stat_activity where wait_event = 'PgSleep'"
            wait_until(lambda: self.laptop.value(sleeping), "the statement is under way", 60)
            self.practice.kill_server()
            process.wait(60)
        self.practice.restore()
        self.laptop.sql(f"drop trigger pause on {table}; drop function pause()")

    def office_state(self):
        office = snapshot(self.office)
        return office["key"], office["advanced"], office["ready"]

    def test_full_copy_leaves_an_empty_table_and_the_next_run_fills_it(self):
        self.replicate_only("ada_code", "users")
        self.run_killed_at("ada_code", "insert")
        self.assertEqual(self.laptop.value("select count(*) from ada_code"), 0)
        self.assertEqual(self.office_state(), (False, False, True))
        self.practice.good_run()
        self.assertEqual(self.office_state(), (True, True, False))
        office, laptop = self.practice.states().values()
        self.assertEqual(laptop["ada_code"], office["ada_code"])

    def test_settings_left_behind_follow_when_their_option_changes_again(self):
        self.replicate_only("chart_option")
        self.run_killed_at("chart_option_setting", "insert")
        self.practice.good_run()
        stale = self.stale_options()
        self.assertNotEqual(stale, [])
        self.practice.good_run()
        self.assertEqual(self.stale_options(), stale)
        self.office.sql(f"update chart_option set mod_date = getdate() where unid in ({', '.join(map(literal, stale))})")
        self.practice.good_run()
        self.assertEqual(self.stale_options(), [])

    def stale_options(self):
        """The options that both sides have with the same date and whose settings differ."""
        return self.office.column("""select distinct o.unid from chart_option o
            join laptop.chart_option l on l.unid = o.unid and l.mod_date = o.mod_date
            join chart_option_setting s on s.chart_option_id = o.unid
            left join laptop.chart_option_setting t on t.unid = s.unid
            where t.setting_value is distinct from s.setting_value""")

    def test_documented_steps_after_a_killed_server_lose_no_row_of_a_conflict(self):
        before = self.practice.states()
        self.run_killed_at("shortcut", "insert")
        self.follow_the_documented_steps(before, "Changed on both databases")

    def test_documented_steps_after_a_failed_run_lose_no_row_of_a_conflict(self):
        self.replicate_only("users", "shortcut")
        before = self.practice.states()
        self.laptop.sql("alter table shortcut rename to hidden")
        self.quinrep(["run", "--ready", "--force"], 1)
        self.laptop.sql("alter table hidden rename to shortcut")
        self.follow_the_documented_steps(before, "shortcut")

    def quinrep(self, arguments, status):
        """Runs a command of quinrep, which has to end with this status, and returns its output."""
        ended = self.practice.quinrep("-q", *arguments)
        self.assertEqual(ended.returncode, status, ended.stdout + ended.stderr)
        return ended.stdout + ended.stderr

    def follow_the_documented_steps(self, before, recorded):
        """Follows the documented steps and decides for the laptop where it has the row; `recorded` is in the error that
        is told."""
        settled = self.documented_round(recorded, 2)
        self.assertIn("users", {table for table, _ in settled})
        self.assert_nothing_is_lost(before, settled | self.documented_round("not allowed", 0))

    def documented_round(self, recorded, status):
        """The rows of the conflicts that were settled before a run that ends with this status."""
        listing, show, run, reset, dismiss = self.documented_steps()
        self.assertIn(recorded, self.quinrep(listing, 0))
        settled = self.settle(show, dismiss)
        self.assertIn(recorded, self.quinrep(run, 4))
        self.quinrep(reset, status)
        return settled

    def documented_steps(self):
        steps = [shlex.split(line)[1:] for line in re.findall(r"^    (quinrep .*)$", DOCUMENTED, re.M)]
        self.assertEqual(steps, [["status"], ["conflicts", "list"], ["run", "--ready"],
                                 ["run", "--ready", "--reset-error"],
                                 ["conflicts", "dismiss", "{ID}", "--reason", "settled on both sides"]])
        return steps

    def settle(self, listing, dismissal):
        """Settles all conflicts as documented; the tables and keys of their rows."""
        conflicts = json.loads(self.quinrep([*listing, "--json"], 0))["conflicts"]
        for conflict in conflicts:
            sides = ("office", "laptop") if conflict["conflict_type"] == NEW_ON_SOURCE else ("laptop", "office")
            self.copy(conflict["table_name"], conflict["key"], *sides)
        place = dismissal.index("{ID}")
        self.quinrep([*dismissal[:place], *(conflict["unid"] for conflict in conflicts), *dismissal[place + 1:]], 0)
        self.assertEqual(self.office.value("select count(*) from replication_conflict"), 0)
        return {(conflict["table_name"], str(conflict["key"]).strip("{}").lower()) for conflict in conflicts}

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
        """Both sides are the same, and the row of every conflict is as it was on the side that the decision chose."""
        office, laptop = self.practice.states().values()
        for table in self.practice.tables:
            for name in (table, *DEPENDENTS.get(table, ())[:1]):
                self.assertEqual(office[name], laptop[name], name)
        self.assertEqual((office["conflicts"], office["key"], office["advanced"]), ([], True, True))
        for table, key in conflicts:
            had = before["laptop"][table].get(key) or before["office"][table][key]
            self.assertEqual(laptop[table][key], had)

    def test_silent_network_ends_the_run_by_the_connections_keepalive(self):
        self.replicate_only("users", "shortcut")
        self.practice.set_odbc("laptop", pqopt=SECONDS_OF_SILENCE)
        self.addCleanup(self.practice.set_odbc, "laptop", pqopt="")
        relay = self.practice.relays["laptop"]
        relay.freeze_after(8000)
        with self.practice.start_run() as process:
            self.assertTrue(relay.frozen.wait(60))
            relay.vanish()
            begin = time.monotonic()
            self.assertEqual(process.wait(60), 1)
        self.assertLess(time.monotonic() - begin, 30)
        relay.cut()
        self.practice.restore()
        self.practice.good_run()


if __name__ == "__main__":
    skip_without_postgresql()
    main()
