' Lists the conflicts that wait in this laptop's database or in the office's, or resolves one of the laptop's.
'
'   cscript //nologo conflicts.vbs list [--office] [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
'   cscript //nologo conflicts.vbs resolve CONFLICT source|destination|later
'       [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
'
' CONFLICT is the id that the list shows. The password of both logins comes from the environment variable
' QUINMARK_PASSWORD. The exit status is one of quinrep's (docs/quinrep.md): 0 done, 1 failed or refused, 3 wrong usage.
Option Explicit

Const SITE_OFFICES = 0
Const SITE_LAPTOP = 1
Const LOG_LEVEL_ERROR = 5

Dim factory, connection, password, count, officeDsn, officePrefix, laptopDsn, laptopPrefix

Main

Sub Main
    Dim command, atOffice
    ReadSides
    If count > 0 Then command = LCase(WScript.Arguments(0))
    If count = 2 Then atOffice = WScript.Arguments(1) = "--office"
    If command = "resolve" And count = 3 Then
        If ResolutionNumber(LCase(WScript.Arguments(2))) = 0 Then StopWithUsage
    ElseIf command <> "list" Or Not (count = 1 Or atOffice) Then
        StopWithUsage
    End If
    On Error Resume Next
    Connect atOffice
    StopOnError
    If command = "list" Then ListConflicts Else Resolve WScript.Arguments(1), LCase(WScript.Arguments(2))
    StopOnError
    connection.Close
    factory.disconnect
End Sub

' `count` is the number of arguments without the databases'.
Sub ReadSides
    count = WScript.Arguments.Count
    officeDsn = "QuinmarkOffice"
    officePrefix = "office."
    laptopDsn = "QuinmarkLaptop"
    laptopPrefix = "laptop."
    If count > 4 Then
        count = count - 4
        officeDsn = WScript.Arguments(count)
        officePrefix = WScript.Arguments(count + 1)
        laptopDsn = WScript.Arguments(count + 2)
        laptopPrefix = WScript.Arguments(count + 3)
    End If
End Sub

Sub Connect(atOffice)
    Dim site, role, dsn
    site = SITE_LAPTOP
    role = "DESTINATION"
    dsn = laptopDsn
    If atOffice Then
        site = SITE_OFFICES
        role = "SOURCE"
        dsn = officeDsn
    End If
    password = CreateObject("WScript.Shell").Environment("PROCESS")("QUINMARK_PASSWORD")
    Set connection = CreateObject("ADODB.Connection")
    connection.Open "DSN=" & dsn & ";UID=quinmarkapp_user;PWD=" & password
    Set factory = CreateObject("QuinmarkRepDLL.Factory")
    factory.init site, role, officePrefix, officeDsn, password, _
        laptopPrefix, laptopDsn, password, LOG_LEVEL_ERROR, "conflicts.log"
End Sub

Sub ListConflicts
    Dim rs, conflict, complete
    Set rs = connection.Execute("select * from replication_conflict order by table_name, key_info")
    Do Until rs.EOF
        Set conflict = factory.createConflict(rs("unid").Value)
        On Error Resume Next
        conflict.loadFromRs rs
        complete = (Err.Number = 0)
        On Error Goto 0
        If complete Then
            WScript.Echo conflict.vConflictId & " " & conflict.sTable & ", " & TypeText(conflict.iConflictType) & _
                ": " & conflict.sKeyInfo
        Else
            ' A row that only one side has may have been recorded without the other side's date.
            WScript.Echo rs("unid") & " " & rs("table_name") & ", " & TypeText(rs("conflict_type")) & ": " & _
                rs("key_info") & " (incomplete, resolve it by hand)"
        End If
        ListColumns rs("unid")
        rs.MoveNext
    Loop
    rs.Close
End Sub

Sub ListColumns(conflictId)
    Dim rs
    Set rs = connection.Execute("select field_name, source_data, destination_data from replication_conflict_data " & _
        "where conflict_id = '" & conflictId & "' order by field_name")
    Do Until rs.EOF
        WScript.Echo "    " & rs("field_name") & ": source '" & rs("source_data") & "', destination '" & _
            rs("destination_data") & "'"
        rs.MoveNext
    Loop
    rs.Close
End Sub

Sub Resolve(conflictId, choice)
    Dim rs, conflict
    Set rs = connection.Execute("select * from replication_conflict where unid = '" & conflictId & "'")
    If rs.EOF Then
        WScript.Echo "There is no conflict " & conflictId
        WScript.Quit 1
    End If
    Set conflict = factory.createConflict(conflictId)
    conflict.loadFromRs rs
    rs.Close
    ' The component finds the row by its GUID: without one, as in a table with numeric keys, it would take another row.
    If choice = "source" And conflict.vGuid = "" Then
        WScript.Echo "Not possible: the table has numeric keys. Save the record again at the office; the next run " & _
            "copies it."
        WScript.Quit 1
    End If
    conflict.iResolutionType = ResolutionNumber(choice)
    If Not conflict.resolve Then
        WScript.Echo "Refused: " & conflict.sErrorMessage
        WScript.Quit 1
    End If
    WScript.Echo "Resolved, use " & choice & ": " & conflict.sKeyInfo
End Sub

Function ResolutionNumber(choice)
    Select Case choice
        Case "source": ResolutionNumber = 1
        Case "destination": ResolutionNumber = 2
        Case "later": ResolutionNumber = 3
        Case Else: ResolutionNumber = 0
    End Select
End Function

Function TypeText(conflictType)
    Select Case conflictType
        Case 1: TypeText = "changed on both sides"
        Case 2: TypeText = "new on the source"
        Case 3: TypeText = "new on the destination"
        Case 4: TypeText = "changed on the destination"
        Case 5: TypeText = "deleted on the source"
    End Select
End Function

Sub StopWithUsage
    WScript.Echo "usage: conflicts.vbs list [--office] | conflicts.vbs resolve CONFLICT source|destination|later" & _
        vbCrLf & "       each may end with [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]"
    WScript.Quit 3
End Sub

Sub StopOnError
    If Err.Number = 0 Then Exit Sub
    WScript.Echo Err.Number & " (0x" & Hex(Err.Number) & "), " & Err.Source & ": " & Err.Description
    WScript.Quit 1
End Sub
