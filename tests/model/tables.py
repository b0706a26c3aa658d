"""The tables of the model's two databases. Names are the practice's where the rules know a name."""

import dataclasses

from dialect import DIALECT
from values import BIGINT, BIT, DATE, DOUBLE, GUID, INTEGER, MONEY, REAL, SMALLINT, TEXT, Type, char, varchar


@dataclasses.dataclass(frozen=True)
class Column:
    name: str
    type: Type
    unique: bool = False
    required: bool = False

    def ddl(self):
        return f"{self.name} {DIALECT.declaration(self.type.sql)}{' not null' if self.required else ''}"


class Table:
    """`unique` lists name and column of the unique constraints, the primary key first, as the database tries them."""

    def __init__(self, name, *columns, key_fields=()):
        self.name = name
        self.columns = [Column("unid", columns[0], required=True), *columns[1:], Column("mod_date", DATE)]
        self.by_name = {column.name: column for column in self.columns}
        self.key_fields = key_fields
        self.unique = [(f"{name}_pkey", "unid")]
        self.unique += [(f"{name}_{c.name}_key", c.name) for c in self.columns if c.unique]

    def ddl(self):
        columns = [column.ddl() for column in self.columns] + ["primary key (unid)"]
        columns += [f"unique ({column})" for _, column in self.unique[1:]]
        return f"create table {self.name} ({', '.join(columns)});\n"


TABLES = {table.name: table for table in (
    Table("users", INTEGER, Column("user_name", varchar(100)), Column("badge", varchar(20), unique=True),
          Column("level", SMALLINT), Column("salary", MONEY), Column("active_f", BIT), key_fields=("badge",)),
    Table("patient", INTEGER, Column("full_name", varchar(90)), Column("file_no", char(8)), Column("dc_id", INTEGER),
          Column("dentist_id", INTEGER), Column("risk", DOUBLE), Column("household", GUID), Column("seen", DATE),
          Column("lock_f", BIT)),
    Table("procs", INTEGER, Column("proc_name", varchar(60), required=True), Column("proc_no", INTEGER),
          Column("proc_code", varchar(20)), Column("lock_f", BIT), key_fields=("proc_no", "proc_code", "unid")),
    Table("config", GUID, Column("category", varchar(100)), Column("config_name", varchar(60)),
          Column("config_value", varchar(4000)), Column("title", varchar(30), required=True),
          Column("ref_no", INTEGER, unique=True), Column("ratio", DOUBLE), key_fields=("unid", "ref_no")),
    Table("shortcut", GUID, Column("item_name", varchar(60)), Column("note", TEXT), Column("big", BIGINT),
          Column("single", REAL)),
    Table("combo_values", GUID, Column("combo_name", varchar(40)), Column("combo_value", varchar(60)),
          Column("code", varchar(20)), Column("code_no", INTEGER), key_fields=("unid", "code", "code_no")),
    Table("chart_option", GUID, Column("option_name", varchar(60)), Column("option_group", char(8)),
          Column("enabled_f", BIT), Column("since", DATE)),
    Table("chart_option_setting", GUID, Column("chart_option_id", GUID), Column("setting_name", varchar(60)),
          Column("weight", DOUBLE)),
    Table("dentist_company", GUID, Column("dc_id", INTEGER), Column("company_name", varchar(60)),
          key_fields=("dc_id", "dc_id", "dc_id", "unid")),
    Table("chart_comment_info", GUID, Column("dc_id", INTEGER), Column("comment_text", varchar(100))),
    Table("recall_plan", GUID, Column("plan_name", varchar(60)), Column("due", DATE), key_fields=("unid",)),
    Table("computer_type", GUID, Column("type_name", varchar(60)), Column("width", INTEGER)),
    Table("computer_type_setting", GUID, Column("computer_type_id", GUID), Column("setting_name", varchar(60))),
)}

NUMBER_KEYED = {"patient", "users", "procs", "chair_type", "procs_letter", "patient_dates"}

DENTIST = "create table dentist (dc_id integer, dentist_id integer, unique (dc_id, dentist_id));\n"


def plain(table, row):
    """A row's values as literals and files have them."""
    return {c.name: None if row[c.name] is None else c.type.plain(row[c.name]) for c in table.columns}


def parsed(table, row):
    """The reverse; columns that are not there are Null."""
    return {c.name: None if row.get(c.name) is None else c.type.parse(row[c.name]) for c in table.columns}


def schema():
    return DENTIST + "".join(table.ddl() for table in TABLES.values())
