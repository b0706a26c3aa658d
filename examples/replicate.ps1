# Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
# one and the source. Needs the 32-bit PowerShell:
#
#   %SystemRoot%\SysWOW64\WindowsPowerShell\v1.0\powershell.exe -Sta -File replicate.ps1 LOGFILE
#
# The password of both logins comes from the environment variable QUINMARK_PASSWORD. Ends with status 0 when the run
# went through, 1 when it failed and 2 when it may not run now; every error is shown with its number, source and text.
param(
    [Parameter(Mandatory = $true)] [string] $LogFile,
    [string] $OfficeDsn = 'QuinmarkOffice', [string] $OfficePrefix = 'office.',
    [string] $LaptopDsn = 'QuinmarkLaptop', [string] $LaptopPrefix = 'laptop.'
)
Set-StrictMode -Version 2
$ErrorActionPreference = 'Stop'

$OFFICES = 0
$ONE_WAY_DELETE_ALL = 1
$ONE_WAY = 2
$ONE_WAY_ALLOW_DELETES = 3
$ONE_WAY_WITH_PK_FIELD = 7
$DELETE_WITH_UPDATES = 2
$LogLevelDebug = 1
$SecondsBetweenAttempts = 900
$ProgramVersion = '3.46'

function New-Tables($factory) {
    $tables = New-Object System.Collections.ArrayList
    [void] $tables.Add($factory.createReplicationTable($ONE_WAY_DELETE_ALL, 'ada_code', ''))
    [void] $tables.Add($factory.createReplicationTable($ONE_WAY_WITH_PK_FIELD, 'dentist_company', '', 'dc_id',
        $DELETE_WITH_UPDATES))
    [void] $tables.Add($factory.createReplicationTable($ONE_WAY, 'dentist', ''))
    [void] $tables.Add($factory.createReplicationTable($ONE_WAY_ALLOW_DELETES, 'patient', ''))
    [void] $tables.Add($factory.createReplicationTable($ONE_WAY_ALLOW_DELETES, 'chart_option', 'chart_option_setting'))
    , $tables
}

function Show-Summary($run, $tables) {
    foreach ($table in $tables) {
        Write-Host ('{0}: added {1}, updated {2}, deleted {3}, conflicts {4}' -f $table.sTable, $table.lCntDestAdd,
            $table.lCntDestUpdate, $table.lCntDestDelete, $table.lCntConflict)
    }
    if ($run.bError) { Write-Host "Recorded: $($run.sErrorMessage)" }
}

# The status that the script ends with.
function Invoke-Run($factory) {
    if (-not $factory.ensureReplication()) {
        Write-Host "The databases do not belong together: $($factory.sErrorMessage)"
        return 1
    }
    $run = $factory.createReplication()
    $run.SetReady()
    $run.initNextRun($SecondsBetweenAttempts, $ProgramVersion)
    if ($run.bError) { Write-Host "The last run failed: $($run.sErrorMessage)"; return 2 }
    if (-not $run.bReady) { Write-Host 'This site is not ready for a run'; return 2 }

    $tables = New-Tables $factory
    try {
        [void] $run.go($tables)
    } catch {
        # Into the control record first, so that the next attempt and the administrator see it.
        $factory.setError($true, $run.sErrorMessage)
        throw
    }
    Show-Summary $run $tables
    $factory.resetError()
    return 0
}

# PowerShell wraps what a method threw; the component's own error is the innermost one.
function Get-ErrorText($failure) {
    $cause = $failure.Exception.GetBaseException()
    '{0} (0x{0:X8}), {1}: {2}' -f $cause.HResult, $cause.Source, $cause.Message
}

$factory = $null
$status = 1
try {
    $factory = New-Object -ComObject QuinmarkRepDLL.Factory
    $password = $env:QUINMARK_PASSWORD
    $factory.init($OFFICES, 'SOURCE', $OfficePrefix, $OfficeDsn, $password,
        $LaptopPrefix, $LaptopDsn, $password, $LogLevelDebug, $LogFile)
    $status = Invoke-Run $factory
} catch {
    Write-Host "Could not replicate: $(Get-ErrorText $_)"
} finally {
    if ($factory) { $factory.disconnect() }
}
exit $status
