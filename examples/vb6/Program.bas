Attribute VB_Name = "Program"
' replicate.bas as a program of Visual Basic 6:
'
'   replicate.exe LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
'       [--ready] [--reset-error]
'
' It ends with one of quinrep's exit codes, and says what it did on its standard output. Visual Basic links it without a
' console: redirect the output into a file, or have LINK.EXE /EDIT /SUBSYSTEM:CONSOLE replicate.exe give it one.
Option Explicit

Private Declare Sub ExitProcess Lib "kernel32" (ByVal status As Long)

Public Sub Main()
    Dim names As New Collection, ready As Boolean, resetError As Boolean, given As Variant, status As Long
    For Each given In Arguments
        Select Case given
            Case "--ready": ready = True
            Case "--reset-error": resetError = True
            Case Else: names.Add given
        End Select
    Next
    Select Case names.Count
        Case 1: status = ReplicateOffice(names(1), ready:=ready, resetError:=resetError)
        Case 5: status = ReplicateOffice(names(1), names(2), names(3), names(4), names(5), ready, resetError)
        Case Else
            Say "usage: replicate LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX] " & _
                "[--ready] [--reset-error]"
            status = 3
    End Select
    On Error Resume Next
    CreateObject("Scripting.FileSystemObject").GetStandardStream(1).Write Said
    ' End gives no status. In the development environment this ends that too.
    ExitProcess status
End Sub

' The words of the command line. Every second piece between quotation marks is one word.
Private Function Arguments() As Collection
    Dim pieces() As String, index As Long, word As Variant
    Set Arguments = New Collection
    pieces = Split(Command$, """")
    For index = 0 To UBound(pieces)
        If index Mod 2 = 1 Then
            Arguments.Add pieces(index)
        Else
            For Each word In Split(pieces(index), " ")
                If word <> "" Then Arguments.Add word
            Next
        End If
    Next
End Function
