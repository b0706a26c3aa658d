# Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
# one and the source. Needs the 32-bit PowerShell:
#
#   %SystemRoot%\SysWOW64\WindowsPowerShell\v1.0\powershell.exe -Sta -File replicate.ps1 LOGFILE
#       [-Ready] [-ResetError]
#
# The password of both logins comes from the environment variable QUINMARK_PASSWORD. -Ready marks the site ready for
# this run. -ResetError shows and clears the recorded error: give it only after a look at the conflicts, because the
# next run may delete or overwrite their rows. The exit status is one of quinrep's, 0 to 4 (docs/quinrep.md).
param(
    [Parameter(Mandatory = $true)] [string] $LogFile,
    [string] $OfficeDsn = 'QuinmarkOffice', [string] $OfficePrefix = 'office.',
    [string] $LaptopDsn = 'QuinmarkLaptop', [string] $LaptopPrefix = 'laptop.',
    [switch] $Ready, [switch] $ResetError
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
$NextStep = 'Look at the conflicts (cscript conflicts.vbs list --office, or quinrep review) and settle each one. ' +
    'Only then run with -ResetError.'

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

function Show-Summary($tables) {
    foreach ($table in $tables) {
        Write-Host ('{0}: added {1}, updated {2}, deleted {3}, conflicts {4}' -f $table.sTable, $table.lCntDestAdd,
            $table.lCntDestUpdate, $table.lCntDestDelete, $table.lCntConflict)
    }
}

# 0, or 2 and what was recorded. The error stays recorded until a person has decided.
function Get-StatusOfRun($run, $tables) {
    $status = 0
    if ($run.bError) {
        $status = 2
        Write-Host "Recorded: $($run.sErrorMessage)"
    }
    foreach ($table in $tables) {
        if ($table.lCntConflict -gt 0) {
            $status = 2
            Write-Host "Conflicts in $($table.sTable): $($table.lCntConflict)"
        }
    }
    if ($status -eq 2) { Write-Host $NextStep }
    return $status
}

function Stop-Run($status, $text) {
    Write-Host $text
    return $status
}

# The error goes into the control record, so that the next attempt and the administrator see it. Tells why it could not.
function Save-Error($factory, $run) {
    try {
        [void] $factory.setError($true, $run.sErrorMessage)
    } catch {
        "`nand it could not be recorded: $(Get-ErrorText $_)"
    }
}

# The status that the script ends with.
function Invoke-Run($factory) {
    if (-not $factory.ensureReplication()) {
        return Stop-Run 1 "The databases do not belong together: $($factory.sErrorMessage)"
    }
    $run = $factory.createReplication()
    if ($Ready) { [void] $run.SetReady() }
    [void] $run.initNextRun($SecondsBetweenAttempts, $ProgramVersion)
    if ($ResetError -and $run.bError) {
        Write-Host "Clearing the recorded error: $($run.sErrorMessage)"
        [void] $factory.resetError()
        [void] $run.initNextRun($SecondsBetweenAttempts, $ProgramVersion)
    }
    if ($run.bError) { return Stop-Run 4 "Nothing was run. Recorded: $($run.sErrorMessage)`n$NextStep" }
    if (-not $run.bReady) { return Stop-Run 4 'Nothing was run: this site is not ready; -Ready marks it' }

    $tables = New-Tables $factory
    try {
        [void] $run.go($tables)
    } catch {
        return Stop-Run 1 "The run failed: $(Get-ErrorText $_)$(Save-Error $factory $run)"
    }
    Show-Summary $tables
    return Get-StatusOfRun $run $tables
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
