Attribute VB_Name = "Replicate"
' Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
' one and the source. For 32-bit Office, with a reference to "Quinmark replication of practice databases".
'
'   ? ReplicateOffice("C:\Replication\office.log")
'
' The password of both logins comes from the environment variable QUINMARK_PASSWORD. Returns 0 when the run went
' through, 1 when it failed and 2 when it may not run now; every error is shown with its number, source and text.
Option Explicit

Private Const LOG_LEVEL_DEBUG As Integer = 1
Private Const SECONDS_BETWEEN_ATTEMPTS As Integer = 900
Private Const PROGRAM_VERSION As String = "3.46"

Private factory As QuinmarkRepDLL.Factory
Private run As QuinmarkRepDLL.clsReplicate
Private tables As Collection

Public Function ReplicateOffice(logFile As String, Optional officeDsn As String = "QuinmarkOffice", _
        Optional officePrefix As String = "office.", Optional laptopDsn As String = "QuinmarkLaptop", _
        Optional laptopPrefix As String = "laptop.") As Long
    On Error GoTo Failed
    Dim password As String
    password = Environ("QUINMARK_PASSWORD")
    Set factory = New QuinmarkRepDLL.Factory
    factory.init QuinmarkRepDLL.OFFICES, "SOURCE", officePrefix, officeDsn, password, _
        laptopPrefix, laptopDsn, password, LOG_LEVEL_DEBUG, logFile
    ReplicateOffice = RunTables
    factory.disconnect
    Exit Function
Failed:
    Debug.Print "Could not replicate: " & ErrorText
    ReplicateOffice = 1
    If Not factory Is Nothing Then factory.disconnect
End Function

Private Function RunTables() As Long
    If Not factory.ensureReplication Then
        RunTables = StopWith(1, "The databases do not belong together: " & factory.sErrorMessage)
        Exit Function
    End If
    Set run = factory.createReplication
    run.SetReady
    run.initNextRun SECONDS_BETWEEN_ATTEMPTS, PROGRAM_VERSION
    If run.bError Then
        RunTables = StopWith(2, "The last run failed: " & run.sErrorMessage)
    ElseIf Not run.bReady Then
        RunTables = StopWith(2, "This site is not ready for a run")
    Else
        CreateTables
        GoOrRecord
        ShowSummary
        factory.resetError
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

' An error goes into the control record first, so that the next attempt and the administrator see it.
Private Sub GoOrRecord()
    Dim number As Long, source As String, description As String
    Dim collected As Variant
    On Error GoTo Failed
    Set collected = tables
    run.go collected
    Exit Sub
Failed:
    number = Err.Number
    source = Err.Source
    description = Err.Description
    factory.setError True, run.sErrorMessage
    Err.Raise number, source, description
End Sub

Private Sub ShowSummary()
    Dim table As QuinmarkRepDLL.clsReplicateTable
    For Each table In tables
        Debug.Print table.sTable & ": added " & table.lCntDestAdd & ", updated " & table.lCntDestUpdate & _
            ", deleted " & table.lCntDestDelete & ", conflicts " & table.lCntConflict
    Next
    If run.bError Then Debug.Print "Recorded: " & run.sErrorMessage
End Sub

Private Function ErrorText() As String
    ErrorText = Err.Number & " (0x" & Hex(Err.Number) & "), " & Err.Source & ": " & Err.Description
End Function

Private Function StopWith(status As Long, text As String) As Long
    Debug.Print text
    StopWith = status
End Function
