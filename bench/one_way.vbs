' One-way replication with deletes of one table as an administrator would write it with a script host and ADO alone:
' the statements of a run at the offices' site, whose database is the source, in the same order.
'
'   cscript //nologo one_way.vbs SOURCE DESTINATION SOURCE_PREFIX DESTINATION_PREFIX TABLE KEY LAST_RUN [INPUT]
'
' SOURCE and DESTINATION are connection strings, LAST_RUN is a date in the user's form. Prints "begin" and waits for a
' line, replicates, prints "end" with what it did and waits for a line. INPUT is the standard input as a file, for a
' host without WScript.StdIn (Wine's). A row in conflict is an error: conflicts are not recorded here.
Option Explicit

Const SITE_OFFICES = 0
Const SECONDS_BETWEEN_RUNS = 900
Const COMMAND_TIMEOUT_SECONDS = 300
Const CONNECT_TIMEOUT_SECONDS = 20
Const TOLERANCE_SECONDS = 2
Const SECONDS_OF_DAY = 86400

Const adCmdText = 1
Const adUseServer = 2
Const adSmallInt = 2
Const adInteger = 3
Const adDouble = 5
Const adCurrency = 6
Const adBoolean = 11
Const adGUID = 72
Const adChar = 129
Const adDBTimeStamp = 135
Const adVarChar = 200

Const DROP_PATIENT_KEY = "IF OBJECT_ID('dbo.FK_patient_dentist', 'F') IS NOT NULL alter table patient drop constraint FK_patient_dentist"
Const ADD_PATIENT_KEY = "alter table patient ADD CONSTRAINT FK_patient_dentist FOREIGN KEY (dc_id, dentist_id) REFERENCES dentist(dc_id, dentist_id) ON DELETE NO ACTION"

Dim source, destination, sourcePrefix, destinationPrefix, table, keyField, lastRun
Dim updates, adds, deletes

Main

Sub Main
    Dim nextRun
    ReadArguments
    Set source = Connect(WScript.Arguments(0))
    Set destination = Connect(WScript.Arguments(1))
    nextRun = ServerClock
    WScript.Echo "begin"
    WaitForLine
    StartRun
    CopyChangedRows
    CopyNewRows
    DeleteRemovedRows
    WriteCounts
    FinishRun nextRun
    WScript.Echo "end updates=" & updates & " adds=" & adds & " deletes=" & deletes
    WaitForLine
End Sub

Sub ReadArguments
    If WScript.Arguments.Count < 7 Or WScript.Arguments.Count > 8 Then
        WScript.Echo "usage: one_way.vbs SOURCE DESTINATION SOURCE_PREFIX DESTINATION_PREFIX TABLE KEY LAST_RUN [INPUT]"
        WScript.Quit 2
    End If
    sourcePrefix = WScript.Arguments(2)
    destinationPrefix = WScript.Arguments(3)
    table = WScript.Arguments(4)
    keyField = WScript.Arguments(5)
    lastRun = CDate(WScript.Arguments(6))
    updates = 0
    adds = 0
    deletes = 0
End Sub

Sub WaitForLine
    Dim files, input, line
    If WScript.Arguments.Count = 8 Then
        Set files = CreateObject("Scripting.FileSystemObject")
        Set input = files.OpenTextFile(WScript.Arguments(7))
        line = input.ReadLine
        input.Close
    Else
        line = WScript.StdIn.ReadLine
    End If
End Sub

Function Connect(connectionString)
    Dim connection
    Set connection = CreateObject("ADODB.Connection")
    connection.CursorLocation = adUseServer
    connection.ConnectionTimeout = CONNECT_TIMEOUT_SECONDS
    connection.Open connectionString
    Set Connect = connection
End Function

Function ServerClock
    Dim clock
    Set clock = Query(source, "select top 1 getdate() from control")
    ServerClock = clock(0).Value
    clock.Close
End Function

Sub StartRun
    Execute source, "delete from replication_counts" & WhereSite
    Execute source, DROP_PATIENT_KEY
End Sub

Sub FinishRun(nextRun)
    Dim control
    Execute source, ADD_PATIENT_KEY
    UpdateControl "last_timestamp = " & DateLiteral(nextRun)
    UpdateControl "next_timestamp = dateadd(s," & SECONDS_BETWEEN_RUNS & ",getdate())"
    Execute source, "update replication_control set ready_f = 0" & WhereSite
    Set control = Query(source, "select ready_f, error_f, error_message from replication_control" & WhereSite)
    If control("error_f").Value Then Err.Raise vbObjectError, "FinishRun", control("error_message").Value
    control.Close
End Sub

Sub UpdateControl(assignment)
    Dim count
    count = ExecuteCounted(source, "update replication_control set " & assignment & WhereSite)
    If count <> 1 Then Err.Raise vbObjectError, "UpdateControl", "Updated " & count & " control records"
End Sub

Function WhereSite
    WhereSite = " where unique_key = " & SITE_OFFICES
End Function

Sub WriteCounts
    Execute source, CountInsert("updates", updates) & ";" & CountInsert("adds", adds) & ";" & _
        CountInsert("deletes", deletes) & ";" & CountInsert("conflicts", 0) & ";" & CountInsert("errors", 0)
End Sub

Function CountInsert(name, value)
    CountInsert = "insert into replication_counts (unique_key, count_name, count_value) values (" & SITE_OFFICES & _
        "," & TextLiteral(table & " " & name) & "," & value & ")"
End Function

Sub CopyChangedRows
    Dim rows, sourceDate, destinationDate
    Set rows = Query(source, ChangedRows)
    Do Until rows.EOF
        sourceDate = rows("src_mod_date").Value
        destinationDate = rows("dest_mod_date").Value
        If SecondsApart(sourceDate, destinationDate) > TOLERANCE_SECONDS Then
            If destinationDate > lastRun Or destinationDate > sourceDate Then RaiseConflict rows(keyField).Value
            UpdateRow rows(keyField).Value
        End If
        rows.MoveNext
    Loop
    rows.Close
End Sub

Sub CopyNewRows
    Dim rows
    Set rows = Query(source, MissingRows(sourcePrefix, destinationPrefix))
    Do Until rows.EOF
        If rows("mod_date").Value < lastRun Then RaiseConflict rows(keyField).Value
        InsertRow rows(keyField).Value
        rows.MoveNext
    Loop
    rows.Close
End Sub

Sub DeleteRemovedRows
    Dim rows
    Set rows = Query(source, MissingRows(destinationPrefix, sourcePrefix))
    Do Until rows.EOF
        If rows("mod_date").Value >= lastRun Then RaiseConflict rows(keyField).Value
        DeleteRow rows(keyField).Value
        rows.MoveNext
    Loop
    rows.Close
End Sub

Sub RaiseConflict(key)
    Err.Raise vbObjectError, "one_way.vbs", "Conflict in " & table & ": " & key
End Sub

Sub UpdateRow(key)
    Dim row, field, assignments
    Set row = Query(source, SelectRow(key))
    For Each field In row.Fields
        If IsCopied(field.Name) Then assignments = assignments & field.Name & " = " & Literal(field) & ", "
    Next
    Execute destination, "Update " & table & " set " & WithoutSeparator(assignments) & " where " & KeyCondition(key)
    row.Close
    updates = updates + 1
End Sub

Sub InsertRow(key)
    Dim row, field, columns, values
    Set row = Query(source, SelectRow(key))
    For Each field In row.Fields
        If IsCopied(field.Name) Then
            columns = columns & field.Name & ", "
            values = values & Literal(field) & ", "
        End If
    Next
    Execute destination, "Insert into " & table & " (" & WithoutSeparator(columns) & ") values (" & _
        WithoutSeparator(values) & ")"
    row.Close
    adds = adds + 1
End Sub

Sub DeleteRow(key)
    ExecuteCounted destination, "delete from " & table & " where " & KeyCondition(key)
    deletes = deletes + 1
End Sub

Function IsCopied(name)
    IsCopied = LCase(table) <> "patient" Or LCase(name) <> "lock_f"
End Function

Function WithoutSeparator(list)
    WithoutSeparator = Left(list, Len(list) - 2)
End Function

Function ChangedRows
    ChangedRows = "select dest." & keyField & ", src.mod_date src_mod_date, dest.mod_date dest_mod_date from " & _
        destinationPrefix & table & " dest join " & sourcePrefix & table & " src on src." & keyField & " = dest." & _
        keyField & " where src.mod_date <> dest.mod_date and ( src.mod_date > " & DateLiteral(lastRun) & _
        " or dest.mod_date > " & DateLiteral(lastRun) & ")"
End Function

Function MissingRows(hasPrefix, lacksPrefix)
    MissingRows = "select " & keyField & ", mod_date from " & hasPrefix & table & " where " & keyField & _
        " not in (select " & keyField & " from " & lacksPrefix & table & ")"
End Function

Function SelectRow(key)
    SelectRow = "Select * from " & table & " where " & KeyCondition(key)
End Function

Function KeyCondition(key)
    KeyCondition = keyField & " = '" & key & "'"
End Function

Function SecondsApart(first, second)
    SecondsApart = Abs(WholeSeconds(first) - WholeSeconds(second))
End Function

Function WholeSeconds(moment)
    WholeSeconds = Int(CDbl(moment) * SECONDS_OF_DAY + 0.5)
End Function

Function Literal(field)
    Dim value
    value = field.Value
    If IsNull(value) Then
        Literal = "Null"
        Exit Function
    End If
    Select Case field.Type
        Case adSmallInt, adInteger, adDouble, adCurrency
            Literal = CStr(value)
        Case adBoolean
            Literal = CStr(Abs(CInt(value)))
        Case adGUID
            Literal = "'" & value & "'"
        Case adChar, adVarChar
            Literal = TextLiteral(value)
        Case adDBTimeStamp
            Literal = DateLiteral(value)
        Case Else
            Err.Raise vbObjectError, "Literal", "Column " & field.Name & " has type " & field.Type
    End Select
End Function

Function DateLiteral(moment)
    If CDbl(moment) = 0 Then
        DateLiteral = "Null"
    Else
        DateLiteral = "'" & moment & "'"
    End If
End Function

Function TextLiteral(text)
    If text = "" Then
        TextLiteral = "Null"
    Else
        TextLiteral = "'" & DoubleApostrophes(text) & "'"
    End If
End Function

' Replace is not to be had in every script host.
Function DoubleApostrophes(text)
    Dim start, place
    start = 1
    place = InStr(text, "'")
    Do While place > 0
        DoubleApostrophes = DoubleApostrophes & Mid(text, start, place - start + 1) & "'"
        start = place + 1
        place = InStr(start, text, "'")
    Loop
    DoubleApostrophes = DoubleApostrophes & Mid(text, start)
End Function

Function Query(connection, sql)
    Set Query = MakeCommand(connection, sql).Execute
End Function

Sub Execute(connection, sql)
    MakeCommand(connection, sql).Execute
End Sub

Function ExecuteCounted(connection, sql)
    Dim count
    MakeCommand(connection, sql).Execute count
    ExecuteCounted = count
End Function

Function MakeCommand(connection, sql)
    Dim command
    Set command = CreateObject("ADODB.Command")
    command.CommandTimeout = COMMAND_TIMEOUT_SECONDS
    Set command.ActiveConnection = connection
    command.CommandType = adCmdText
    command.CommandText = sql
    Set MakeCommand = command
End Function
