"""The rows that both the component and pt-table-sync bring in line: a table of ten columns on two sides that differ in
2 % of their rows. Both kinds of server keep all values exactly, and dates are whole seconds, as the component copies
them.
"""

import datetime

TABLE = "sync_work"
ROWS = 100_000
LAST_RUN = datetime.datetime(2024, 6, 1)
_BEFORE, _AFTER = datetime.datetime(2024, 1, 1), datetime.datetime(2024, 7, 1)
_UPDATED_OF_100, _DELETED_OF_200 = 7, 31
DIFFERENCES = 2 * ROWS // 100 + ROWS // 200 + ROWS // 200  # rows that one side has and the other does not have so


def create_table(timestamp):
    """The statement, with a server's own name of the type."""
    return (f"create table {TABLE} (unid integer primary key, code char(8), name varchar(60), kind smallint, "
            "amount decimal(19,4), ratio double precision, active_f boolean, "
            f"since {timestamp}(3), note varchar(100), mod_date {timestamp}(3) not null);")


def write(folder):
    """The sides' rows as `source.rows` and `destination.rows`, as both servers' clients load them."""
    for side, rows in (("source", _source()), ("destination", _destination())):
        (folder / f"{side}.rows").write_text("".join(f"{row}\n" for row in rows), encoding="ascii")


def _destination():
    return (_row(key, f"Name {key}", _BEFORE) for key in range(1, ROWS + 1))


def _source():
    """As the destination has them, but 1 % updated, 0.5 % deleted and 0.5 % added at the end."""
    for key in range(1, ROWS + 1):
        if key % 100 == _UPDATED_OF_100:
            yield _row(key, f"Other name {key}", _AFTER)
        elif key % 200 != _DELETED_OF_200:
            yield _row(key, f"Name {key}", _BEFORE)
    for key in range(ROWS + 1, ROWS + ROWS // 200 + 1):
        yield _row(key, f"New name {key}", _AFTER)


def _row(key, name, modified):
    since = _BEFORE - datetime.timedelta(hours=key % 10000)
    values = (key, f"C{key % 9000000:07}", name, key % 100, f"{key % 5000 + 0.25:.4f}", key % 777 / 8, key % 2,
              since, f"A note about number {key} with some words in it", modified + datetime.timedelta(seconds=key))
    return "\t".join(map(str, values))
