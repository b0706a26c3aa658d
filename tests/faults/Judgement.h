#pragma once

#include "Expectation.h"

/// The observations of a run with a fault.
struct Seen
{
    HostOutcome outcome;
    AdoJournal journal;
    /// The failure that the fault led to; nothing when nobody noticed.
    std::optional<Failure> failure;
    /// A failed log entry has shown its box, with this reason.
    std::optional<std::wstring> logBox;
    /// The content of both databases after it.
    PairState left;
    HostOutcome next;
    /// Their content after the good run that followed.
    PairState repaired;
    long memoryLeft = 0;
    long handlesLeft = 0;
};

/// Every difference from the expected behaviour, in words; empty when all is well.
std::vector<std::wstring> judge(const Scenario& scenario, const Reference& reference, const Seen& seen);
