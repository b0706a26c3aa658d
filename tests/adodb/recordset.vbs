' Uses ADODB from a script: default members, For Each, by-reference arguments, error numbers.
Option Explicit
Dim settings, connection, rows, command, affected, item, names
Set settings = CreateObject("WScript.Shell").Environment("PROCESS")
Set connection = CreateObject("ADODB.Connection")
connection.Open "DSN=" & settings("QUINMARK_OFFICE_DSN"), "quinmarkapp_user", settings("QUINMARK_PASSWORD")
Set rows = CreateObject("ADODB.Recordset")
rows.Open "select 1 as id, 'O''Brien'::varchar(20) as name union all select 2, null order by 1", connection, 3, 1
Do Until rows.EOF
    WScript.Echo rows("id") & "|" & rows("NAME") & "|" & rows.Fields("id") & "|" & rows.Fields.Item(0).Value & "|" & _
        rows(1).Type & "|" & IsNull(rows("name").Value)
    rows.MoveNext
Loop
WScript.Echo "count " & rows.RecordCount
names = ""
For Each item In rows.Fields
    names = names & item.Name & ","
Next
WScript.Echo names
rows.Close
WScript.Echo "state " & rows.State

Set command = CreateObject("ADODB.Command")
Set command.ActiveConnection = connection
command.CommandText = "select ? + ?"
command.Parameters.Append command.CreateParameter("a", 3, 1, 0, 40)
command.Parameters.Append command.CreateParameter("b", 3, 1, 0, 1)
command.Parameters("b") = 2
command("a").Value = 40
affected = "untouched"
Set rows = command.Execute(affected)
WScript.Echo "sum " & rows(0) & " affected " & affected
names = ""
For Each item In command.Parameters
    names = names & item.Name & "=" & item & ","
Next
WScript.Echo names
connection.Execute "create temp table adodb_script(a integer); insert into adodb_script values (1), (2)"
connection.Execute "update adodb_script set a = 3", affected
WScript.Echo "affected " & affected

On Error Resume Next
names = rows("missing")
affected = Err.Number And 65535
WScript.Echo affected & " " & Err.Source & " " & Err.Description
Err.Clear
connection.Execute "select * from no_such_table"
WScript.Echo Hex(Err.Number) & " " & Err.Source & " " & connection.Errors.Count & " " & connection.Errors(0).SQLState
Err.Clear
connection.RollbackTrans
WScript.Echo Hex(Err.Number) & " " & Err.Description
