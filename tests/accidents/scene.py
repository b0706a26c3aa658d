"""The rows of both databases before a run: random ones of every kind that the methods tell apart."""

import uuid

from practice import LAST_RUN

OLD = "2026-02-01 08:{:02}:{:02}"
NEW = "2026-03-02 09:{:02}:{:02}"
# name, text column, other required columns, method
TABLES = {
    "ada_code": ("ada_code_desc", {"ada_code": "D1"}, "method = 'full_copy'"),
    "users": ("user_name", {}, "method = 'one_way_deletes'"),
    "shortcut": ("item_name", {}, "method = 'one_way'"),
    "chart_option": ("option_name", {}, "method = 'one_way_deletes'\ndependent = 'chart_option_setting'"),
    "combo_values": ("combo_value", {"combo_name": "c"}, "method = 'two_way'"),
    "config": ("config_name", {"category": "c"}, "method = 'by_key'\nkey = 'unid'\ndeletes = 'with_updates'"),
    "computer_type": ("type_name", {}, "method = 'computer_type'"),
}
# The dates of each side's row; None: the side lacks it.
ONE_WAY = [(OLD, OLD), (NEW, OLD), (NEW, NEW), (OLD, NEW), (NEW, None), (OLD, None), (None, OLD), (None, NEW)]
TWO_WAY = [(OLD, OLD), (NEW, OLD), (OLD, NEW), (NEW, None), (None, NEW)]
DEPENDENTS = {"chart_option": ("chart_option_setting", "chart_option_id"),
              "computer_type": ("computer_type_setting", "computer_type_id")}
ALL = [*TABLES, *(name for name, _ in DEPENDENTS.values())]


class Scene:
    """The rows of either side before the run, by side and table."""

    def __init__(self, random):
        self._random = random
        self.rows = {side: {table: [] for table in ALL} for side in ("office", "laptop")}
        for table in TABLES:
            self._fill(table)

    def _fill(self, table):
        kinds = TWO_WAY if "two_way" in TABLES[table][2] else ONE_WAY
        rows = [kind for kind in kinds for _ in range(self._random.choice((1, 1, 2)))]
        self._random.shuffle(rows)
        for number, dates in enumerate(rows):
            key = number + 1 if table == "users" else uuid.UUID(int=self._random.getrandbits(128))
            text = f"row {number} it's {self._random.choice('abc') * self._random.randint(1, 20)}"
            for side, date in zip(self.rows, dates):
                if date:
                    same = dates[0] == dates[1] == OLD
                    self._insert(side, table, str(key), text if same else f"{side} {text}", date, number)

    def _insert(self, side, table, key, text, date, number):
        column, others, _ = TABLES[table]
        # Sides that both changed differ by more than the tolerance.
        date = date.format(number, 30 if side == "office" or date == OLD else 20)
        self.rows[side][table].append({"unid": key, column: text, "mod_date": date, **others})
        if table in DEPENDENTS:
            dependent, parent = DEPENDENTS[table]
            self.rows[side][dependent] += [
                {"unid": str(uuid.uuid5(uuid.NAMESPACE_OID, f"{key} {setting}")), parent: key, "setting_name": setting,
                 "setting_value": text, "mod_date": date} for setting in ("one", "two")]


def snapshot(side):
    """All rows by table and key, the conflicts, and what the run leaves in the control record."""
    found = side.tables(*ALL, "replication_conflict", "replication_conflict_data", "replication_control")
    state = {table: {str(row["unid"]): row for row in found[table]} for table in ALL}
    columns = {}
    for row in found["replication_conflict_data"]:
        columns.setdefault(row["conflict_id"], {})[row["field_name"]] = row["source_data"], row["destination_data"]
    state["conflicts"] = [
        (*(row[name] for name in ("table_name", "patient_id", "guid", "conflict_type")), columns.get(row["unid"], {}))
        for row in found["replication_conflict"]]
    control, = (row for row in found["replication_control"] if row["unique_key"] == 0)
    return {**state, "advanced": control["last_timestamp"] != LAST_RUN, "ready": control["ready_f"],
            "key": side.has_patient_key()}
