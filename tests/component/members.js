// Every object as JScript sees it, without any database.
var kOwnError = 0x800403E8;
var kInvalidConnection = 0x80040E7D; // ADO's 3709, moved into the object-error range
var kNotConnected =
    "The connection cannot be used to perform this operation. It is either closed or invalid in this context.";
var kNotSet = "Object variable or With block variable not set";
// What does not fit the declaration comes back as the code of the call itself.
var kMemberNotFound = 0x80020003;
var kTypeMismatch = 0x80020005;
var kOverflow = 0x8002000A;
var kBadParamCount = 0x8002000E;
var kParamNotOptional = 0x8002000F;
function runtime(number) { return 0x800A0000 + number; }

var factory = new ActiveXObject("QuinmarkRepDLL.Factory");
check("Version", factory.Version, "3.46.0");
check("sErrorMessage", factory.sErrorMessage, "");
checkError("clsReplicate cannot be created", function () { new ActiveXObject("QuinmarkRepDLL.clsReplicate"); },
    runtime(429));

factory.disconnect();
factory.closeConnection();
factory.setLogLevel(4);
factory.setLogLevel("5");
check("ensureReplication before init", factory.ensureReplication(), false);
check("sErrorMessage tells why", factory.sErrorMessage, kNotSet);
checkError("setLogLevel with a word", function () { factory.setLogLevel("high"); }, runtime(13), "Type mismatch");
checkError("setLogLevel with null", function () { factory.setLogLevel(null); }, runtime(94), "Invalid use of Null");
checkError("setLogLevel too high", function () { factory.setLogLevel(70000); }, runtime(6), "Overflow");
checkError("init with a bad role", function () {
    factory.init(0, "LOCAL", "", "a", "b", "", "c", "d", 1, "log");
}, kOwnError, "Local Connection not set to SOURCE or DESTINATION");
checkError("init with too few arguments", function () { factory.init(0, "SOURCE"); }, kParamNotOptional);
checkError("disconnect with an argument", function () { factory.disconnect(1); }, kBadParamCount);
checkError("setError with a word for the flag", function () { factory.setError("perhaps", "text"); }, kTypeMismatch);
checkError("setError before init", function () { factory.setError(true, "text"); }, runtime(91), kNotSet);
checkError("resetError before init", function () { factory.resetError(); },
    kInvalidConnection, kNotConnected);
checkError("connectDatabases is not for hosts", function () { factory.connectDatabases(false); },
    kMemberNotFound);

var run = factory.createReplication();
check("bError", run.bError, false);
check("bReady", run.bReady, false);
checkError("SetReady before init", function () { run.SetReady(); },
    kInvalidConnection, kNotConnected);
check("bError after a failed step", run.bError, true);
checkError("go before init", function () { run.go(new ActiveXObject("Scripting.Dictionary")); },
    kInvalidConnection, kNotConnected);
check("sErrorMessage of go", run.sErrorMessage, kNotConnected);

var table = factory.createReplicationTable(2, "patient", "");
check("sTable", table.sTable, "patient");
check("lCntError", table.lCntError, 0);
check("with every argument", factory.createReplicationTable(7, "users", "", "user_id", 3).sTable, "users");
checkError("dependent table with the wrong method", function () {
    factory.createReplicationTable(2, "patient", "child");
}, kOwnError, "Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)");
checkError("without the table", function () { factory.createReplicationTable(2); }, kParamNotOptional);
checkError("go with an unknown method", function () {
    factory.createReplicationTable(99, "patient", "").go(1.5, 2.5);
}, kOwnError, "Invalid replication method");
checkError("replicateOneWayDeleteAll before init", function () { table.replicateOneWayDeleteAll(); }, runtime(91), kNotSet);

var conflict = factory.createConflict("{1}");
check("vConflictId", conflict.vConflictId, "{1}");
conflict.sTable = "patient";
conflict.lPatientId = 17;
conflict.iConflictType = "4";
conflict.dSource = 2.5;
check("sTable put", conflict.sTable, "patient");
check("lPatientId put", conflict.lPatientId, 17);
check("iConflictType from a text", conflict.iConflictType, 4);
var data = new ActiveXObject("Scripting.Dictionary");
data.Add("key", "value");
conflict.colData = data;
check("object property by plain assignment", conflict.colData.Item("key"), "value");
checkError("read-only property", function () { conflict.vConflictId = "other"; }, kMemberNotFound);
checkError("property beyond 16 bits", function () { conflict.iConflictType = 40000; }, kOverflow);

finish(35);
