// Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
// one and the source.
//
//   cscript //nologo replicate.js LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
//       [--ready] [--reset-error]
//
// The password of both logins comes from the environment variable QUINMARK_PASSWORD. --ready marks the site ready for
// this run. --reset-error shows and clears the recorded error: give it only after a look at the conflicts, because the
// next run may delete or overwrite their rows. The exit status is one of quinrep's, 0 to 4 (docs/quinrep.md). JScript's
// errors have no source; everything else of an error is shown.
var SITE_OFFICES = 0;
var ONE_WAY_DELETE_ALL = 1, ONE_WAY = 2, ONE_WAY_ALLOW_DELETES = 3, ONE_WAY_WITH_PK_FIELD = 7;
var UNKNOWN = 1, DELETE_WITH_UPDATES = 2;
var LOG_LEVEL_DEBUG = 1;
var SECONDS_BETWEEN_ATTEMPTS = 900;
var PROGRAM_VERSION = "3.46";
var NEXT_STEP = "Look at the conflicts (cscript conflicts.vbs list --office, or quinrep review) and settle each one. " +
    "Only then run with --reset-error.";

WScript.Quit(main(WScript.Arguments));

function main(given) {
    var ready = false, resetError = false, names = [];
    for (var i = 0; i < given.length; ++i) {
        if (given(i) == "--ready") ready = true;
        else if (given(i) == "--reset-error") resetError = true;
        else names.push(given(i));
    }
    if (names.length != 1 && names.length != 5)
        return stop(3, "usage: replicate.js LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX] " +
            "[--ready] [--reset-error]");
    var factory = null;
    try {
        factory = new ActiveXObject("QuinmarkRepDLL.Factory");
        connect(factory, names);
        return replicate(factory, ready, resetError);
    } catch (error) {
        WScript.Echo("Could not replicate: " + errorText(error));
        return 1;
    } finally {
        if (factory) factory.disconnect();
    }
}

function connect(factory, names) {
    var password = new ActiveXObject("WScript.Shell").Environment("PROCESS")("QUINMARK_PASSWORD");
    var all = names.length == 5;
    factory.init(SITE_OFFICES, "SOURCE", all ? names[2] : "office.", all ? names[1] : "QuinmarkOffice", password,
        all ? names[4] : "laptop.", all ? names[3] : "QuinmarkLaptop", password, LOG_LEVEL_DEBUG, names[0]);
}

function replicate(factory, ready, resetError) {
    if (!factory.ensureReplication())
        return stop(1, "The databases do not belong together: " + factory.sErrorMessage);
    var run = factory.createReplication();
    if (ready) run.SetReady();
    run.initNextRun(SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION);
    if (resetError && run.bError) {
        WScript.Echo("Clearing the recorded error: " + run.sErrorMessage);
        factory.resetError();
        run.initNextRun(SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION);
    }
    if (run.bError) return stop(4, "Nothing was run. Recorded: " + run.sErrorMessage + "\n" + NEXT_STEP);
    if (!run.bReady) return stop(4, "Nothing was run: this site is not ready; --ready marks it");

    var tables = createTables(factory);
    try {
        run.go(tables);
    } catch (error) {
        return stop(1, "The run failed: " + errorText(error) + recordError(factory, run));
    }
    showSummary(tables);
    return statusOfRun(run, tables);
}

// The error goes into the control record, so that the next attempt and the administrator see it. Tells why it could
// not.
function recordError(factory, run) {
    try {
        factory.setError(true, run.sErrorMessage);
        return "";
    } catch (error) {
        return "\nand it could not be recorded: " + errorText(error);
    }
}

// A dictionary's keys are the tables; it keeps their order.
function createTables(factory) {
    var tables = new ActiveXObject("Scripting.Dictionary");
    function add(method, name, dependent, keyField, deletes) {
        tables.Add(factory.createReplicationTable(method, name, dependent, keyField, deletes), name);
    }
    add(ONE_WAY_DELETE_ALL, "ada_code", "", "", UNKNOWN);
    add(ONE_WAY_WITH_PK_FIELD, "dentist_company", "", "dc_id", DELETE_WITH_UPDATES);
    add(ONE_WAY, "dentist", "", "", UNKNOWN);
    add(ONE_WAY_ALLOW_DELETES, "patient", "", "", UNKNOWN);
    add(ONE_WAY_ALLOW_DELETES, "chart_option", "chart_option_setting", "", UNKNOWN);
    return tables;
}

function showSummary(tables) {
    var keys = new VBArray(tables.Keys()).toArray();
    for (var i = 0; i < keys.length; ++i) {
        var table = keys[i];
        WScript.Echo(table.sTable + ": added " + table.lCntDestAdd + ", updated " + table.lCntDestUpdate +
            ", deleted " + table.lCntDestDelete + ", conflicts " + table.lCntConflict);
    }
}

// 0, or 2 and what was recorded. The error stays recorded until a person has decided.
function statusOfRun(run, tables) {
    var status = 0;
    if (run.bError) {
        status = 2;
        WScript.Echo("Recorded: " + run.sErrorMessage);
    }
    var keys = new VBArray(tables.Keys()).toArray();
    for (var i = 0; i < keys.length; ++i) {
        var table = keys[i];
        if (table.lCntConflict > 0) {
            status = 2;
            WScript.Echo("Conflicts in " + table.sTable + ": " + table.lCntConflict);
        }
    }
    if (status == 2) WScript.Echo(NEXT_STEP);
    return status;
}

// JScript numbers are signed; the unsigned form is the one that error tables list.
function errorText(error) {
    return error.number + " (0x" + (error.number >>> 0).toString(16).toUpperCase() + "): " + error.message;
}

function stop(status, text) {
    WScript.Echo(text);
    return status;
}
