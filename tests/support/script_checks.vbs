' Checks for scripts of the component tests; stands in front of each script. A script that breaks off prints no verdict:
' the test looks for "checks passed". Quits with 1 after a failed check.

Dim checkCount, checkFailures
checkCount = 0
checkFailures = 0

Sub CheckFailed(what, actual, expected)
    checkFailures = checkFailures + 1
    WScript.Echo "FAILED " & what & ": got <" & actual & ">, expected <" & expected & ">"
End Sub

' Type and value are those expected.
Sub Check(what, actual, expected)
    checkCount = checkCount + 1
    Dim seen, wanted
    seen = TypeName(actual) & " " & CStr(actual)
    wanted = TypeName(expected) & " " & CStr(expected)
    If seen <> wanted Then CheckFailed what, seen, wanted
End Sub

' The error in flight is just this one; forgets it. Number 0 with empty texts: there is none.
Sub CheckError(what, number, source, description)
    checkCount = checkCount + 1
    Dim seen, wanted
    seen = Err.Number & "|" & Err.Source & "|" & Err.Description
    wanted = number & "|" & source & "|" & description
    Err.Clear
    If seen <> wanted Then CheckFailed what, seen, wanted
End Sub

Sub CheckNoError(what)
    CheckError what, 0, "", ""
End Sub

' The error in flight has this number; for errors of the script engine itself, whose texts are its own.
Sub CheckErrorNumber(what, number)
    checkCount = checkCount + 1
    Dim seen
    seen = Err.Number
    Err.Clear
    If seen <> number Then CheckFailed what, seen, number
End Sub

' Ends the script. All of its checks must have been reached.
Sub Finish(expectedChecks)
    If checkCount <> expectedChecks Then CheckFailed "number of checks", checkCount, expectedChecks
    If checkFailures > 0 Then WScript.Quit 1
    WScript.Echo checkCount & " checks passed"
End Sub
