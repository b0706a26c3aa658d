// Checks for scripts of the component tests; stands in front of each script. A script that breaks off prints no verdict:
// the test looks for "checks passed". Quits with 1 after a failed check.

var checkCount = 0;
var checkFailures = 0;

function checkFailed(what, actual, expected) {
    ++checkFailures;
    WScript.Echo("FAILED " + what + ": got <" + actual + ">, expected <" + expected + ">");
}

// Type and value are those expected.
function check(what, actual, expected) {
    ++checkCount;
    if (typeof actual !== typeof expected || actual !== expected)
        checkFailed(what, typeof actual + " " + actual, typeof expected + " " + expected);
}

// The action fails with this number (as unsigned 32-bit) and, unless it is left out, this description.
function checkError(what, action, number, description) {
    ++checkCount;
    try {
        action();
    } catch (error) {
        var seen = (error.number >>> 0).toString(16) + "|" + (description === undefined ? "" : error.description);
        var wanted = number.toString(16) + "|" + (description === undefined ? "" : description);
        if (seen !== wanted)
            checkFailed(what, seen, wanted);
        return;
    }
    checkFailed(what, "no error", number.toString(16));
}

// Ends the script. All of its checks must have been reached.
function finish(expectedChecks) {
    if (checkCount !== expectedChecks)
        checkFailed("number of checks", checkCount, expectedChecks);
    if (checkFailures > 0)
        WScript.Quit(1);
    WScript.Echo(checkCount + " checks passed");
}
