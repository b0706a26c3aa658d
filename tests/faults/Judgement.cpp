#include "Judgement.h"

#include <algorithm>

namespace {

constexpr long kCheckFailed = static_cast<long>(0x80040000);

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
        return line.starts_with(L"D: " + scenario.dependentTable + L" ") && line.find(key) != std::wstring::npos;
    };
    std::erase_if(expected.rows, isDependent);
    std::ranges::copy_if(left.rows, std::back_inserter(expected.rows), isDependent);
}

/// The state that a good run must lead to after one that failed after `writes` statements that wrote and left `left`.
PairState repairedState(const Scenario& scenario, const Reference& reference, size_t writes, const PairState& left)
{
    const auto hasWritten = [&](auto&& isIt) {
        const auto end =
            reference.writes.begin() + static_cast<std::ptrdiff_t>(std::min(writes, reference.writes.size()));
        return std::any_of(reference.writes.begin(), end, isIt);
    };
    // Then the interval has moved, and the next run is a new one.
    if (hasWritten([](const std::wstring& text) { return text.find(L"set last_timestamp") != std::wstring::npos; }))
        return reference.twice;
    PairState expected = reference.once;
    // The next run records the conflicts from before the failure again. A host that settles them deletes the row, which
    // is then no error of the next run.
    const bool settles = scenario.wholeLife && scenario.site == LAPTOP;
    if (!settles)
        expected.conflicts.insert(expected.conflicts.end(), left.conflicts.begin(), left.conflicts.end());
    else if (hasWritten([](const std::wstring& text) { return text.starts_with(L"Delete from shortcut"); }))
        expected.marks = reference.twice.marks;
    if (writes < reference.writes.size())
        keepLostDependents(scenario, reference.writes[writes], left, expected);
    return expected;
}

class Judge
{
public:
    Judge(const Scenario& scenario, const Reference& reference, const Seen& seen)
        : scenario_(scenario),
          reference_(reference),
          seen_(seen)
    {
    }

    std::vector<std::wstring> complaints()
    {
        if (seen_.failure)
            judgeFailure();
        else
            judgeUnnoticed();
        judgeCounters();
        judgeBoxes();
        judgeObjects();
        judgeNextRun();
        return std::move(complaints_);
    }

private:
    void expect(bool holds, const std::wstring& complaint)
    {
        if (!holds)
            complaints_.push_back(complaint);
    }

    void compare(const wchar_t* what, const std::vector<std::wstring>& expected,
                 const std::vector<std::wstring>& actual)
    {
        const std::wstring differs = difference(expected, actual);
        expect(differs.empty(), std::wstring(what) + L":" + differs);
    }

    /// Nothing failed, so nothing may show.
    void judgeUnnoticed()
    {
        expect(seen_.outcome.failedIn == Step::Idle,
               L"the host was told of a failure that did not happen: " + seen_.outcome.error.description);
        writes_ = reference_.writes.size();
        compareState(reference_.once, false);
    }

    void judgeFailure()
    {
        const com::Error& error = seen_.outcome.error;
        const Step step = seen_.failure->step == Step::Table ? Step::Go : seen_.failure->step;
        expect(seen_.outcome.failedIn == step, L"the host saw no failure of the step at work (" +
                                                   std::to_wstring(static_cast<int>(step)) + L"), but of " +
                                                   std::to_wstring(static_cast<int>(seen_.outcome.failedIn)));
        // A check that answers "no" has a reason only.
        expect(error.number != 0 || step == Step::Ensure, L"the error has no number");
        expect(!error.source.empty() || step == Step::Ensure || memoryIsOut(), L"the error has no source");
        expect(!error.description.empty() || memoryIsOut(), L"the error has no description");
        judgeWrites();
    }

    /// Without memory for texts, an error may come without them, and may not be recorded.
    bool memoryIsOut() const
    {
        const auto* fault = std::get_if<allocations::Fault>(&seen_.fault);
        return fault && fault->lasting;
    }

    /// The statements up to the failure are those of the reference; none but the run's error follows them.
    void judgeWrites()
    {
        const size_t failed = seen_.failure->call + 1;
        const std::vector<std::wstring> before = seen_.journal.writes(1, failed);
        const std::vector<std::wstring> after = seen_.journal.writes(failed);
        writes_ = before.size();
        expect(writes_ <= reference_.writes.size(), L"more statements than a run has");
        for (size_t index = 0; index < std::min(writes_, reference_.writes.size()); ++index)
            if (isRepeatable(before[index]))
                compare(L"statement", {reference_.writes[index]}, {before[index]});
        const bool recorded = !after.empty();
        compare(L"written after the failure", recorded ? std::vector<std::wstring>{L"SetReplicationError"} : after,
                after);
        expect(memoryIsOut() || recorded == mustBeRecorded(),
               recorded ? L"the error was recorded" : L"the error was not recorded");
        if (writes_ < reference_.states.size())
            compareState(reference_.states[writes_], recorded);
    }

    /// Checks and one-way routines record their error, if there is a connection to record it on.
    bool mustBeRecorded() const
    {
        const Step step = seen_.failure->step;
        const bool check =
            step == Step::Ensure || (step == Step::InitNextRun && seen_.outcome.error.number == kCheckFailed);
        const auto* fault = std::get_if<AdoFault>(&seen_.fault);
        const bool refused = fault && fault->lasting;
        return (check || (step == Step::Table && scenario_.isOneWay())) && !refused && localOpen();
    }

    bool localOpen() const
    {
        const std::vector<RecordedCall>& calls = seen_.journal.calls();
        return std::none_of(calls.begin() + static_cast<std::ptrdiff_t>(seen_.failure->call), calls.end(),
                            [](const RecordedCall& call) { return call.readsClosed && call.step != Step::Disconnect; });
    }

    /// Whether a statement has the same text in every run: no time of the server, and no key that it made.
    static bool isRepeatable(const std::wstring& text)
    {
        return text.find(L"_timestamp") == std::wstring::npos && text.find(L"conflict_id") == std::wstring::npos;
    }

    void compareState(PairState expected, bool recorded)
    {
        const std::wstring record = std::to_wstring(static_cast<int>(scenario_.site)) + L"|";
        for (std::wstring& line : expected.marks)
            if (recorded && line.starts_with(record))
                line = record + L"True";
        compare(L"rows", expected.rows, seen_.left.rows);
        compare(L"counts", expected.counts, seen_.left.counts);
        compare(L"conflicts", expected.conflicts, seen_.left.conflicts);
        compare(L"recorded error", expected.marks, seen_.left.marks);
    }

    /// One-way routines count what they wrote, but for a row in the middle of which they failed; two-way ones nothing.
    void judgeCounters()
    {
        const HostOutcome& outcome = seen_.outcome;
        if (scenario_.method == ONE_WAY_DELETE_ALL || scenario_.method == COMPUTER_TYPE)
            return;
        judgeCounter(L"adds", outcome.adds, L"Insert into " + scenario_.table + L" ");
        judgeCounter(L"updates", outcome.updates, L"Update " + scenario_.table + L" set ");
        judgeCounter(L"deletes", outcome.deletes, L"delete from " + scenario_.table + L" where ");
    }

    void judgeCounter(const wchar_t* what, long counted, const std::wstring& statement)
    {
        const std::vector<RecordedCall>& calls = seen_.journal.calls();
        long rows = 0;
        for (size_t index = 1; scenario_.isOneWay() && index <= calls.size(); ++index)
            if (calls[index - 1].writes && calls[index - 1].step == Step::Table)
                rows += seen_.journal.statement(index).starts_with(statement) ? 1 : 0;
        const bool inTable = seen_.failure && seen_.failure->step == Step::Table;
        expect(counted == rows || (inTable && counted == rows - 1), std::wstring(what) + L": " +
                                                                        std::to_wstring(counted) + L" counted, " +
                                                                        std::to_wstring(rows) + L" written");
    }

    /// Those of the run without a fault, as far as it got, and one for a log that cannot be written.
    void judgeBoxes()
    {
        std::vector<std::wstring> boxes = seen_.outcome.boxes;
        const bool logBox = !boxes.empty() && boxes.back().starts_with(L"Utils.WriteLog: ");
        const bool logFails = seen_.failure && std::holds_alternative<LogFault>(seen_.fault);
        expect(logBox || !logFails, L"no box tells of the log that cannot be written");
        if (logBox && !std::holds_alternative<AdoFault>(seen_.fault))
            boxes.pop_back();
        expect(boxes.size() <= reference_.boxes.size() &&
                   std::equal(boxes.begin(), boxes.end(), reference_.boxes.begin()),
               L"message boxes that a run without a fault does not show");
    }

    void judgeObjects()
    {
        constexpr long kConnections = 2;
        expect(seen_.outcome.liveBeforeDisconnect <= kConnections,
               std::to_wstring(seen_.outcome.liveBeforeDisconnect) + L" ADO objects alive after the failure");
        expect(seen_.outcome.liveAtEnd <= kConnections, L"ADO objects alive after disconnecting");
        expect(seen_.next.liveAtEnd == 0, std::to_wstring(seen_.next.liveAtEnd) + L" ADO objects alive at the end");
        expect(seen_.outcome.disconnectError.empty(), L"disconnecting failed: " + seen_.outcome.disconnectError);
        expect(seen_.memoryLeft == 0, std::to_wstring(seen_.memoryLeft) + L" blocks of memory left over");
        expect(seen_.handlesLeft == 0, std::to_wstring(seen_.handlesLeft) + L" handles left over");
    }

    void judgeNextRun()
    {
        expect(seen_.next.failedIn == Step::Idle, L"the next run failed: " + seen_.next.error.description);
        if (!seen_.failure)
            return;
        const PairState expected = repairedState(scenario_, reference_, writes_, seen_.left);
        compare(L"rows after the next run", expected.rows, seen_.repaired.rows);
        compare(L"conflicts after the next run", expected.conflicts, seen_.repaired.conflicts);
        compare(L"recorded error after the next run", expected.marks, seen_.repaired.marks);
    }

    const Scenario& scenario_;
    const Reference& reference_;
    const Seen& seen_;
    size_t writes_ = 0;
    std::vector<std::wstring> complaints_;
};

} // namespace

std::vector<std::wstring> judge(const Scenario& scenario, const Reference& reference, const Seen& seen)
{
    return Judge(scenario, reference, seen).complaints();
}
