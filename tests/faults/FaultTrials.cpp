#include "FaultTrials.h"

#include "support/Holdings.h"

namespace {

constexpr wchar_t kNoMemory[] = L"Out of memory";

/// By AdoFaultKind.
constexpr const wchar_t* kAdoFaults[] = {L"refused", L"lost", L"closed", L"without-memory"};

/// By LogFaultKind: its name, and the runtime's text for such a failure.
constexpr std::pair<const wchar_t*, const wchar_t*> kLogFaults[] = {
    {L"disk-full", L"Disk full"}, {L"locked", L"Permission denied"}, {L"directory-removed", L"Path not found"}};

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

} // namespace

std::wstring nameOf(const Fault& fault)
{
    if (const auto ado = faultOf<AdoFault>(fault))
        return std::wstring(L"ado ") + kAdoFaults[static_cast<size_t>(ado->kind)] + numbered(ado->lasting, ado->call);
    if (const auto memory = faultOf<allocations::Fault>(fault))
        return L"memory" + numbered(memory->lasting, memory->at);
    const LogFault log = std::get<LogFault>(fault);
    return std::wstring(L"log ") + kLogFaults[static_cast<size_t>(log.kind)].first + L" " + std::to_wstring(log.entry);
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

HostOutcome FaultTrials::goodRun(const Scenario& scenario, std::vector<std::string>* log)
{
    const FaultSwitch none{[this] {
                               ado_->journal.begin();
                               allocations::begin();
                               log_.begin();
                           },
                           [this, log] {
                               if (log)
                                   *log = log_.texts();
                               log_.heal();
                           }};
    return runHost(*ado_, scenario, log_.file(), none);
}

Reference FaultTrials::makeReference(const Scenario& scenario)
{
    Reference reference;
    pair_.reset(scenario);
    reference.states.push_back(pair_.read(scenario));
    ado_->whenWritten = [&] { reference.states.push_back(pair_.read(scenario)); };
    const HostOutcome outcome = goodRun(scenario, &reference.log);
    ado_->whenWritten = {};
    if (outcome.failedIn != Step::Idle)
        throw outcome.error;
    reference.journal = ado_->journal;
    reference.writes = ado_->journal.writes(1);
    reference.boxes = outcome.boxes;
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

FaultSwitch FaultTrials::switchFor(const Fault& fault, Seen& seen)
{
    const auto note = [this, &seen](const com::Error& error) {
        const AdoJournal& journal = ado_->journal;
        seen.failure = Failure{.call = journal.calls().size(), .step = journal.step, .error = error};
        seen.failure->betweenCalls = true;
    };
    return {[this, fault, note] {
                ado_->journal.begin(faultOf<AdoFault>(fault));
                log_.begin(faultOf<LogFault>(fault), [note] { note({}); });
                allocations::begin(faultOf<allocations::Fault>(fault), [note] { note({7, L"", kNoMemory}); });
            },
            [this] {
                allocations::heal();
                ado_->journal.heal();
                log_.heal();
            }};
}

void FaultTrials::conclude(const Scenario& scenario, const Fault& fault, Seen& seen)
{
    seen.journal = ado_->journal;
    if (const auto ado = faultOf<AdoFault>(fault))
        seen.failure = adoFailure(scenario, reference(scenario), seen.journal, *ado);
    if (const auto log = faultOf<LogFault>(fault))
        seen.logBox = kLogFaults[static_cast<size_t>(log->kind)].second;
    const auto memory = faultOf<allocations::Fault>(fault);
    if (memory && seen.failure) {
        const std::vector<std::wstring>& boxes = seen.outcome.boxes;
        seen.failure->textsMayLack = memory->lasting;
        if (!boxes.empty() && boxes.back() == std::wstring(L"Utils.WriteLog: ") + kNoMemory)
            seen.logBox = kNoMemory;
    }
    if (seen.logBox && seen.failure)
        seen.failure->error = logError(reference(scenario), log_.entries());
}

Seen FaultTrials::see(const Scenario& scenario, const Fault& fault)
{
    const size_t handles = handleCount();
    pair_.reset(scenario);
    Seen seen;
    seen.outcome = runHost(*ado_, scenario, log_.file(), switchFor(fault, seen));
    conclude(scenario, fault, seen);
    seen.left = pair_.read(scenario);
    seen.next = goodRun(scenario);
    seen.repaired = pair_.read(scenario);
    seen.memoryLeft = allocations::live() - lost_ - reference(scenario).memory;
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
