#pragma once

#include "FailingAdo.h"
#include "Scenario.h"

/// The outcome of a run as the host saw it.
struct HostOutcome
{
    /// The step that failed; Idle when none did. A check that answers "no" counts as failed, with its reason.
    Step failedIn = Step::Idle;
    com::Error error;
    /// Counters of the table object for the destination; all zero when there was none.
    long adds = 0;
    long updates = 0;
    long deletes = 0;
    /// Texts of the message boxes.
    std::vector<std::wstring> boxes;
    /// ADO objects alive when the host had let all objects of the run go, and when it had disconnected.
    long liveBeforeDisconnect = 0;
    long liveAtEnd = 0;
    /// Disconnecting failed, although the faults had ended.
    std::wstring disconnectError;
};

/// Begins and ends to count and fail the calls, allocations and log entries of a run.
struct FaultSwitch
{
    std::function<void()> begin;
    std::function<void()> heal;
};

/// One run of a scenario through the component's public interface, from `init` to `disconnect`. Its message boxes are
/// answered unshown.
HostOutcome runHost(FailingAdo& ado, const Scenario& scenario, const std::wstring& logFile, const FaultSwitch& faults);
