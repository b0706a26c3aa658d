' The run object as VBScript sees it, without any database.
On Error Resume Next
Const invalidConnection = -2147217795 ' ADO's 3709, moved into the object-error range
Const notConnected = "The connection cannot be used to perform this operation. It is either closed or invalid in this context."

Dim factory, run
Set factory = CreateObject("QuinmarkRepDLL.Factory")
Set run = factory.createReplication
CheckNoError "the run object is created"
Check "bError", run.bError, False
Check "bReady", run.bReady, False
Check "dLastReplicate", run.dLastReplicate, CDate(0)
Check "dNextReplicate", run.dNextReplicate, CDate(0)
Check "sErrorMessage", run.sErrorMessage, ""

run.SetReady
CheckError "SetReady before init", invalidConnection, "clsReplicate.SetReady", notConnected
Check "bError after a failed step", run.bError, True
Check "sErrorMessage after a failed step", run.sErrorMessage, "clsReplicate.SetReady: -2147217795: " & notConnected

run.initNextRun 70000, "laptop"
CheckErrorNumber "initNextRun with a frequency beyond 16 bits", 6
run.initNextRun "often", "laptop"
CheckErrorNumber "initNextRun with a word for the frequency", 13
run.initNextRun 60
CheckErrorNumber "initNextRun without the program", 449

run.go Array()
CheckError "go before init", invalidConnection, "clsReplicate.go", notConnected
Check "sErrorMessage of go", run.sErrorMessage, notConnected
run.go
CheckErrorNumber "go without tables", 449
run.bError = False
CheckErrorNumber "bError is read-only", 438

Finish 16
