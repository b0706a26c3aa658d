' The table object as VBScript sees it, without any database.
On Error Resume Next
Const ownError = -2147220504
Const notSet = "Object variable or With block variable not set"

Dim factory, table, method, name, none
Set factory = CreateObject("QuinmarkRepDLL.Factory")

Set table = factory.createReplicationTable(2, "patient", "")
CheckNoError "created with the optional arguments left out"
Check "sTable", table.sTable, "patient"
Check "lCntSourceAdd", table.lCntSourceAdd, CLng(0)
Check "lCntSourceUpdate", table.lCntSourceUpdate, CLng(0)
Check "lCntSourceDelete", table.lCntSourceDelete, CLng(0)
Check "lCntDestAdd", table.lCntDestAdd, CLng(0)
Check "lCntDestUpdate", table.lCntDestUpdate, CLng(0)
Check "lCntDestDelete", table.lCntDestDelete, CLng(0)
Check "lCntConflict", table.lCntConflict, CLng(0)
Check "lCntError", table.lCntError, CLng(0)

Set table = factory.createReplicationTable(7, "users", "", "user_id", 3)
CheckNoError "created with every argument"
Check "sTable of the second", table.sTable, "users"
Set table = factory.createReplicationTable(7, "procs", "", , 3)
CheckNoError "created with an argument left out in the middle"
Check "sTable of the third", table.sTable, "procs"
method = "3"
name = "visit"
none = "visit_item"
Set table = factory.createReplicationTable(method, name, none)
CheckNoError "created from variables"
Check "sTable of the fourth", table.sTable, "visit"
Check "a variable becomes what is declared", method, CLng(3)

Set table = Nothing
Set table = factory.createReplicationTable(2, "patient", "child")
CheckError "dependent table with the wrong method", ownError, "clsReplicateTable.init", _
    "Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)"
Check "nothing is handed out", table Is Nothing, True
Set table = factory.createReplicationTable(1, "computer_type", "computer_type_setting")
CheckNoError "computer_type may depend"
Set table = factory.createReplicationTable(70000, "patient", "")
CheckError "method beyond 16 bits", 6, "clsReplicateTable.init", "Overflow"
Set table = factory.createReplicationTable("each way", "patient", "")
CheckErrorNumber "method that is a word", 13
Set table = factory.createReplicationTable(2, "patient")
CheckErrorNumber "dependent table is not optional", 449
Set table = factory.createReplicationTable(2, "patient", "", "", 1, 1)
CheckErrorNumber "one argument too many", 450

Set table = factory.createReplicationTable(99, "patient", "")
CheckNoError "an unknown method is taken until go"
table.go Now, Now
CheckError "go with an unknown method", ownError, "clsReplicateTable.go", "Invalid replication method"
table.init 1, "chair_type", ""
CheckNoError "init anew"
Check "sTable after init", table.sTable, "chair_type"
factory.setLogLevel 5
table.go Now, Now
CheckError "go before Factory.init", 91, "clsReplicateTable.go", notSet
table.replicateOneWayDeleteAll
CheckError "replicateOneWayDeleteAll before Factory.init", 91, _
    "clsReplicateTable.replicateOneWayDeleteAll(chair_type)", notSet
table.replicateComputerType
CheckError "replicateComputerType before Factory.init", 91, "clsReplicateTable.replicateComputerType(computer_type)", notSet
table.go "soon", Now
CheckErrorNumber "go with a word for a date", 13
table.sTable = "other"
CheckErrorNumber "sTable is read-only", 438

Finish 33
