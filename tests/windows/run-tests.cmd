@echo off
rem run-tests.cmd OFFICE_DSN LAPTOP_DSN OFFICE_PREFIX LAPTOP_PREFIX
rem
rem Runs the tests between two databases of a SQL Server that test_database.sql was run in, and DELETES ALL THEIR ROWS.
rem It refuses any other database. The password of quinmarkapp_user comes from QUINMARK_PASSWORD, or is asked for.
rem Leaves results.txt in this folder. Exit status: 0 all passed, 1 something failed, 2 refused or wrong usage.
rem
rem Tests of script hosts need the component registered: in an elevated prompt, on a machine that has none, it is
rem registered for the time of the tests. Everything else finds it in the folder "programs", without a registration.
setlocal DisableDelayedExpansion
"%~dp0programs\run_tests.exe" %*
