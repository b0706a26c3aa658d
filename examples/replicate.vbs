' Copies the office database's tables in full into this machine's own database.
'
'   cscript //nologo replicate.vbs LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
'
' Runs on the laptop: the laptop's database is the local one and the destination. The password of both logins comes
' from the environment variable QUINMARK_PASSWORD. Ends with status 0 when the run went through, 1 when it failed and
' 2 when the site is not ready; every error is shown with its number, source and text.
Option Explicit

Const SITE_LAPTOP = 1
Const ONE_WAY_DELETE_ALL = 1
Const COMPUTER_TYPE = 6
Const LOG_LEVEL_DEBUG = 1
Const SECONDS_BETWEEN_ATTEMPTS = 900

Dim factory, run, tables
Dim officeDsn, officePrefix, laptopDsn, laptopPrefix

Main

Sub Main
    ReadArguments
    On Error Resume Next
    Set factory = CreateObject("QuinmarkRepDLL.Factory")
    StopOnError "create the component"
    Connect
    StopOnError "connect"
    If Not factory.ensureReplication Then
        StopWith 1, "The databases do not belong together: " & factory.sErrorMessage
    End If
    Set run = factory.createReplication
    run.initNextRun SECONDS_BETWEEN_ATTEMPTS, "laptop"
    StopOnError "prepare the run"
    If run.bError Then StopWith 2, "The last run failed: " & run.sErrorMessage
    If Not run.bReady Then StopWith 2, "This site is not ready for a run"

    Set tables = TablesInOrder
    StopOnError "set up the tables"
    run.go tables
    If Err.Number <> 0 Then RecordAndStop
    factory.resetError
    StopOnError "clear the error state"
    On Error Goto 0
    ShowSummary
    factory.disconnect
End Sub

Sub ReadArguments
    If WScript.Arguments.Count <> 1 And WScript.Arguments.Count <> 5 Then
        WScript.Echo "usage: replicate.vbs LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]"
        WScript.Quit 2
    End If
    officeDsn = "QuinmarkOffice"
    officePrefix = "office."
    laptopDsn = "QuinmarkLaptop"
    laptopPrefix = "laptop."
    If WScript.Arguments.Count = 5 Then
        officeDsn = WScript.Arguments(1)
        officePrefix = WScript.Arguments(2)
        laptopDsn = WScript.Arguments(3)
        laptopPrefix = WScript.Arguments(4)
    End If
End Sub

Sub Connect
    Dim password
    password = CreateObject("WScript.Shell").ExpandEnvironmentStrings("%QUINMARK_PASSWORD%")
    factory.init SITE_LAPTOP, "DESTINATION", officePrefix, officeDsn, password, _
        laptopPrefix, laptopDsn, password, LOG_LEVEL_DEBUG, WScript.Arguments(0)
End Sub

' A full copy empties a table before it fills it, so it is for tables to which no other refers by a foreign key. The
' one between patient and dentist is dropped for the run; dentist_company, to which comments refer, is for the method
' ONE_WAY_WITH_PK_FIELD. The tables are the keys of a dictionary, which keeps their order.
Function TablesInOrder
    Dim all, name
    Set all = CreateObject("Scripting.Dictionary")
    For Each name In Array("patient_dates", "patient_spec_xref", "chart_item", "chart_hdr", "patient", _
        "dentist", "specialist", "users", "procs", "procs_letter", "chair_type", _
        "chart_option_setting", "chart_option", "shortcut", "combo_values", "config", "ada_code")
        all.Add factory.createReplicationTable(ONE_WAY_DELETE_ALL, name, ""), name
    Next
    all.Add factory.createReplicationTable(COMPUTER_TYPE, "computer_type", ""), "computer_type"
    Set TablesInOrder = all
End Function

Sub ShowSummary
    Dim table
    For Each table In tables
        WScript.Echo "  " & table.sTable & Space(24 - Len(table.sTable)) & Right(Space(8) & table.lCntDestAdd, 8)
    Next
    WScript.Echo "Interval: " & run.dLastReplicate & " to " & run.dNextReplicate
    WScript.Echo "Log: " & WScript.Arguments(0)
End Sub

' The error goes into the control record first, so that the next attempt and the administrator see it.
Sub RecordAndStop
    Dim text
    text = ErrorText
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
    WScript.Echo text
    If IsObject(factory) Then factory.disconnect
    WScript.Quit status
End Sub
