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
    factory.init 0, "SOURCE", settings("QUINMARK_OFFICE_PREFIX"), settings("QUINMARK_OFFICE_DSN"), passwords(0), _
        settings("QUINMARK_LAPTOP_PREFIX"), settings("QUINMARK_LAPTOP_DSN"), passwords(1), 1, settings("LOG_FILE")
    WScript.Echo "raised: " & Err.Number & " " & Err.Source & " " & Err.Description
    WScript.Echo "message: " & factory.sErrorMessage
Next
