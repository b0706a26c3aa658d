#include "Judgement.h"

#include <algorithm>

namespace {

constexpr long kOutOfMemory = 7;

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

    void compare(const wchar_t* what, const std::wstring& expected, const std::wstring& actual)
    {
        expect(expected == actual, std::wstring(what) + L": \"" + actual + L"\" instead of \"" + expected + L"\"");
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
        compareState(reference_.once, {});
    }

    void judgeFailure()
    {
        const Failure& failure = *seen_.failure;
        const Expectation expected = expectation(failure);
        if (failure.textsMayLack)
            judgeWithoutTexts(failure);
        else
            judgeTold(failure, expected);
        judgeWrites(failure, failure.textsMayLack ? recordedMark() : expected.mark);
    }

    /// Memory may have run out after the last call of a check or before the next routine's first call.
    Expectation expectation(const Failure& failure) const
    {
        Expectation expected = expectationOf(scenario_, reference_, failure, localOpen());
        if (failure.betweenCalls && expected.number != seen_.outcome.error.number) {
            Failure next = failure;
            ++next.call;
            expected = expectationOf(scenario_, reference_, next, localOpen());
        }
        return expected;
    }

    void judgeTold(const Failure& failure, const Expectation& expected)
    {
        const HostOutcome& outcome = seen_.outcome;
        const Step host = failure.step == Step::Table ? Step::Go : failure.step;
        expect(outcome.failedIn == host, L"the host saw no failure of the step at work (" +
                                             std::to_wstring(static_cast<int>(host)) + L"), but of " +
                                             std::to_wstring(static_cast<int>(outcome.failedIn)));
        compare(L"description", expected.description, outcome.error.description);
        if (host == Step::Ensure)
            return;
        compare(L"number", std::to_wstring(expected.number), std::to_wstring(outcome.error.number));
        if (!isUntrapped(failure))
            compare(L"source", expected.source, outcome.error.source);
        judgeRunObject(failure);
    }

    /// Arguments are taken in, and objects made, outside any trap: before a step's first call into ADO.
    bool isUntrapped(const Failure& failure) const
    {
        const bool atBegin = failure.step == Step::Create || failure.call == 0 ||
                             seen_.journal.calls()[failure.call - 1].step != failure.step;
        return failure.betweenCalls && atBegin && seen_.outcome.error.source == L"QuinmarkRepDLL";
    }

    void judgeRunObject(const Failure& failure)
    {
        const Step step = failure.step;
        const com::Error& error = seen_.outcome.error;
        if (error.source == L"QuinmarkRepDLL")
            return;
        // For its own steps, `go` tells the error that it met, without the changes of its trap.
        if (step == Step::Go)
            compare(L"sErrorMessage", failure.error.description, seen_.outcome.runMessage);
        if (step == Step::Table)
            compare(L"sErrorMessage", error.description, seen_.outcome.runMessage);
        if (step != Step::InitNextRun && step != Step::SetReady)
            return;
        compare(L"sErrorMessage", error.source + L": " + std::to_wstring(error.number) + L": " + error.description,
                seen_.outcome.runMessage);
        expect(seen_.outcome.runError, L"bError is not set");
    }

    void judgeWithoutTexts(const Failure& failure)
    {
        const Step host = failure.step == Step::Table ? Step::Go : failure.step;
        expect(seen_.outcome.failedIn == host, L"the host saw no failure of the step at work");
        const long number = seen_.outcome.error.number;
        const bool check = number == static_cast<long>(0x80040000) && failure.step == Step::InitNextRun;
        const bool log = number == static_cast<long>(0x80040001) && host == Step::Go;
        expect(number == kOutOfMemory || check || log || host == Step::Ensure,
               L"number: " + std::to_wstring(number) + L" for a lack of memory");
    }

    /// The statements up to the failure are those of the reference; none but the run's error follows them.
    void judgeWrites(const Failure& failure, const std::optional<std::wstring>& mark)
    {
        const std::vector<std::wstring> before = seen_.journal.writes(1, failure.call + 1);
        const std::vector<std::wstring> after = seen_.journal.writes(failure.call + 1);
        writes_ = before.size();
        expect(writes_ <= reference_.writes.size(), L"more statements than a run has");
        for (size_t index = 0; index < std::min(writes_, reference_.writes.size()); ++index)
            if (isRepeatable(before[index]))
                compare(L"statement", reference_.writes[index], before[index]);
        compare(L"written after the failure",
                mark ? std::vector<std::wstring>{L"SetReplicationError"} : std::vector<std::wstring>{}, after);
        if (writes_ < reference_.states.size())
            compareState(reference_.states[writes_], mark);
    }

    /// Whether a statement has the same text in every run: no time of the server, and no key that it made.
    static bool isRepeatable(const std::wstring& text)
    {
        return text.find(L"_timestamp") == std::wstring::npos && text.find(L"conflict_id") == std::wstring::npos;
    }

    void compareState(PairState expected, const std::optional<std::wstring>& mark)
    {
        if (mark) {
            const std::wstring record = L"mark " + std::to_wstring(static_cast<int>(scenario_.site)) + L" ";
            for (std::wstring& line : expected.marks)
                if (line.starts_with(record))
                    line = record + L"true " + *mark;
        }
        compare(L"rows", expected.rows, seen_.left.rows);
        compare(L"counts", expected.counts, seen_.left.counts);
        compare(L"conflicts", expected.conflicts, seen_.left.conflicts);
        compare(L"recorded error", expected.marks, seen_.left.marks);
    }

    /// Without memory the run's error may or may not have been recorded; when it was, any text will do.
    std::optional<std::wstring> recordedMark() const
    {
        if (seen_.journal.writes(seen_.failure->call + 1).empty())
            return std::nullopt;
        const std::wstring record = L"mark " + std::to_wstring(static_cast<int>(scenario_.site)) + L" true ";
        for (const std::wstring& line : seen_.left.marks)
            if (line.starts_with(record))
                return line.substr(record.size());
        return std::nullopt;
    }

    /// Whether there was a connection to record the run's error on.
    bool localOpen() const
    {
        const std::vector<RecordedCall>& calls = seen_.journal.calls();
        return std::none_of(calls.begin() + static_cast<std::ptrdiff_t>(seen_.failure->call), calls.end(),
                            [](const RecordedCall& call) { return call.readsClosed && call.step != Step::Disconnect; });
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
        for (size_t index = 1; index <= calls.size(); ++index)
            if (calls[index - 1].writes && calls[index - 1].step == Step::Table)
                rows += seen_.journal.statement(index).starts_with(statement) ? 1 : 0;
        if (scenario_.routine.empty())
            rows = 0;
        const bool inTable = seen_.failure && seen_.failure->step == Step::Table;
        expect(counted == rows || (inTable && counted == rows - 1), std::wstring(what) + L": " +
                                                                        std::to_wstring(counted) + L" counted, " +
                                                                        std::to_wstring(rows) + L" written");
    }

    /// Those of the run without a fault, as far as it got, and one for a log that cannot be written.
    void judgeBoxes()
    {
        std::vector<std::wstring> boxes = seen_.outcome.boxes;
        if (seen_.logBox && !boxes.empty()) {
            compare(L"box of the log", L"Utils.WriteLog: " + *seen_.logBox, boxes.back());
            boxes.pop_back();
        }
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
        const PairState expected = repairedState(scenario_, reference_, writes_, seen_.left);
        if (!seen_.failure)
            return;
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
