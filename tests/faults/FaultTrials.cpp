#include "FaultTrials.h"

#include "support/Holdings.h"

namespace {

/// By AdoFaultKind and LogFaultKind.
constexpr const wchar_t* kAdoFaults[] = {L"refused", L"lost", L"closed", L"without-memory"};
constexpr const wchar_t* kLogFaults[] = {L"disk-full", L"locked", L"directory-removed"};

template <class Kind>
std::optional<Kind> faultOf(const Fault& fault)
{
    const Kind* found = std::get_if<Kind>(&fault);
    return found ? std::optional(*found) : std::nullopt;
}

std::wstring numbered(bool lasting, size_t number)
{
    return (lasting ? L" lasting " : L" once ") + std::to_wstring(number);
}

/// The first call that failed, or that found its connection closed and had to raise; none when nothing noticed.
std::optional<Failure> adoFailure(const Reference& reference, const AdoJournal& journal)
{
    const std::vector<RecordedCall>& calls = journal.calls();
    for (size_t index = 1; index <= calls.size(); ++index) {
        const RecordedCall& call = calls[index - 1];
        // `init` and `disconnect` want the connection closed, and recording an error ignores a closed one.
        const bool asks = call.step == Step::Init || call.step == Step::Disconnect || call.step == Step::SetError ||
                          reference.journal.statement(index) == L"SetReplicationError";
        if (call.failed || (call.readsClosed && !asks))
            return Failure{index, call.step};
    }
    return std::nullopt;
}

} // namespace

std::wstring nameOf(const Fault& fault)
{
    if (const auto ado = faultOf<AdoFault>(fault))
        return std::wstring(L"ado ") + kAdoFaults[static_cast<size_t>(ado->kind)] + numbered(ado->lasting, ado->call);
    if (const auto memory = faultOf<allocations::Fault>(fault))
        return L"memory" + numbered(memory->lasting, memory->at);
    const LogFault log = std::get<LogFault>(fault);
    return std::wstring(L"log ") + kLogFaults[static_cast<size_t>(log.kind)] + L" " + std::to_wstring(log.entry);
}

FaultTrials::FaultTrials()
{
    // The first runs of a thread leave things in place that stay.
    for (const Scenario& scenario : scenarios_) {
        pair_.reset(scenario);
        goodRun(scenario);
    }
}

FaultTrials::~FaultTrials()
{
    ado_->closeKept();
}

HostOutcome FaultTrials::goodRun(const Scenario& scenario)
{
    const FaultSwitch none{[this] {
                               ado_->journal.begin();
                               allocations::begin();
                               log_.begin();
                           },
                           [this] { log_.heal(); }};
    return runHost(*ado_, scenario, log_.file(), none);
}

Reference FaultTrials::makeReference(const Scenario& scenario)
{
    Reference reference;
    pair_.reset(scenario);
    reference.states.push_back(pair_.read(scenario));
    ado_->whenWritten = [&] { reference.states.push_back(pair_.read(scenario)); };
    const HostOutcome outcome = goodRun(scenario);
    ado_->whenWritten = {};
    if (outcome.failedIn != Step::Idle)
        throw outcome.error;
    reference.journal = ado_->journal;
    reference.writes = ado_->journal.writes(1);
    reference.boxes = outcome.boxes;
    reference.logEntries = log_.entries();
    reference.allocations = allocations::count();
    reference.once = pair_.read(scenario);
    goodRun(scenario);
    reference.twice = pair_.read(scenario);
    reference.memory = allocations::live() - lost_;
    return reference;
}

const Reference& FaultTrials::reference(const Scenario& scenario)
{
    const auto known = references_.find(scenario.name);
    return known != references_.end() ? known->second
                                      : references_.emplace(scenario.name, makeReference(scenario)).first->second;
}

FaultSwitch FaultTrials::switchFor(Seen& seen)
{
    const auto note = [this, &seen] { seen.failure = Failure{ado_->journal.calls().size(), ado_->journal.step}; };
    return {[this, &seen, note] {
                ado_->journal.begin(faultOf<AdoFault>(seen.fault));
                log_.begin(faultOf<LogFault>(seen.fault), note);
                allocations::begin(faultOf<allocations::Fault>(seen.fault), note);
            },
            [this] {
                allocations::heal();
                ado_->journal.heal();
                log_.heal();
            }};
}

Seen FaultTrials::see(const Scenario& scenario, const Fault& fault)
{
    const Reference& good = reference(scenario);
    const size_t handles = handleCount();
    pair_.reset(scenario);
    Seen seen{.fault = fault};
    seen.outcome = runHost(*ado_, scenario, log_.file(), switchFor(seen));
    seen.journal = ado_->journal;
    if (faultOf<AdoFault>(fault))
        seen.failure = adoFailure(good, seen.journal);
    seen.left = pair_.read(scenario);
    seen.next = goodRun(scenario);
    seen.repaired = pair_.read(scenario);
    seen.memoryLeft = allocations::live() - lost_ - good.memory;
    lost_ += seen.memoryLeft;
    seen.handlesLeft = static_cast<long>(handleCount()) - static_cast<long>(handles);
    return seen;
}

std::vector<std::wstring> FaultTrials::attempt(const Scenario& scenario, const Fault& fault)
{
    Seen seen = see(scenario, fault);
    // The platform opens some handles once, at the first failure of a kind. A leak comes again.
    if (seen.handlesLeft != 0)
        seen.handlesLeft = see(scenario, fault).handlesLeft;
    return judge(scenario, reference(scenario), seen);
}
