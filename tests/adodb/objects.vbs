' ADO's classes as a script uses them: default members, For Each, by-reference arguments, error numbers.
Dim settings, connection, rows, command, affected, item, names, missing
Set settings = CreateObject("WScript.Shell").Environment("PROCESS")
If settings("QUINMARK_OFFICE_DSN") = "" And settings("QUINMARK_REQUIRE_DATABASE") <> "1" Then WScript.Quit 77
Set connection = CreateObject("ADODB.Connection")
missing = "42P01"
If settings("QUINMARK_SERVER") = "sqlserver" Then missing = "42S02"
connection.Open "DSN=" & settings("QUINMARK_OFFICE_DSN"), "quinmarkapp_user", settings("QUINMARK_PASSWORD")

Set rows = CreateObject("ADODB.Recordset")
rows.Open "select 1 as id, cast('O''Brien' as varchar(20)) as name union all select 2, null order by 1", connection, 3, 1
Check "default members", rows("id") & rows("NAME") & rows.Fields("id") & rows.Fields.Item(0).Value, "1O'Brien11"
Check "type", rows(1).Type, CLng(200)
rows.MoveNext
Check "second row", rows("id").Value, CLng(2)
Check "null", IsNull(rows("name").Value), True
rows.MoveNext
Check "end", rows.EOF, True
Check "count", rows.RecordCount, CLng(2)
names = ""
For Each item In rows.Fields
    names = names & item.Name & ","
Next
Check "fields in turn", names, "id,name,"
rows.Close
Check "state", rows.State, CLng(0)

Set command = CreateObject("ADODB.Command")
Set command.ActiveConnection = connection
command.CommandText = "select ? + ?"
command.Parameters.Append command.CreateParameter("a", 3, 1, 0, 40)
command.Parameters.Append command.CreateParameter("b", 3, 1, 0, 1)
command.Parameters("b") = 2
command("a").Value = 40
affected = "untouched"
Set rows = command.Execute(affected)
Check "sum", rows(0).Value, CLng(42)
Check "affected by a query", affected, CLng(-1)
names = ""
For Each item In command.Parameters
    names = names & item.Name & "=" & item & ","
Next
Check "parameters in turn", names, "a=40,b=2,"
connection.Execute "drop table if exists dbo.adodb_script; create table dbo.adodb_script(a integer)"
connection.Execute "insert into dbo.adodb_script values (1), (2)", affected
Check "affected by a statement", affected, CLng(2)

On Error Resume Next
names = rows("missing")
CheckError "missing item", 3265, "ADODB.Fields", "Item cannot be found in the collection corresponding to the requested name or ordinal."
connection.Execute "drop table dbo.adodb_script; drop table dbo.adodb_script"
CheckErrorNumber "missing table", &H80040E37
Check "errors", connection.Errors.Count & " " & connection.Errors(0).SQLState, "1 " & missing
connection.RollbackTrans
CheckError "no transaction", -2147168242, "Microsoft OLE DB Provider for ODBC Drivers", "No transaction is active."

Finish 16
