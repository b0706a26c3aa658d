' Replicates the office database with this laptop's own database.
'
'   cscript //nologo replicate.vbs copy|daily LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
'       [--ready] [--reset-error]
'
' "copy" takes the office's tables as they are, "daily" brings both sides together by the rows that changed since the
' last run. The laptop's database is the local one and the destination. The password of both logins comes from the
' environment variable QUINMARK_PASSWORD. --ready marks the site ready for this run. --reset-error shows and clears the
' recorded error: give it only after a look at the conflicts, because the next run may delete or overwrite their rows.
' The exit status is one of quinrep's, 0 to 4 (docs/quinrep.md).
Option Explicit

Const SITE_LAPTOP = 1
Const ONE_WAY_DELETE_ALL = 1
Const ONE_WAY = 2
Const ONE_WAY_ALLOW_DELETES = 3
Const TWO_WAY = 4
Const TWO_WAY_NO_DELETES = 5
Const COMPUTER_TYPE = 6
Const ONE_WAY_WITH_PK_FIELD = 7
Const DELETE_WITH_UPDATES = 2
Const LOG_LEVEL_DEBUG = 1
Const SECONDS_BETWEEN_ATTEMPTS = 900

Dim factory, run, tables
Dim mode, logFile, ready, resetError, officeDsn, officePrefix, laptopDsn, laptopPrefix, password

Main

Sub Main
    ReadArguments
    On Error Resume Next
    Set factory = CreateObject("QuinmarkRepDLL.Factory")
    StopOnError "create the component"
    factory.init SITE_LAPTOP, "DESTINATION", officePrefix, officeDsn, password, _
        laptopPrefix, laptopDsn, password, LOG_LEVEL_DEBUG, logFile
    StopOnError "connect"
    If Not factory.ensureReplication Then
        StopWith 1, "The databases do not belong together: " & factory.sErrorMessage
    End If
    Set run = factory.createReplication
    If ready Then run.SetReady
    run.initNextRun SECONDS_BETWEEN_ATTEMPTS, "laptop"
    StopOnError "prepare the run"
    If resetError And run.bError Then
        WScript.Echo "Clearing the recorded error: " & run.sErrorMessage
        factory.resetError
        run.initNextRun SECONDS_BETWEEN_ATTEMPTS, "laptop"
        StopOnError "clear the error"
    End If
    If run.bError Then StopWith 4, "Nothing was run. Recorded: " & run.sErrorMessage & vbCrLf & NextStep
    If Not run.bReady Then StopWith 4, "Nothing was run: this site is not ready; --ready marks it"

    Set tables = CreateObject("Scripting.Dictionary")
    If mode = "copy" Then AddCopiedTables Else AddDailyTables
    StopOnError "set up the tables"
    run.go tables
    If Err.Number <> 0 Then RecordAndStop
    AdvanceInterval
    StopOnError "advance the interval"
    On Error Goto 0
    ShowSummary
    factory.disconnect
    WScript.Quit StatusOfRun
End Sub

Sub ReadArguments
    Dim index, names, given
    For index = 0 To WScript.Arguments.Count - 1
        Select Case WScript.Arguments(index)
            Case "--ready": ready = True
            Case "--reset-error": resetError = True
            Case Else: names = names & vbTab & WScript.Arguments(index)
        End Select
    Next
    given = Split(Mid(names, 2), vbTab)
    If UBound(given) = 1 Or UBound(given) = 5 Then mode = LCase(given(0))
    If mode <> "copy" And mode <> "daily" Then
        WScript.Echo "usage: replicate.vbs copy|daily LOGFILE " & _
            "[OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX] [--ready] [--reset-error]"
        WScript.Quit 3
    End If
    logFile = given(1)
    officeDsn = "QuinmarkOffice"
    officePrefix = "office."
    laptopDsn = "QuinmarkLaptop"
    laptopPrefix = "laptop."
    If UBound(given) = 5 Then
        officeDsn = given(2)
        officePrefix = given(3)
        laptopDsn = given(4)
        laptopPrefix = given(5)
    End If
    password = CreateObject("WScript.Shell").Environment("PROCESS")("QUINMARK_PASSWORD")
End Sub

' The tables are the keys of the dictionary, which keeps their order.
Sub AddTables(method, names)
    Dim name
    For Each name In names
        tables.Add factory.createReplicationTable(method, name, ""), name
    Next
End Sub

' A full copy empties a table before it fills it, so it is for tables to which no other refers by a foreign key; the one
' between patient and dentist is dropped for the run. The comments refer to companies: these two go row by row.
Sub AddCopiedTables
    AddTables ONE_WAY_DELETE_ALL, Array("patient_dates", "patient_spec_xref", "chart_item", "chart_hdr", "patient", _
        "dentist", "specialist", "users", "procs", "procs_letter", "chair_type", "chart_option_setting", _
        "chart_option", "shortcut", "combo_values", "config", "ada_code")
    AddTables COMPUTER_TYPE, Array("computer_type")
    tables.Add factory.createReplicationTable(ONE_WAY_WITH_PK_FIELD, "dentist_company", "", "dc_id", _
        DELETE_WITH_UPDATES), "dentist_company"
    AddTables ONE_WAY, Array("chart_comment_info")
End Sub

Sub AddDailyTables
    AddTables ONE_WAY_DELETE_ALL, Array("ada_code")
    AddTables COMPUTER_TYPE, Array("computer_type")
    AddTables ONE_WAY, Array("specialist", "users", "procs")
    AddTables ONE_WAY_ALLOW_DELETES, Array("patient", "chart_hdr", "chart_item", "chart_comment_info", "shortcut")
    tables.Add factory.createReplicationTable(ONE_WAY_ALLOW_DELETES, "chart_option", "chart_option_setting"), _
        "chart_option"
    tables.Add factory.createReplicationTable(ONE_WAY_WITH_PK_FIELD, "dentist_company", "", "dc_id", _
        DELETE_WITH_UPDATES), "dentist_company"
    AddTables TWO_WAY, Array("patient_dates")
    AddTables TWO_WAY_NO_DELETES, Array("config")
End Sub

' The component moves the interval of the offices' site only; a laptop's host moves its own.
Sub AdvanceInterval
    Dim connection
    Set connection = CreateObject("ADODB.Connection")
    connection.Open "DSN=" & laptopDsn & ";UID=quinmarkapp_user;PWD=" & password
    connection.Execute "update replication_control set last_timestamp = '" & run.dNextReplicate & _
        "' where unique_key = " & SITE_LAPTOP
    connection.Close
End Sub

Sub ShowSummary
    Dim table
    WScript.Echo "  table                      added  updated  deleted  conflicts"
    For Each table In tables
        WScript.Echo "  " & table.sTable & Space(24 - Len(table.sTable)) & Right(Space(8) & table.lCntDestAdd, 8) & _
            Right(Space(9) & table.lCntDestUpdate, 9) & Right(Space(9) & table.lCntDestDelete, 9) & _
            Right(Space(11) & table.lCntConflict, 11)
    Next
    WScript.Echo "Interval: " & run.dLastReplicate & " to " & run.dNextReplicate
    WScript.Echo "Log: " & logFile
End Sub

' 0, or 2 and what was recorded. The error stays recorded until a person has decided.
Function StatusOfRun
    Dim table
    StatusOfRun = 0
    If run.bError Then
        StatusOfRun = 2
        WScript.Echo "Recorded: " & run.sErrorMessage
    End If
    For Each table In tables
        If table.lCntConflict > 0 Then
            StatusOfRun = 2
            WScript.Echo "Conflicts in " & table.sTable & ": " & table.lCntConflict
        End If
    Next
    If StatusOfRun = 2 Then WScript.Echo NextStep
End Function

Function NextStep
    NextStep = "Look at the conflicts (cscript conflicts.vbs list, or quinrep review) and settle each one. " & _
        "Only then run with --reset-error."
End Function

' The error goes into the control record first, so that the next attempt and the administrator see it. An error here, or
' in StopWith, would otherwise let Main go on to move the interval.
Sub RecordAndStop
    Dim text
    text = ErrorText
    On Error Resume Next
    Err.Clear
    factory.setError True, run.sErrorMessage
    If Err.Number <> 0 Then text = text & vbCrLf & "and it could not be recorded: " & ErrorText
    StopWith 1, "The run failed: " & text
End Sub

Sub StopOnError(what)
    If Err.Number <> 0 Then StopWith 1, "Could not " & what & ": " & ErrorText
End Sub

Function ErrorText
    ErrorText = Err.Number & " (0x" & Hex(Err.Number) & "), " & Err.Source & ": " & Err.Description
End Function

Sub StopWith(status, text)
    On Error Resume Next
    WScript.Echo text
    If IsObject(factory) Then factory.disconnect
    WScript.Quit status
End Sub
