"""The work that both do: a table of ten columns on two sides that differ in 2 % of their rows. All values are ones that
both kinds of server keep exactly, and dates are whole seconds, as the component copies them.
"""

import datetime

TABLE = "sync_work"
ROWS = 100_000
LAST_RUN = datetime.datetime(2024, 6, 1)
BEFORE_LAST_RUN = datetime.datetime(2024, 1, 1)
AFTER_LAST_RUN = datetime.datetime(2024, 7, 1)

_DECLARED = """unid integer primary key, code char(8), name varchar(60), kind smallint, amount decimal(19,4),
    ratio double precision, active_f boolean, since {timestamp}(3), note varchar(100),
    mod_date {timestamp}(3) not null"""
POSTGRES = f"create table {TABLE} ({_DECLARED.format(timestamp='timestamp')});"
MARIADB = f"create table {TABLE} ({_DECLARED.format(timestamp='datetime')}) engine = InnoDB;"

_UPDATED_OF_100, _DELETED_OF_200 = 7, 31
DIFFERENCES = 2 * ROWS // 100 + ROWS // 200 + ROWS // 200  # rows that one side has and the other does not have so


def destination_rows():
    for key in range(1, ROWS + 1):
        yield _row(key, f"Name {key}", BEFORE_LAST_RUN)


def source_rows():
    """What the destination has, 1 % updated, 0.5 % deleted, and 0.5 % added behind it."""
    for key in range(1, ROWS + 1):
        if key % 200 == _DELETED_OF_200:
            continue
        if key % 100 == _UPDATED_OF_100:
            yield _row(key, f"Other name {key}", AFTER_LAST_RUN)
        else:
            yield _row(key, f"Name {key}", BEFORE_LAST_RUN)
    for key in range(ROWS + 1, ROWS + ROWS // 200 + 1):
        yield _row(key, f"New name {key}", AFTER_LAST_RUN)


def write_rows(folder):
    """The sides' rows as `source.rows` and `destination.rows`, as both servers' clients load them."""
    for side, rows in (("source", source_rows()), ("destination", destination_rows())):
        (folder / f"{side}.rows").write_text("".join(f"{row}\n" for row in rows), encoding="ascii")


def _row(key, name, modified):
    since = BEFORE_LAST_RUN - datetime.timedelta(hours=key % 10000)
    values = (key, f"C{key % 9000000:07}", name, key % 100, f"{key % 5000 + 0.25:.4f}", key % 777 / 8, key % 2,
              since, f"A note about number {key} with some words in it", modified + datetime.timedelta(seconds=key))
    return "\t".join(map(str, values))
