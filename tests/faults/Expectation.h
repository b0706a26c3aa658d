#pragma once

#include "HostRun.h"
#include "PairState.h"

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
    /// The entries of the log, in their order.
    std::vector<std::string> log;
    size_t allocations = 0;
    /// Blocks of memory that the component keeps on the thread after a run.
    long memory = 0;
};

/// The failure that a fault led to, as the routine met it that it happened in.
struct Failure
{
    /// The number of ADO calls that had begun.
    size_t call = 0;
    Step step = Step::Idle;
    com::Error error = {};
    /// The fault lasts, so that recording the run's error fails, too, with this one.
    std::optional<com::Error> lasting = {};
    /// It happened in the component's own work, not in a call.
    bool betweenCalls = false;
    /// The component reported it without memory: only the number is certain.
    bool textsMayLack = false;
};

/// The failure of a log entry: in a routine between the table's own and the writer, the error has passed a trap
/// already.
com::Error logError(const Reference& reference, size_t entry);

/// The error that a host must see of a failure, and that the control record must hold.
struct Expectation
{
    /// 0x80040000 for checks; 0 where a check answers "no" instead of raising.
    long number;
    std::wstring source;
    std::wstring description;
    /// The error of the control record; nothing when it stays as it was.
    std::optional<std::wstring> mark;
};

/// `localOpen`: the local connection was there to record an error.
Expectation expectationOf(const Scenario& scenario, const Reference& reference, const Failure& failure, bool localOpen);

/// The failure that a fault in ADO led to: the first call that failed, or a connection found closed. None when
/// nothing noticed.
std::optional<Failure> adoFailure(const Scenario& scenario, const Reference& reference, const AdoJournal& journal,
                                  const AdoFault& fault);

/// Whether the call belongs to a check, whose failures are recorded and raised in a way of their own.
bool isCheck(const Reference& reference, size_t call);

/// The state that a good run must lead to after one that failed after `writes` statements that wrote and left `left`.
PairState repairedState(const Scenario& scenario, const Reference& reference, size_t writes, const PairState& left);
