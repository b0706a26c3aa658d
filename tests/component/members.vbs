' The objects as VBScript sees them, without any database: what it hands over and gets back, and errors with their
' sources. The unit tests hold the members one by one.
On Error Resume Next
Const ownError = -2147220504
Const invalidConnection = -2147217795 ' ADO's 3709, moved into the object-error range
Const notConnected = "The connection cannot be used to perform this operation. It is either closed or invalid in this context."
Const notSet = "Object variable or With block variable not set"

Dim factory, run, table, conflict, data, name, level, method
Set factory = CreateObject("QuinmarkRepDLL.Factory")
CheckNoError "the entry object is created"
For Each name In Array("clsReplicate", "clsReplicateTable", "clsConflict", "clsConflictData", "Collection")
    Set run = CreateObject("QuinmarkRepDLL." & name)
    CheckErrorNumber name & " cannot be created", 429
Next

' Literals, variables, and any type that converts.
factory.setLogLevel 5
CheckNoError "a literal"
level = "4"
factory.setLogLevel level
CheckNoError "a variable that holds a text"
factory.setLogLevel "high"
CheckError "a word", 13, "QuinmarkRepDLL", "Type mismatch"
factory.setLogLevel 70000
CheckError "beyond 16 bits", 6, "QuinmarkRepDLL", "Overflow"
factory.setLogLevel Null
CheckError "Null", 94, "QuinmarkRepDLL", "Invalid use of Null"
factory.setLogLevel Nothing
CheckError "Nothing", 91, "QuinmarkRepDLL", notSet
method = "3"
name = "visit"
Set table = factory.createReplicationTable(method, name, "visit_item")
CheckNoError "optional arguments are left out"
Check "a variable becomes what is declared", method, CLng(3)
Check "a text stays one", name, "visit"
Set table = factory.createReplicationTable(7, "procs", "", , 3)
CheckNoError "an argument is left out in the middle"
Check "a text comes back", table.sTable, "procs"
Check "a number comes back", table.lCntConflict, CLng(0)
Set conflict = factory.createConflict("{1}")
Check "a value of any type comes back", conflict.vConflictId, "{1}"
Check "none yet", conflict.vGuid, Empty
Check "a flag comes back as a text", conflict.bExists, "False"
conflict.dSource = 2.5
conflict.iConflictType = "4"
conflict.sKeyInfo = 12
Check "a date from a number", conflict.dSource, CDate(2.5)
Check "16 bits from a text", conflict.iConflictType, CInt(4)
Check "a text from a number", conflict.sKeyInfo, "12"
Check "16 bits as a result", conflict.save, CInt(-1)
Set data = CreateObject("Scripting.Dictionary")
Check "no object yet", conflict.colData Is Nothing, True
Set conflict.colData = data
Check "an object that was set", conflict.colData Is data, True
Set conflict.colData = Nothing
Check "an object that was taken away", conflict.colData Is Nothing, True

' Errors name their routine.
factory.init 0, "LOCAL", "", "a", "b", "", "c", "d", 1, "log"
CheckError "init", ownError, "Factory.init", "Local Connection not set to SOURCE or DESTINATION"
factory.setError True, "text"
CheckError "setError", 91, "Factory.setError", notSet
Set table = Nothing
Set table = factory.createReplicationTable(2, "patient", "child")
CheckError "createReplicationTable", ownError, "clsReplicateTable.init", _
    "Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)"
Check "nothing is handed out", table Is Nothing, True
Set table = factory.createReplicationTable(7, "users", "", "user_id", 3)
table.init 1, "chair_type", ""
Check "init replaces the table", table.sTable, "chair_type"
factory.closeConnection
factory.disconnect
CheckNoError "nothing to close"
factory.setLogLevel 5
table.replicateOneWayDeleteAll
CheckError "replicateOneWayDeleteAll", 91, "clsReplicateTable.replicateOneWayDeleteAll(chair_type)", notSet
conflict.loadFromRs Nothing
CheckError "loadFromRs", 91, "clsConflict.loadFromRs", notSet
Set run = factory.createReplication
run.SetReady
CheckError "SetReady", invalidConnection, "clsReplicate.SetReady", notConnected
Check "it stays in the run", run.sErrorMessage, "clsReplicate.SetReady: -2147217795: " & notConnected

Finish 38
