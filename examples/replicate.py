"""Replicates the tables of an office with its laptop's database, from the office.

    py -3-32 replicate.py LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]

The office's database is the local one and the source. Needs a 32-bit Python with pywin32. The password of both logins
comes from the environment variable QUINMARK_PASSWORD. Ends with status 0 when the run went through, 1 when it failed
and 2 when it may not run now; every error is shown with its number, source and text.
"""
import os
import sys

import pythoncom
import win32com.client

OFFICES = 0
ONE_WAY_DELETE_ALL = 1
ONE_WAY = 2
ONE_WAY_ALLOW_DELETES = 3
ONE_WAY_WITH_PK_FIELD = 7
DELETE_WITH_UPDATES = 2
LOG_LEVEL_DEBUG = 1
SECONDS_BETWEEN_ATTEMPTS = 900
PROGRAM_VERSION = "3.46"


def result_of(returned):
    """The result of a call: arguments that travel by reference come back behind it."""
    return returned[0] if isinstance(returned, tuple) else returned


def create_tables(factory):
    created = [
        factory.createReplicationTable(ONE_WAY_DELETE_ALL, "ada_code", ""),
        factory.createReplicationTable(ONE_WAY_WITH_PK_FIELD, "dentist_company", "", "dc_id", DELETE_WITH_UPDATES),
        factory.createReplicationTable(ONE_WAY, "dentist", ""),
        factory.createReplicationTable(ONE_WAY_ALLOW_DELETES, "patient", ""),
        factory.createReplicationTable(ONE_WAY_ALLOW_DELETES, "chart_option", "chart_option_setting"),
    ]
    return [result_of(table) for table in created]


def show_summary(run, tables):
    for table in tables:
        print(f"{table.sTable}: added {table.lCntDestAdd}, updated {table.lCntDestUpdate}, "
              f"deleted {table.lCntDestDelete}, conflicts {table.lCntConflict}")
    if run.bError:
        print(f"Recorded: {run.sErrorMessage}")


def replicate(factory):
    """The status that the program ends with."""
    if not factory.ensureReplication():
        print(f"The databases do not belong together: {factory.sErrorMessage}")
        return 1
    run = factory.createReplication()
    run.SetReady()
    run.initNextRun(SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION)
    if run.bError:
        print(f"The last run failed: {run.sErrorMessage}")
        return 2
    if not run.bReady:
        print("This site is not ready for a run")
        return 2
    tables = create_tables(factory)
    try:
        run.go(tables)
    except pythoncom.com_error:
        # Into the control record first, so that the next attempt and the administrator see it.
        factory.setError(True, run.sErrorMessage)
        raise
    show_summary(run, tables)
    factory.resetError()
    return 0


def error_text(error):
    """excepinfo is (code, source, text, help file, help context, number), or None for an error of the platform."""
    _, source, text, _, _, number = error.excepinfo or (0, "", error.strerror, None, 0, error.hresult)
    return f"{number} (0x{number & 0xFFFFFFFF:08X}), {source}: {text}"


def main(given):
    if len(given) not in (1, 5):
        print("usage: replicate.py LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]")
        return 2
    log_file, office_dsn, office_prefix, laptop_dsn, laptop_prefix = (
        given if len(given) == 5 else given + ["QuinmarkOffice", "office.", "QuinmarkLaptop", "laptop."])
    password = os.environ.get("QUINMARK_PASSWORD", "")
    factory = None
    try:
        factory = win32com.client.Dispatch("QuinmarkRepDLL.Factory")
        factory.init(OFFICES, "SOURCE", office_prefix, office_dsn, password,
                     laptop_prefix, laptop_dsn, password, LOG_LEVEL_DEBUG, log_file)
        return replicate(factory)
    except pythoncom.com_error as error:
        print(f"Could not replicate: {error_text(error)}")
        return 1
    finally:
        if factory is not None:
            factory.disconnect()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
