#pragma once

#include "Expectation.h"

/// What was seen of a run with a fault.
struct Seen
{
    HostOutcome outcome;
    AdoJournal journal;
    /// What the fault led to; nothing when nobody noticed.
    std::optional<Failure> failure;
    /// A failed log entry has shown its box, with this reason.
    std::optional<std::wstring> logBox;
    /// What both databases held after it.
    PairState left;
    HostOutcome next;
    /// What they held after the good run after it.
    PairState repaired;
    long memoryLeft = 0;
    long handlesLeft = 0;
};

/// What was not as it must be, in words; empty when all is well.
std::vector<std::wstring> judge(const Scenario& scenario, const Reference& reference, const Seen& seen);
