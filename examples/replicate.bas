Attribute VB_Name = "Replicate"
' Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
' one and the source. For 32-bit Office, with a reference to "Quinmark replication of practice databases"; vb6 makes a
' program of it.
'
'   ? ReplicateOffice("C:\ProgramData\Quinmark Replication\office.log")
'
' The password of both logins comes from the environment variable QUINMARK_PASSWORD. ready:=True marks the site ready
' for this run. resetError:=True shows and clears the recorded error: give it only after a look at the conflicts,
' because the next run may delete or overwrite their rows. Returns one of quinrep's exit codes, 0 to 4
' (docs/quinrep.md).
Option Explicit

Private Const LOG_LEVEL_DEBUG As Integer = 1
Private Const SECONDS_BETWEEN_ATTEMPTS As Integer = 900
Private Const PROGRAM_VERSION As String = "3.46"
Private Const NEXT_STEP As String = "Look at the conflicts (cscript conflicts.vbs list --office, or quinrep " & _
    "review) and settle each one. Only then run with resetError:=True."

' All that was said.
Public Said As String

Private factory As QuinmarkRepDLL.Factory
Private run As QuinmarkRepDLL.clsReplicate
Private tables As Collection

Public Function ReplicateOffice(ByVal logFile As String, Optional officeDsn As String = "QuinmarkOffice", _
        Optional officePrefix As String = "office.", Optional laptopDsn As String = "QuinmarkLaptop", _
        Optional laptopPrefix As String = "laptop.", Optional ready As Boolean = False, _
        Optional resetError As Boolean = False) As Long
    On Error GoTo Failed
    Dim password As String
    password = Environ("QUINMARK_PASSWORD")
    Said = ""
    Set factory = New QuinmarkRepDLL.Factory
    factory.init QuinmarkRepDLL.OFFICES, "SOURCE", officePrefix, officeDsn, password, _
        laptopPrefix, laptopDsn, password, LOG_LEVEL_DEBUG, logFile
    ReplicateOffice = RunTables(ready, resetError)
    factory.disconnect
    Exit Function
Failed:
    Say "Could not replicate: " & ErrorText
    ReplicateOffice = 1
    If Not factory Is Nothing Then factory.disconnect
End Function

Private Function RunTables(ready As Boolean, resetError As Boolean) As Long
    Dim failure As String
    If Not factory.ensureReplication Then
        RunTables = StopWith(1, "The databases do not belong together: " & factory.sErrorMessage)
        Exit Function
    End If
    Set run = factory.createReplication
    If ready Then run.SetReady
    run.initNextRun SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION
    If resetError And run.bError Then
        Say "Clearing the recorded error: " & run.sErrorMessage
        factory.resetError
        run.initNextRun SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION
    End If
    If run.bError Then
        RunTables = StopWith(4, "Nothing was run. Recorded: " & run.sErrorMessage & vbCrLf & NEXT_STEP)
    ElseIf Not run.bReady Then
        RunTables = StopWith(4, "Nothing was run: this site is not ready; ready:=True marks it")
    Else
        CreateTables
        failure = GoOrRecord
        If failure <> "" Then
            RunTables = StopWith(1, "The run failed: " & failure)
        Else
            ShowSummary
            RunTables = StatusOfRun
        End If
    End If
End Function

Private Sub CreateTables()
    Set tables = New Collection
    tables.Add factory.createReplicationTable(QuinmarkRepDLL.ONE_WAY_DELETE_ALL, "ada_code", "")
    tables.Add factory.createReplicationTable(QuinmarkRepDLL.ONE_WAY_WITH_PK_FIELD, "dentist_company", "", "dc_id", _
        QuinmarkRepDLL.DELETE_WITH_UPDATES)
    tables.Add factory.createReplicationTable(QuinmarkRepDLL.ONE_WAY, "dentist", "")
    tables.Add factory.createReplicationTable(QuinmarkRepDLL.ONE_WAY_ALLOW_DELETES, "patient", "")
    tables.Add factory.createReplicationTable(QuinmarkRepDLL.ONE_WAY_ALLOW_DELETES, "chart_option", _
        "chart_option_setting")
End Sub

' Tells how the run failed, or nothing. The error goes into the control record, so that the next attempt and the
' administrator see it.
Private Function GoOrRecord() As String
    Dim collected As Variant
    Set collected = tables
    On Error Resume Next
    run.go collected
    If Err.Number = 0 Then Exit Function
    GoOrRecord = ErrorText
    Err.Clear
    factory.setError True, run.sErrorMessage
    If Err.Number <> 0 Then GoOrRecord = GoOrRecord & vbCrLf & "and it could not be recorded: " & ErrorText
End Function

Private Sub ShowSummary()
    Dim table As QuinmarkRepDLL.clsReplicateTable
    For Each table In tables
        Say table.sTable & ": added " & table.lCntDestAdd & ", updated " & table.lCntDestUpdate & _
            ", deleted " & table.lCntDestDelete & ", conflicts " & table.lCntConflict
    Next
End Sub

' 0, or 2 and what was recorded. The error stays recorded until a person has decided.
Private Function StatusOfRun() As Long
    Dim table As QuinmarkRepDLL.clsReplicateTable
    If run.bError Then
        StatusOfRun = 2
        Say "Recorded: " & run.sErrorMessage
    End If
    For Each table In tables
        If table.lCntConflict > 0 Then
            StatusOfRun = 2
            Say "Conflicts in " & table.sTable & ": " & table.lCntConflict
        End If
    Next
    If StatusOfRun = 2 Then Say NEXT_STEP
End Function

Private Function ErrorText() As String
    ErrorText = Err.Number & " (0x" & Hex(Err.Number) & "), " & Err.Source & ": " & Err.Description
End Function

Private Function StopWith(status As Long, text As String) As Long
    Say text
    StopWith = status
End Function

Public Sub Say(text As String)
    Debug.Print text
    Said = Said & text & vbCrLf
End Sub
