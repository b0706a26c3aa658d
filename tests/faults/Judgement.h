#pragma once

#include "HostRun.h"
#include "LogFaults.h"
#include "PairState.h"

#include <variant>

/// One thing to fail in one scenario.
using Fault = std::variant<AdoFault, allocations::Fault, LogFault>;

/// A scenario without any fault.
struct Reference
{
    AdoJournal journal;
    std::vector<std::wstring> writes;
    /// The content of both databases before the first statement that wrote, and after each.
    std::vector<PairState> states;
    /// Their content after the run, and after a second one.
    PairState once;
    PairState twice;
    std::vector<std::wstring> boxes;
    size_t logEntries = 0;
    size_t allocations = 0;
    /// Blocks of memory that the component keeps on the thread after a run.
    long memory = 0;
};

/// The place at which a fault was noticed.
struct Failure
{
    /// The number of ADO calls that had begun.
    size_t call = 0;
    Step step = Step::Idle;
};

/// The observations of a run with a fault.
struct Seen
{
    Fault fault;
    HostOutcome outcome = {};
    AdoJournal journal = {};
    /// Nothing when nobody noticed the fault.
    std::optional<Failure> failure = {};
    /// The content of both databases after it.
    PairState left = {};
    HostOutcome next = {};
    /// Their content after the good run that followed.
    PairState repaired = {};
    long memoryLeft = 0;
    long handlesLeft = 0;
};

/// Every difference from the expected behaviour, in words; empty when all is well. Nothing may be lost that the next
/// good run does not bring, nothing may leak, and the host has to be told; the unit tests hold the texts and numbers
/// that it is told.
std::vector<std::wstring> judge(const Scenario& scenario, const Reference& reference, const Seen& seen);
