' The entry object as VBScript sees it, without any database.
On Error Resume Next
Const invalidConnection = -2147217795 ' ADO's 3709, moved into the object-error range
Const notConnected = "The connection cannot be used to perform this operation. It is either closed or invalid in this context."
Const ownError = -2147220504
Const notSet = "Object variable or With block variable not set"

Dim factory, run, name, level, role
Set factory = CreateObject("QuinmarkRepDLL.Factory")
CheckNoError "the entry object is created"
Check "Version", factory.Version, "3.46.0"
Check "sErrorMessage before any check", factory.sErrorMessage, ""

For Each name In Array("clsReplicate", "clsReplicateTable", "clsConflict", "clsConflictData", "Collection")
    Set run = CreateObject("QuinmarkRepDLL." & name)
    CheckErrorNumber name & " cannot be created", 429
Next

' Before init there is nothing to close and nothing to check.
factory.disconnect
CheckNoError "disconnect before init"
factory.closeConnection
CheckNoError "closeConnection before init"
Check "ensureReplication before init", factory.ensureReplication, False
Check "sErrorMessage tells why", factory.sErrorMessage, notSet
Err.Clear

' Literals, variables and any type that converts.
factory.setLogLevel 5
CheckNoError "setLogLevel with a literal"
level = "4"
factory.setLogLevel level
CheckNoError "setLogLevel with a variable holding a text"
factory.setLogLevel "high"
CheckError "setLogLevel with a word", 13, "QuinmarkRepDLL", "Type mismatch"
factory.setLogLevel 70000
CheckError "setLogLevel beyond 16 bits", 6, "QuinmarkRepDLL", "Overflow"
factory.setLogLevel Null
CheckError "setLogLevel with Null", 94, "QuinmarkRepDLL", "Invalid use of Null"
factory.setLogLevel Nothing
CheckError "setLogLevel with Nothing", 91, "QuinmarkRepDLL", notSet

' A role that is none; literals first, then the same from variables.
factory.init 0, "LOCAL", "", "a", "b", "", "c", "d", 1, "log"
CheckError "init with a bad role", ownError, "Factory.init", "Local Connection not set to SOURCE or DESTINATION"
role = "LOCAL"
level = 1
name = ""
factory.init level, role, name, name, name, name, name, name, level, name
CheckError "init from variables", ownError, "Factory.init", "Local Connection not set to SOURCE or DESTINATION"
Check "a variable keeps its text", role, "LOCAL"
factory.init 70000, "SOURCE", "", "a", "b", "", "c", "d", 1, "log"
CheckError "init with a site beyond 16 bits", 6, "Factory.init", "Overflow"

' Calls that do not fit the declaration.
factory.init 0, "SOURCE"
CheckErrorNumber "init with too few arguments", 449
factory.disconnect 1
CheckErrorNumber "disconnect with an argument", 450
factory.init "x", "SOURCE", "", "a", "b", "", "c", "d", 1, "log"
CheckErrorNumber "init with a site that is a word", 13
factory.init 0, "SOURCE", "", "a", "b", "", "c", "d", 70000, "log"
CheckErrorNumber "init with a log level beyond 16 bits", 6
factory.setError "perhaps", "text"
CheckErrorNumber "setError with a word for the flag", 13
factory.connectDatabases False
CheckErrorNumber "connectDatabases is not for hosts", 438
factory.Version = "1"
CheckErrorNumber "Version is read-only", 438
factory.noSuchMember
CheckErrorNumber "unknown member", 438

' Without connections.
factory.setError True, "text"
CheckError "setError before init", 91, "Factory.setError", notSet
factory.resetError
CheckError "resetError before init", invalidConnection, "Factory.resetError", notConnected

Finish 32
