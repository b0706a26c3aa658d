"""The documented traces of an accident, and the documented statements that repair them."""

import json
import random
import re
import shlex
import unittest

from fragile_practice import PATIENCE, FragileCase
from practice import LAST_RUN, main
from scene import DEPENDENTS, Scene, TABLES
from side import REPOSITORY, is_postgresql, literal, wait_until

DOCUMENTED = (REPOSITORY / "docs" / "recovery.md").read_text()
SIDES = ("office", "laptop")
NEW_ON_SOURCE = 2
SECONDS_OF_SILENCE = "keepalives_idle=2 keepalives_interval=1 keepalives_count=2 tcp_user_timeout=3000"


def documented(begin):
    """The one documented statement that begins like this."""
    statement, = re.findall(f"^    ({begin}.*)$", DOCUMENTED, re.M)
    return statement


class Recovery(FragileCase):
    def setUp(self):
        self.replicate_only(*TABLES)
        self.practice.set(Scene(random.Random(5)))

    def replicate_only(self, *tables):
        self.practice.tables = {table: TABLES[table][2] for table in tables}

    def lost_run(self, side, statement, *lost):
        """A run that loses databases for good before a side gets a statement with this text."""
        relays = self.practice.relays
        relays[side].freeze_before(statement)
        with self.practice.start_run() as process:
            relays[side].wait_until_frozen()
            for name in lost:
                relays[name].cut()
            self.assertEqual(process.wait(PATIENCE), 1)
        self.practice.restore()

    def prefix(self, side):
        return self.practice.environment[f"QUINMARK_{side.upper()}_PREFIX"]

    def office_state(self):
        """Whether it has the foreign key, its interval has moved, and the site is ready."""
        (ready, _, _, last_timestamp), = self.office.sql(documented("select ready_f"))
        return self.office.has_patient_key(), last_timestamp != LAST_RUN, ready

    def test_full_copy_leaves_an_empty_table_and_the_next_run_fills_it(self):
        self.replicate_only("ada_code", "users")
        self.lost_run("office", f"insert into {self.prefix('laptop')}ada_code", *SIDES)
        self.assertEqual(self.laptop.value("select count(*) from ada_code"), 0)
        self.assertEqual(self.office_state(), (False, False, True))
        self.practice.good_run()
        self.assertEqual(self.office_state(), (True, True, False))
        office, laptop = self.practice.states().values()
        self.assertEqual(laptop["ada_code"], office["ada_code"])

    def test_settings_left_behind_follow_when_their_option_changes_again(self):
        self.replicate_only("chart_option")
        self.lost_run("laptop", "insert into chart_option_setting", *SIDES)
        self.practice.good_run()
        stale = self.stale_options()
        self.assertNotEqual(stale, [])
        self.practice.good_run()
        self.assertEqual(self.stale_options(), stale)
        self.office.sql(documented("update chart_option").replace("'...'", ", ".join(map(literal, stale))))
        self.practice.good_run()
        self.assertEqual(self.stale_options(), [])

    def stale_options(self):
        """The options that both sides have with the same date and whose settings differ."""
        office, laptop = self.practice.states().values()
        settings = [{(row["chart_option_id"], row["unid"], row["setting_value"])
                     for row in side["chart_option_setting"].values()} for side in (office, laptop)]
        stale = {option for option, _, _ in settings[0] ^ settings[1]}
        options = [{key: row["mod_date"] for key, row in side["chart_option"].items()} for side in (office, laptop)]
        return sorted(key for key, _ in options[0].items() & options[1].items() if key in stale)

    def test_documented_steps_after_a_lost_server_lose_no_row_of_a_conflict(self):
        before = self.practice.states()
        self.lost_run("laptop", "Insert into shortcut", *SIDES)
        self.follow_the_documented_steps(before, "Changed on both databases")

    def test_documented_steps_after_a_failed_run_lose_no_row_of_a_conflict(self):
        self.replicate_only("users", "shortcut")
        before = self.practice.states()
        self.lost_run("laptop", "Insert into shortcut", "laptop")
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
            sides = SIDES if conflict["conflict_type"] == NEW_ON_SOURCE else reversed(SIDES)
            self.copy(conflict["table_name"], conflict["key"], *sides)
        place = dismissal.index("{ID}")
        self.quinrep([*dismissal[:place], *(conflict["unid"] for conflict in conflicts), *dismissal[place + 1:]], 0)
        self.assertEqual(self.office.value("select count(*) from replication_conflict"), 0)
        return {(conflict["table_name"], str(conflict["key"]).strip("{}").lower()) for conflict in conflicts}

    def copy(self, table, key, winner, loser):
        """Gives one side the other's row with its dependent rows."""
        insert = documented("insert into users").replace("Laptop.dbo.", self.prefix(winner))
        dependent, parent = DEPENDENTS.get(table, (None, None))
        for name, column in ((table, "unid"), (dependent, parent)):
            if name:
                condition = f"{column} = '{key}'"
                self.practice.sides[loser].sql(f"delete from {name} where {condition}; " +
                                               insert.replace("users", name).replace("unid in (7)", condition))

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

    @unittest.skipUnless(is_postgresql(), "only the PostgreSQL driver's limits of a silent connection are documented")
    def test_silent_network_ends_the_run_by_the_connections_keepalive(self):
        self.replicate_only("users", "shortcut")
        self.practice.set_odbc("laptop", pqopt=SECONDS_OF_SILENCE)
        self.addCleanup(self.practice.set_odbc, "laptop", pqopt="")
        relay = self.practice.relays["laptop"]
        relay.freeze_before("Insert into users")
        with self.practice.start_run() as process:
            relay.wait_until_frozen()
            relay.vanish()
            wait_until(lambda: self.practice.control("error_f"), "the run fails", 30)
            # It would try to connect anew for 20 s.
            relay.cut()
            self.assertEqual(process.wait(PATIENCE), 1)
        self.practice.restore()
        self.practice.good_run()


if __name__ == "__main__":
    main()
