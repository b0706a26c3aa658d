#pragma once

#include "Allocations.h"
#include "Judgement.h"
#include "LogFaults.h"

#include <map>
#include <variant>

/// One thing to fail in one scenario.
using Fault = std::variant<AdoFault, allocations::Fault, LogFault>;

/// "ado refused 17", "ado lost lasting 17", "memory 250", "log locked 3".
std::wstring nameOf(const Fault& fault);

/// Runs scenarios with a fault and says what was not as it must be.
class FaultBench
{
public:
    FaultBench();

    const std::vector<Scenario>& scenarios() const { return scenarios_; }
    /// The run without a fault, made at the first request. Throws com::Error when even that fails.
    const Reference& reference(const Scenario& scenario);
    /// Runs the scenario with the fault, and then once more without. The complaints; none when all is well.
    std::vector<std::wstring> run(const Scenario& scenario, const Fault& fault);

private:
    void reset(const Scenario& scenario) const;
    PairState read(const Scenario& scenario) const;
    /// `log` gets the entries that were written, if it is given.
    HostOutcome goodRun(const Scenario& scenario, std::vector<std::string>* log = nullptr);
    Reference makeReference(const Scenario& scenario);
    /// Runs the scenario with the fault and notes where it struck.
    Seen runWith(const Scenario& scenario, const Fault& fault);
    FaultSwitch switchFor(const Fault& fault, Seen& seen);
    void conclude(const Scenario& scenario, const Fault& fault, Seen& seen);

    void concludeLog(const Scenario& scenario, const wchar_t* reason, Seen& seen);

    TappedAdo ado_;
    LogFaults log_;
    ImportHook boxes_;
    Pair pair_;
    std::vector<Scenario> scenarios_;
    std::map<std::wstring, Reference> references_;
    /// Blocks that earlier runs have lost.
    long lost_ = 0;
};
