@echo off
rem A console of the Start menu: quinrep on the PATH, in the folder of its configuration. Its arguments are quinrep's.
set "PATH=%~dp0;%PATH%"
rem Programs in that folder are not run by their names.
set NoDefaultCurrentDirectoryInExePath=1
set "folder=%ProgramData%\Quinmark Replication"
cd /d "%folder%"
if /i not "%CD%"=="%folder%" (
    echo %folder% is missing, or closed to you. An administrator gives you the right to it:
    echo   icacls "%folder%" /grant "%USERDOMAIN%\%USERNAME%:(OI)(CI)M"
    exit /b 1
)
"%~dp0quinrep.exe" %*
