"""Runs SQL in one of the practice's databases, whatever the server, as the component's login.

    sql.py office|laptop [-v NAME=VALUE]... SQL         prints the rows of the last statement, a line each
    sql.py office|laptop [-v NAME=VALUE]... -f FILE     the same for a file
    sql.py office|laptop --tables                       all rows of all replicated tables, after their table's name
    sql.py office|laptop --serve                        answers lines with requests until they end

$(NAME) in the SQL is a variable. Values have tabs between them. Requests and answers are JSON. A request is SQL or
[table, rows to insert]; its answer is {"rows": rows of the last statement} or {"error": the server's message}.
"""

import argparse
import datetime
import json
import os
import pathlib
import sys

from practice import RECORDS
from side import Side, skip_without_databases, with_variables


def text(value):
    return value.isoformat() if isinstance(value, datetime.datetime) else str(value)


def replicated_tables(side):
    return [name for name in side.table_names() if name not in (*RECORDS, "control")]


def answer(side, request):
    try:
        return {"rows": side.sql(request if isinstance(request, str) else side.insertion(*request))}
    except side.REFUSED as error:
        return {"error": side.said(error)}


def serve(side):
    for line in sys.stdin.buffer:
        print(json.dumps(answer(side, json.loads(line)), default=text), flush=True)


def main():
    skip_without_databases()
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("side", choices=("office", "laptop"))
    parser.add_argument("-v", metavar="NAME=VALUE", action="append", default=[], dest="variables")
    source = parser.add_mutually_exclusive_group(required=True)
    source.add_argument("sql", nargs="?")
    source.add_argument("-f", type=pathlib.Path, dest="file")
    source.add_argument("--tables", action="store_true")
    source.add_argument("--serve", action="store_true")
    chosen = parser.parse_args()
    side = Side.of(os.environ[f"QUINMARK_{chosen.side.upper()}_DSN"])
    with side:
        if chosen.serve:
            serve(side)
            return
        if chosen.tables:
            lines = [[name, *row.values()] for name, rows in side.tables(*replicated_tables(side)).items()
                     for row in rows]
        else:
            variables = dict(variable.split("=", 1) for variable in chosen.variables)
            sql = chosen.file.read_text() if chosen.file else chosen.sql
            lines = side.sql(with_variables(sql, variables))
    for line in lines:
        print(*map(text, line), sep="\t")


if __name__ == "__main__":
    main()
