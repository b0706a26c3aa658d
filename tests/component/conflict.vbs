' The conflict object as VBScript sees it, without any database.
On Error Resume Next

Dim factory, conflict, id, data
Set factory = CreateObject("QuinmarkRepDLL.Factory")
id = "{0BADF00D-0000-0000-0000-000000000001}"
Set conflict = factory.createConflict(id)
CheckNoError "the conflict object is created"
Check "vConflictId", conflict.vConflictId, id
Check "lPatientId", conflict.lPatientId, CLng(0)
Check "vGuid", conflict.vGuid, Empty
Check "iConflictType", conflict.iConflictType, CInt(0)
Check "sKeyInfo", conflict.sKeyInfo, ""
Check "colData is not set", conflict.colData Is Nothing, True
Check "dSource", conflict.dSource, CDate(0)
Check "dDestination", conflict.dDestination, CDate(0)
Check "iResolutionType", conflict.iResolutionType, CInt(0)
Check "dNextReplicate", conflict.dNextReplicate, CDate(0)
Check "sTable", conflict.sTable, ""
Check "bExists is a text", conflict.bExists, "False"
Check "sErrorMessage", conflict.sErrorMessage, ""

Check "edit refuses an empty conflict", conflict.edit, False
Check "sErrorMessage has every reason", conflict.sErrorMessage, "Table name not supplied" & vbCrLf & _
    "Patiend id or table guid not supplied" & vbCrLf & "Conflict type not supplied" & vbCrLf
Check "save refuses it too", conflict.save, CInt(-1)

conflict.sTable = "patient"
conflict.lPatientId = "17"
conflict.iConflictType = 4
conflict.sKeyInfo = 12
conflict.dSource = CDate(2.5)
conflict.dDestination = 3
conflict.iResolutionType = 2
conflict.dNextReplicate = CDate(43895)
conflict.vGuid = id
CheckNoError "properties are put"
Check "lPatientId from a text", conflict.lPatientId, CLng(17)
Check "iConflictType put", conflict.iConflictType, CInt(4)
Check "sKeyInfo from a number", conflict.sKeyInfo, "12"
Check "dSource put", conflict.dSource, CDate(2.5)
Check "dDestination from a number", conflict.dDestination, CDate(3)
Check "iResolutionType put", conflict.iResolutionType, CInt(2)
Check "dNextReplicate put", conflict.dNextReplicate, CDate(43895)
Check "vGuid put", conflict.vGuid, id
Check "sTable put", conflict.sTable, "patient"
Check "edit accepts a full conflict", conflict.edit, True

Set data = CreateObject("Scripting.Dictionary")
Set conflict.colData = data
CheckNoError "colData is set"
Check "colData is that object", conflict.colData Is data, True
Set conflict.colData = Nothing
Check "colData is taken away", conflict.colData Is Nothing, True

conflict.vConflictId = "other"
CheckErrorNumber "vConflictId is read-only", 438
conflict.iConflictType = 40000
CheckErrorNumber "iConflictType beyond 16 bits", 6
conflict.lPatientId = "many"
CheckErrorNumber "lPatientId from a word", 13
conflict.loadFromRs "rs"
CheckErrorNumber "loadFromRs with a text", 13
conflict.loadFromRs Nothing
CheckError "loadFromRs with Nothing", 91, "clsConflict.loadFromRs", "Object variable or With block variable not set"

Finish 36
