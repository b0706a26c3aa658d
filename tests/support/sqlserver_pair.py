"""The pair of databases that a run of the tests or the demo makes on a SQL Server.

    sqlserver_pair.py start HOST[:PORT]            make databases, login and data sources; say what the server is
    sqlserver_pair.py reset [PATIENTS] [--both]    back to the sample: PATIENTS (2000) at the office or on both sides
    sqlserver_pair.py stop                         take all of it away

QUINMARK_ADMIN and QUINMARK_ADMIN_PASSWORD are an administrator's login. All databases that are made have names that
begin with QuinmarkTest; the login is the component's. What others have made is left alone. Scripts source
build/sqlserver/env.sh after start.
Exit status: 0 done, 1 failed, 2 wrong usage.
"""

import argparse
import os
import secrets
import shlex
import sys
import unittest

import pymssql

from side import LOGIN, REPOSITORY
from sqlserver import SQL_FILES, SqlServer, said

PAIR = {"Office": "QuinmarkTestOffice", "Laptop": "QuinmarkTestLaptop"}
STATE = REPOSITORY / "build" / "sqlserver"
# Stands as long as there is something to take away from the server of env.sh.
MADE = STATE / "made"
DRIVER = "/usr/lib/i386-linux-gnu/odbc/libtdsodbc.so"


def own_databases(owner):
    return owner.column("select name from sys.databases where name like 'QuinmarkTest%'")


def has_login(owner):
    return owner.value(f"select count(*) from sys.server_principals where name = '{LOGIN}'") > 0


def write_settings(address):
    """The data sources, and the settings of programs that use the pair."""
    STATE.mkdir(parents=True, exist_ok=True)
    host, _, port = address.partition(":")
    (STATE / "odbc.ini").write_text("".join(
        f"[Quinmark{side}]\nDriver = {DRIVER}\nServer = {host}\nPort = {port or 1433}\nDatabase = {database}\n"
        "TDS_Version = 7.4\nClientCharset = UTF-8\n\n" for side, database in PAIR.items()))
    settings = {"QUINMARK_SERVER": "sqlserver", "ODBCINI": str(STATE / "odbc.ini"), "ODBCSYSINI": str(STATE),
                # Of letters of both cases and digits, as the rules of a server want it.
                "QUINMARK_PASSWORD": f"Aa1{secrets.token_hex(16)}"}
    for side, database in PAIR.items():
        settings[f"QUINMARK_{side.upper()}_DSN"] = f"Quinmark{side}"
        settings[f"QUINMARK_{side.upper()}_PREFIX"] = SqlServer.prefix(database)
    # The driver takes another port for a data source, but no other host.
    settings["QUINMARK_SERVER_ADDRESS"] = f"{host}:{port or 1433}" if host in ("127.0.0.1", "localhost") else ""
    file = STATE / "env.sh"
    file.touch(0o600)
    file.write_text("".join(f"export {name}={shlex.quote(value)}\n" for name, value in settings.items()))


def server_of_settings():
    lines = shlex.split((STATE / "env.sh").read_text())
    return SqlServer({**os.environ, **dict(word.split("=", 1) for word in lines if "=" in word)})


def start(address):
    # What a killed run has left, wherever that was.
    stop()
    write_settings(address)
    server = server_of_settings()
    with server.owner() as owner:
        print(f"sqlserver: {address} is {owner.value('select @@version').splitlines()[0]}", file=sys.stderr)
        left = [f"the database {name}" for name in own_databases(owner)]
        left += [f"the login {LOGIN}"] * has_login(owner)
    if left:
        sys.exit(f"sqlserver: {address} has {' and '.join(left)}, which this working copy did not make.\n"
                 "Use another server, or delete them if you know that nobody needs them.")
    MADE.touch()
    make_pair(server)


def make_pair(server):
    for database in PAIR.values():
        server.create(database, *SqlServer.FILES)


def reset(patients, both):
    server = server_of_settings()
    make_pair(server)
    for side, database in PAIR.items():
        if both or side == "Office":
            with server.login(database) as login:
                login.run_files(*sorted(file.name for file in SQL_FILES.glob("8*.sql")), Patients=patients)


def stop():
    if not MADE.exists():
        return
    server = server_of_settings()
    with server.owner() as owner:
        server.drop(*own_databases(owner))
        if has_login(owner):
            owner.sql(f"drop login {LOGIN}")
    MADE.unlink()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(required=True)
    command = commands.add_parser("start")
    command.add_argument("address", metavar="HOST[:PORT]")
    command.set_defaults(run=start)
    command = commands.add_parser("reset")
    command.add_argument("patients", nargs="?", type=int, default=2000)
    command.add_argument("--both", action="store_true")
    command.set_defaults(run=reset)
    commands.add_parser("stop").set_defaults(run=stop)
    chosen = vars(parser.parse_args())
    try:
        chosen.pop("run")(**chosen)
    except (pymssql.Error, unittest.SkipTest) as error:
        sys.exit(f"sqlserver: {said(error)}")


if __name__ == "__main__":
    main()
