#include "Expectation.h"

#include <algorithm>

namespace {

constexpr long kObjectError = static_cast<long>(0x80040000);
/// The error trap turns the description "Exiting method" into this one.
constexpr wchar_t kRaisedAgain[] = L"Error: -2147221503\r\nDesc:Exiting method";
constexpr wchar_t kSetError[] = L"SetReplicationError";

/// The rule of the error trap: 1, 0 and 513 or more are moved into the range of object errors.
long raisedNumber(long number)
{
    const bool moved = number == 1 || number == 0 || number > 512;
    return moved ? kObjectError + number : number;
}

/// The source of an error, by Step.
constexpr const wchar_t* kSources[] = {L"",
                                       L"Factory.init",
                                       L"Factory.setError",
                                       L"Factory.resetError",
                                       L"clsReplicate.SetReady",
                                       L"",
                                       L"clsReplicate.initNextRun",
                                       L"",
                                       L"clsReplicate.go",
                                       L"clsReplicate.go",
                                       L"clsConflict.loadFromRs",
                                       L"clsConflict.resolve",
                                       L"Factory.disconnect"};

/// A connection that the pairing finds closed raises an error of its own.
com::Error unavailable(const Scenario& scenario, const std::wstring& dataSource)
{
    const bool isSource = dataSource == Pair::setting(L"QUINMARK_OFFICE_DSN");
    const bool isLocal = isSource == scenario.localIsSource();
    return {1000, L"",
            std::wstring(isLocal ? L"Local" : L"Remote") + L" database not available as " +
                (isSource ? L"Source" : L"Destination")};
}

/// Index of the first call that found its connection closed and had to raise; 0 when there is none.
size_t firstUnavailable(const Reference& reference, const AdoJournal& journal)
{
    for (size_t index = 1; index <= journal.calls().size(); ++index) {
        const RecordedCall& call = journal.calls()[index - 1];
        // `init` and `disconnect` want the connection closed, and recording an error ignores a closed one.
        const bool asks = call.step == Step::Init || call.step == Step::Disconnect || call.step == Step::SetError;
        if (call.readsClosed && !asks && reference.journal.statement(index) != kSetError)
            return index;
    }
    return 0;
}

std::optional<com::Error> lastingError(const AdoFault& fault)
{
    if (!fault.lasting || fault.kind == AdoFaultKind::Closed)
        return std::nullopt;
    return fault.kind == AdoFaultKind::NoMemory ? com::Error{7, L"", L"Out of memory"}
                                                : com::Error{E_FAIL, L"", L"Injected fault"};
}

/// The rows of a parent's dependents, where a run failed between the parent and them: no later run sees the parent
/// again, so they stay as they were.
void keepLostDependents(const Scenario& scenario, const std::wstring& nextWrite, const PairState& left,
                        PairState& expected)
{
    const std::wstring rewrite = L"delete from " + scenario.dependentTable + L" where ";
    if (scenario.dependentTable.empty() || !nextWrite.starts_with(rewrite))
        return;
    const size_t brace = nextWrite.find(L'{');
    const std::wstring key = nextWrite.substr(brace + 1, nextWrite.find(L'}') - brace - 1);
    const auto isDependent = [&](const std::wstring& line) {
        return line.starts_with(L"D: row " + scenario.dependentTable) && line.find(key) != std::wstring::npos;
    };
    std::erase_if(expected.rows, isDependent);
    std::ranges::copy_if(left.rows, std::back_inserter(expected.rows), isDependent);
}

} // namespace

com::Error logError(const Reference& reference, size_t entry)
{
    const std::string& text = reference.log[entry - 1];
    const auto has = [&text](const char* part) { return text.find(part) != std::string::npos; };
    // Dumps, whose lines carry no date, and the report of a conflict.
    const bool isNested = !text.starts_with("\r\n") || has(": WARN : ") || has(": DEBUG: Select * from ");
    return {static_cast<long>(0x80040001), L"", isNested ? kRaisedAgain : L"Exiting method"};
}

bool isCheck(const Reference& reference, size_t call)
{
    const std::wstring statement = reference.journal.statement(call);
    return statement.starts_with(L"Select * from Control") || statement.starts_with(L"Select [id] from control");
}

Expectation expectationOf(const Scenario& scenario, const Reference& reference, const Failure& failure, bool localOpen)
{
    const com::Error& error = failure.lasting ? *failure.lasting : failure.error;
    Expectation expected{
        raisedNumber(failure.error.number), kSources[static_cast<size_t>(failure.step)], failure.error.description, {}};
    const bool check =
        failure.step == Step::Ensure || (failure.step == Step::InitNextRun && isCheck(reference, failure.call));
    const bool records = check || (failure.step == Step::Table && !scenario.routine.empty());
    if (!records) {
        if (expected.description == L"Exiting method")
            expected.description = kRaisedAgain;
        return expected;
    }
    if (failure.lasting) {
        expected.number = raisedNumber(error.number);
        expected.description = error.description;
        return expected;
    }
    if (check) {
        expected.number = kObjectError;
        expected.mark = error.description;
    }
    else {
        expected.description = scenario.routine + L"(" + scenario.table + L"): " + error.description;
        expected.mark = scenario.routine + L": " + error.description;
    }
    if (!localOpen)
        expected.mark.reset();
    return expected;
}

std::optional<Failure> adoFailure(const Scenario& scenario, const Reference& reference, const AdoJournal& journal,
                                  const AdoFault& fault)
{
    const size_t failed = journal.firstFailure();
    const size_t closed = fault.kind == AdoFaultKind::Closed ? firstUnavailable(reference, journal) : 0;
    if (failed == 0 && closed == 0)
        return std::nullopt;
    const size_t index = failed == 0 ? closed : closed == 0 ? failed : std::min(failed, closed);
    const RecordedCall& call = journal.calls()[index - 1];
    return Failure{index, call.step, index == closed ? unavailable(scenario, call.dataSource) : *call.failure,
                   lastingError(fault)};
}

PairState repairedState(const Scenario& scenario, const Reference& reference, size_t writes, const PairState& left)
{
    const auto moved = std::ranges::find_if(reference.writes, [](const std::wstring& text) {
        return text.find(L"set last_timestamp") != std::wstring::npos;
    });
    // After that statement the interval has moved, and the next run is a new one.
    if (static_cast<size_t>(moved - reference.writes.begin()) < writes)
        return reference.twice;
    PairState expected = reference.once;
    // The next run records the conflicts from before the failure again. A host that settles them deletes the row, which
    // is then no error of the next run.
    const bool settles = scenario.wholeLife && scenario.site == LAPTOP;
    if (!settles)
        expected.conflicts.insert(expected.conflicts.end(), left.conflicts.begin(), left.conflicts.end());
    const auto settled = std::ranges::find_if(
        reference.writes, [](const std::wstring& text) { return text.starts_with(L"Delete from shortcut"); });
    if (settles && static_cast<size_t>(settled - reference.writes.begin()) < writes)
        expected.marks = reference.twice.marks;
    std::ranges::sort(expected.conflicts);
    if (writes < reference.writes.size())
        keepLostDependents(scenario, reference.writes[writes], left, expected);
    std::ranges::sort(expected.rows);
    return expected;
}
