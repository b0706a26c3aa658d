#include "FaultBench.h"

using allocations::Unwatched;

namespace {

constexpr wchar_t kNoMemory[] = L"Out of memory";

long handleCount()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return static_cast<long>(count);
}

decltype(&MessageBoxW) g_showBox = nullptr;

/// A box is the platform's business, and answering it the test's.
int WINAPI showBox(HWND owner, const wchar_t* text, const wchar_t* title, UINT type)
{
    const Unwatched own;
    return g_showBox(owner, text, title, type);
}

const wchar_t* nameOf(AdoFaultKind kind)
{
    switch (kind) {
    case AdoFaultKind::Refused:
        return L"refused";
    case AdoFaultKind::Lost:
        return L"lost";
    case AdoFaultKind::Closed:
        return L"closed";
    case AdoFaultKind::NoMemory:
        return L"without-memory";
    }
    return L"";
}

const wchar_t* nameOf(LogFaultKind kind)
{
    switch (kind) {
    case LogFaultKind::DiskFull:
        return L"disk-full";
    case LogFaultKind::Locked:
        return L"locked";
    case LogFaultKind::DirectoryRemoved:
        return L"directory-removed";
    }
    return L"";
}

struct Namer
{
    std::wstring operator()(const AdoFault& fault) const
    {
        return L"ado " + std::wstring(nameOf(fault.kind)) + (fault.lasting ? L" lasting " : L" once ") +
               std::to_wstring(fault.call);
    }
    std::wstring operator()(const allocations::Fault& fault) const
    {
        return std::wstring(L"memory") + (fault.lasting ? L" lasting " : L" once ") + std::to_wstring(fault.at);
    }
    std::wstring operator()(const LogFault& fault) const
    {
        return L"log " + std::wstring(nameOf(fault.kind)) + L" " + std::to_wstring(fault.entry);
    }
};

} // namespace

std::wstring nameOf(const Fault& fault)
{
    return std::visit(Namer(), fault);
}

FaultBench::FaultBench() : boxes_("MessageBoxW", reinterpret_cast<void*>(showBox)), scenarios_(::scenarios())
{
    g_showBox = boxes_.original<decltype(g_showBox)>();
    // Texts of the thread's settings keep the room that they once had.
    for (const Scenario& scenario : scenarios_)
        if (scenario.wholeLife)
            reference(scenario);
    references_.clear();
}

void FaultBench::reset(const Scenario& scenario) const
{
    pair_.reset(scenario.tables, scenario.sourceRows, scenario.destinationRows);
}

PairState FaultBench::read(const Scenario& scenario) const
{
    return pair_.read(scenario.tables, scenario.localIsSource());
}

HostOutcome FaultBench::goodRun(const Scenario& scenario, std::vector<std::string>* log)
{
    const FaultSwitch none{[this] {
                               ado_.journal().begin();
                               allocations::begin();
                               log_.begin({}, {});
                           },
                           [this, log] {
                               if (log)
                                   *log = log_.texts();
                               log_.heal();
                           }};
    return runHost(ado_, scenario, log_.file(), none);
}

Reference FaultBench::makeReference(const Scenario& scenario)
{
    Reference reference;
    reset(scenario);
    reference.states.push_back(read(scenario));
    ado_.whenWritten([&] { reference.states.push_back(read(scenario)); });
    const HostOutcome outcome = goodRun(scenario, &reference.log);
    ado_.whenWritten({});
    if (outcome.failedIn != Step::Idle)
        throw outcome.error;
    reference.journal = ado_.journal();
    reference.writes = ado_.journal().writes(1, ado_.journal().calls().size() + 1);
    reference.boxes = outcome.boxes;
    reference.allocations = allocations::count();
    reference.once = read(scenario);
    goodRun(scenario);
    reference.twice = read(scenario);
    reference.memory = allocations::live() - lost_;
    return reference;
}

const Reference& FaultBench::reference(const Scenario& scenario)
{
    const auto known = references_.find(scenario.name);
    if (known != references_.end())
        return known->second;
    // The first run of a thread leaves things in place that stay.
    makeReference(scenario);
    return references_.emplace(scenario.name, makeReference(scenario)).first->second;
}

FaultSwitch FaultBench::switchFor(const Fault& fault, Seen& seen)
{
    const auto note = [this, &seen](const com::Error& error) {
        const AdoJournal& journal = ado_.journal();
        seen.failure = Failure{journal.calls().size(), journal.step, error};
        seen.failure->betweenCalls = true;
    };
    const auto* ado = std::get_if<AdoFault>(&fault);
    const auto* memory = std::get_if<allocations::Fault>(&fault);
    const auto* log = std::get_if<LogFault>(&fault);
    allocations::whenFailing([note] { note({7, L"", kNoMemory}); });
    return {[this, ado, memory, log, note] {
                ado_.journal().begin(ado ? std::optional(*ado) : std::nullopt);
                log_.begin(log ? std::optional(*log) : std::nullopt, [note] { note({}); });
                allocations::begin(memory ? std::optional(*memory) : std::nullopt);
            },
            [this] {
                allocations::heal();
                ado_.journal().heal();
                log_.heal();
            }};
}

/// What can only be said when the run is over.
void FaultBench::conclude(const Scenario& scenario, const Fault& fault, Seen& seen)
{
    seen.journal = ado_.journal();
    if (const auto* ado = std::get_if<AdoFault>(&fault))
        seen.failure = adoFailure(scenario, reference(scenario), seen.journal, *ado);
    if (const auto* log = std::get_if<LogFault>(&fault))
        concludeLog(scenario, LogFaults::text(log->kind), seen);
    const auto* memory = std::get_if<allocations::Fault>(&fault);
    if (!memory || !seen.failure)
        return;
    seen.failure->textsMayLack = memory->lasting;
    if (!seen.outcome.boxes.empty() && seen.outcome.boxes.back() == std::wstring(L"Utils.WriteLog: ") + kNoMemory)
        concludeLog(scenario, kNoMemory, seen);
}

void FaultBench::concludeLog(const Scenario& scenario, const wchar_t* reason, Seen& seen)
{
    seen.logBox = reason;
    if (seen.failure)
        seen.failure->error = logError(reference(scenario), log_.entries());
}

Seen FaultBench::runWith(const Scenario& scenario, const Fault& fault)
{
    Seen seen;
    seen.outcome = runHost(ado_, scenario, log_.file(), switchFor(fault, seen));
    conclude(scenario, fault, seen);
    return seen;
}

std::vector<std::wstring> FaultBench::run(const Scenario& scenario, const Fault& fault)
{
    const Reference& expected = reference(scenario);
    const long handles = handleCount();
    reset(scenario);
    Seen seen = runWith(scenario, fault);
    seen.left = read(scenario);
    seen.next = goodRun(scenario);
    seen.repaired = read(scenario);
    seen.memoryLeft = allocations::live() - lost_ - expected.memory;
    lost_ += seen.memoryLeft;
    seen.handlesLeft = handleCount() - handles;
    return judge(scenario, expected, seen);
}
