"""Replicates the tables of an office with its laptop's database, from the office.

    py -3-32 replicate.py LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
        [--ready] [--reset-error]

The office's database is the local one and the source. Needs a 32-bit Python with pywin32. The password of both logins
comes from the environment variable QUINMARK_PASSWORD. --ready marks the site ready for this run. --reset-error shows
and clears the recorded error: give it only after a look at the conflicts, because the next run may delete or overwrite
their rows. The exit status is one of quinrep's, 0 to 4 (docs/quinrep.md).
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
NEXT_STEP = ("Look at the conflicts (cscript conflicts.vbs list --office, or quinrep review) and settle each one. "
             "Only then run with --reset-error.")


def result_of(returned):
    """The result of a call: arguments that travel by reference come back after it."""
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


def show_summary(tables):
    for table in tables:
        print(f"{table.sTable}: added {table.lCntDestAdd}, updated {table.lCntDestUpdate}, "
              f"deleted {table.lCntDestDelete}, conflicts {table.lCntConflict}")


def status_of_run(run, tables):
    """0, or 2 and what was recorded. The error stays recorded until a person has decided."""
    status = 0
    if run.bError:
        status = 2
        print(f"Recorded: {run.sErrorMessage}")
    for table in tables:
        if table.lCntConflict > 0:
            status = 2
            print(f"Conflicts in {table.sTable}: {table.lCntConflict}")
    if status == 2:
        print(NEXT_STEP)
    return status


def stop(status, text):
    print(text)
    return status


def record_error(factory, run):
    """The error goes into the control record, so that the next attempt and the administrator see it. Tells why it could
    not."""
    try:
        factory.setError(True, run.sErrorMessage)
        return ""
    except pythoncom.com_error as error:
        return f"\nand it could not be recorded: {error_text(error)}"


def replicate(factory, ready, reset_error):
    """The status that the program ends with."""
    if not factory.ensureReplication():
        return stop(1, f"The databases do not belong together: {factory.sErrorMessage}")
    run = factory.createReplication()
    if ready:
        run.SetReady()
    run.initNextRun(SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION)
    if reset_error and run.bError:
        print(f"Clearing the recorded error: {run.sErrorMessage}")
        factory.resetError()
        run.initNextRun(SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION)
    if run.bError:
        return stop(4, f"Nothing was run. Recorded: {run.sErrorMessage}\n{NEXT_STEP}")
    if not run.bReady:
        return stop(4, "Nothing was run: this site is not ready; --ready marks it")
    tables = create_tables(factory)
    try:
        run.go(tables)
    except pythoncom.com_error as error:
        return stop(1, f"The run failed: {error_text(error)}{record_error(factory, run)}")
    show_summary(tables)
    return status_of_run(run, tables)


def error_text(error):
    """excepinfo is (code, source, text, help file, help context, number), or None for an error of the platform."""
    _, source, text, _, _, number = error.excepinfo or (0, "", error.strerror, None, 0, error.hresult)
    return f"{number} (0x{number & 0xFFFFFFFF:08X}), {source}: {text}"


def main(given):
    ready, reset_error = "--ready" in given, "--reset-error" in given
    names = [argument for argument in given if argument not in ("--ready", "--reset-error")]
    if len(names) not in (1, 5):
        return stop(3, "usage: replicate.py LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX] "
                       "[--ready] [--reset-error]")
    log_file, office_dsn, office_prefix, laptop_dsn, laptop_prefix = (
        names if len(names) == 5 else names + ["QuinmarkOffice", "office.", "QuinmarkLaptop", "laptop."])
    password = os.environ.get("QUINMARK_PASSWORD", "")
    factory = None
    try:
        factory = win32com.client.Dispatch("QuinmarkRepDLL.Factory")
        factory.init(OFFICES, "SOURCE", office_prefix, office_dsn, password,
                     laptop_prefix, laptop_dsn, password, LOG_LEVEL_DEBUG, log_file)
        return replicate(factory, ready, reset_error)
    except pythoncom.com_error as error:
        return stop(1, f"Could not replicate: {error_text(error)}")
    finally:
        if factory is not None:
            factory.disconnect()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
