#pragma once

#include "Judgement.h"

#include <map>

/// "ado refused once 17", "ado lost lasting 17", "memory once 250", "log locked 3".
std::wstring nameOf(const Fault& fault);

/// Tries faults in scenarios and reports the differences from the expected behaviour.
class FaultTrials
{
public:
    FaultTrials();
    ~FaultTrials();
    FaultTrials(const FaultTrials&) = delete;
    FaultTrials& operator=(const FaultTrials&) = delete;

    const std::vector<Scenario>& scenarios() const { return scenarios_; }
    /// The run without a fault, made at the first request. Throws com::Error when even that fails.
    const Reference& reference(const Scenario& scenario);
    /// The complaints about a run with the fault and the good one after it; none when all is well.
    std::vector<std::wstring> attempt(const Scenario& scenario, const Fault& fault);

private:
    HostOutcome goodRun(const Scenario& scenario);
    Reference makeReference(const Scenario& scenario);
    FaultSwitch switchFor(Seen& seen);
    /// Runs the scenario with the fault, and then once more without.
    Seen see(const Scenario& scenario, const Fault& fault);

    const std::shared_ptr<FailingAdo> ado_ = std::make_shared<FailingAdo>();
    const AdoProxy proxy_{ado_};
    LogFaults log_;
    const Pair pair_;
    const std::vector<Scenario> scenarios_ = ::scenarios();
    std::map<std::wstring, Reference> references_;
    /// Blocks that earlier runs have lost.
    long lost_ = 0;
};
