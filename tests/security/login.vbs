' Connects the component with each pair of passwords in the environment (a pair on a line, a tab between the source's and
' the destination's) and tells what a host sees of the failure.
Option Explicit
On Error Resume Next
Dim factory, settings, login, passwords
Set settings = CreateObject("WScript.Shell").Environment("PROCESS")
For Each login In Split(settings("LOGINS"), vbLf)
    passwords = Split(login, vbTab)
    Set factory = CreateObject("QuinmarkRepDLL.Factory")
    Err.Clear
    factory.init 0, "SOURCE", "office.", "QuinmarkOffice", passwords(0), _
        "laptop.", "QuinmarkLaptop", passwords(1), 1, settings("LOG_FILE")
    WScript.Echo "raised: " & Err.Number & " " & Err.Source & " " & Err.Description
    WScript.Echo "message: " & factory.sErrorMessage
Next
