' Connects the component with the passwords in the environment and tells what a host sees of the failure.
Option Explicit
On Error Resume Next
Dim factory, settings
Set settings = CreateObject("WScript.Shell").Environment("PROCESS")
Set factory = CreateObject("QuinmarkRepDLL.Factory")
factory.init 0, "SOURCE", "office.", "QuinmarkOffice", settings("SOURCE_PASSWORD"), _
    "laptop.", "QuinmarkLaptop", settings("DESTINATION_PASSWORD"), 1, settings("LOG_FILE")
WScript.Echo "raised: " & Err.Number & " " & Err.Source & " " & Err.Description
WScript.Echo "message: " & factory.sErrorMessage
