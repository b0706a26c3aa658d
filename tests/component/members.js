// Every member as JScript sees it, without any database. A value that does not fit the declaration makes the call
// itself fail.
var kOwnError = 0x800403E8;
var kInvalidConnection = 0x80040E7D; // ADO's 3709, moved into the object-error range
var kMemberNotFound = 0x80020003;
var kTypeMismatch = 0x80020005;
var kOverflow = 0x8002000A;
var kBadParamCount = 0x8002000E;
var kParamNotOptional = 0x8002000F;
var kNotSet = 0x800A005B;
var kNotConnected =
    "The connection cannot be used to perform this operation. It is either closed or invalid in this context.";
var kObjectNotSet = "Object variable or With block variable not set";
var kBadRole = "Local Connection not set to SOURCE or DESTINATION";
var kBadDependent = "Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)";

var factory = new ActiveXObject("QuinmarkRepDLL.Factory");
var run = factory.createReplication();
var table = factory.createReplicationTable(7, "users", "", "user_id", 3);
var unknown = factory.createReplicationTable(99, "patient", "");
var conflict = factory.createConflict("{1}");
var data = new ActiveXObject("Scripting.Dictionary");
factory.disconnect();
factory.closeConnection();
factory.setLogLevel(5);

function holds(values) {
    for (var expression in values)
        check(expression, eval(expression), values[expression]);
}

holds({
    "factory.Version": "3.46.0", "factory.sErrorMessage": "", "factory.ensureReplication()": false,
    "run.bError": false, "run.bReady": false, "Number(run.dLastReplicate)": Number(conflict.dSource),
    "Number(run.dNextReplicate)": Number(conflict.dSource), "run.sErrorMessage": "",
    "table.sTable": "users", "table.lCntSourceAdd": 0, "table.lCntSourceUpdate": 0, "table.lCntSourceDelete": 0,
    "table.lCntDestAdd": 0, "table.lCntDestUpdate": 0, "table.lCntDestDelete": 0, "table.lCntConflict": 0,
    "table.lCntError": 0, "conflict.edit()": false, "conflict.iResolutionType": 0, "conflict.sKeyInfo": ""
});
check("sErrorMessage tells why", factory.sErrorMessage, kObjectNotSet);
check("every reason", conflict.sErrorMessage, "Table name not supplied\r\nPatiend id or table guid not supplied\r\n" +
    "Conflict type not supplied\r\n");

var kFailures = [
    ["new ActiveXObject('QuinmarkRepDLL.clsReplicate')", 0x800A01AD],
    ["factory.init(0, 'LOCAL', '', 'a', 'b', '', 'c', 'd', 1, 'log')", kOwnError, kBadRole],
    ["factory.init(70000, 'SOURCE', '', 'a', 'b', '', 'c', 'd', 1, 'log')", 0x800A0006, "Overflow"],
    ["factory.init(0, 'SOURCE', '', 'a', 'b', '', 'c', 'd', 70000, 'log')", kOverflow],
    ["factory.init('x', 'SOURCE', '', 'a', 'b', '', 'c', 'd', 1, 'log')", kTypeMismatch],
    ["factory.init(0, 'SOURCE')", kParamNotOptional],
    ["factory.disconnect(1)", kBadParamCount],
    ["factory.setError('perhaps', 'text')", kTypeMismatch],
    ["factory.resetError()", kInvalidConnection, kNotConnected],
    ["factory.connectDatabases(false)", kMemberNotFound],
    ["factory.createReplicationTable(2, 'patient', 'child')", kOwnError, kBadDependent],
    ["factory.createReplicationTable(2)", kParamNotOptional],
    ["run.SetReady()", kInvalidConnection, kNotConnected],
    ["run.initNextRun(60)", kParamNotOptional],
    ["run.initNextRun('often', 'laptop')", kTypeMismatch],
    ["run.go(data)", kInvalidConnection, kNotConnected],
    ["run.go()", kParamNotOptional],
    ["run.bError = false", kMemberNotFound],
    ["unknown.go(1.5, 2.5)", kOwnError, "Invalid replication method"],
    ["unknown.go('soon', 2.5)", kTypeMismatch],
    ["table.replicateOneWayDeleteAll()", kNotSet, kObjectNotSet],
    ["table.replicateComputerType()", kNotSet, kObjectNotSet],
    ["table.replicateTableTwoWay(true)", kInvalidConnection, kNotConnected],
    ["table.replicateOneWay(true)", kNotSet, kObjectNotSet],
    ["table.replicateOneWayWithPKField()", kNotSet, kObjectNotSet],
    ["table.sTable = 'other'", kMemberNotFound],
    ["conflict.vConflictId = 'other'", kMemberNotFound],
    ["conflict.iConflictType = 40000", kOverflow],
    ["conflict.lPatientId = 'many'", kTypeMismatch],
    ["conflict.loadFromRs('rs')", kTypeMismatch]
];
for (var index = 0; index < kFailures.length; ++index)
    checkError(kFailures[index][0], new Function(kFailures[index][0]), kFailures[index][1], kFailures[index][2]);
check("bError after a failed step", run.bError, true);
check("sErrorMessage of go", run.sErrorMessage, kNotConnected);

table.init(1, "chair_type", "");
conflict.sTable = "patient";
conflict.lPatientId = "17";
conflict.vGuid = "{2}";
conflict.iConflictType = 4;
conflict.sKeyInfo = 12;
conflict.dSource = 2.5;
conflict.dDestination = 3;
conflict.iResolutionType = 2;
conflict.dNextReplicate = 43895;
conflict.colData = data; // by plain assignment
data.Add("key", "value");
holds({
    "table.sTable": "chair_type", "conflict.sTable": "patient", "conflict.lPatientId": 17, "conflict.vGuid": "{2}",
    "conflict.iConflictType": 4, "conflict.sKeyInfo": "12", "conflict.dSource - conflict.dDestination": -43200000,
    "conflict.iResolutionType": 2, "conflict.dNextReplicate - conflict.dDestination": 43892 * 86400000,
    "conflict.colData.Item('key')": "value", "conflict.bExists": "False", "conflict.edit()": true
});

finish(66);
