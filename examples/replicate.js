// Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
// one and the source.
//
//   cscript //nologo replicate.js LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
//
// The password of both logins comes from the environment variable QUINMARK_PASSWORD. Ends with status 0 when the run
// went through, 1 when it failed and 2 when it may not run now. JScript's errors have no source; everything else of an
// error is shown.
var SITE_OFFICES = 0;
var ONE_WAY_DELETE_ALL = 1, ONE_WAY = 2, ONE_WAY_ALLOW_DELETES = 3, ONE_WAY_WITH_PK_FIELD = 7;
var UNKNOWN = 1, DELETE_WITH_UPDATES = 2;
var LOG_LEVEL_DEBUG = 1;
var SECONDS_BETWEEN_ATTEMPTS = 900;
var PROGRAM_VERSION = "3.46";

WScript.Quit(main(WScript.Arguments));

function main(given) {
    if (given.length != 1 && given.length != 5) {
        WScript.Echo("usage: replicate.js LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]");
        return 2;
    }
    var factory = null;
    try {
        factory = new ActiveXObject("QuinmarkRepDLL.Factory");
        connect(factory, given);
        return replicate(factory);
    } catch (error) {
        WScript.Echo("Could not replicate: " + errorText(error));
        return 1;
    } finally {
        if (factory) factory.disconnect();
    }
}

function connect(factory, given) {
    var password = new ActiveXObject("WScript.Shell").Environment("PROCESS")("QUINMARK_PASSWORD");
    var all = given.length == 5;
    factory.init(SITE_OFFICES, "SOURCE", all ? given(2) : "office.", all ? given(1) : "QuinmarkOffice", password,
        all ? given(4) : "laptop.", all ? given(3) : "QuinmarkLaptop", password, LOG_LEVEL_DEBUG, given(0));
}

function replicate(factory) {
    if (!factory.ensureReplication())
        return stop(1, "The databases do not belong together: " + factory.sErrorMessage);
    var run = factory.createReplication();
    run.SetReady();
    run.initNextRun(SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION);
    if (run.bError) return stop(2, "The last run failed: " + run.sErrorMessage);
    if (!run.bReady) return stop(2, "This site is not ready for a run");

    var tables = createTables(factory);
    try {
        run.go(tables);
    } catch (error) {
        // Into the control record first, so that the next attempt and the administrator see it.
        factory.setError(true, run.sErrorMessage);
        throw error;
    }
    showSummary(run, tables);
    factory.resetError();
    return 0;
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

function showSummary(run, tables) {
    var keys = new VBArray(tables.Keys()).toArray();
    for (var i = 0; i < keys.length; ++i) {
        var table = keys[i];
        WScript.Echo(table.sTable + ": added " + table.lCntDestAdd + ", updated " + table.lCntDestUpdate +
            ", deleted " + table.lCntDestDelete + ", conflicts " + table.lCntConflict);
    }
    if (run.bError) WScript.Echo("Recorded: " + run.sErrorMessage);
}

// JScript numbers are signed; the unsigned form is the one that error tables list.
function errorText(error) {
    return error.number + " (0x" + (error.number >>> 0).toString(16).toUpperCase() + "): " + error.message;
}

function stop(status, text) {
    WScript.Echo(text);
    return status;
}
