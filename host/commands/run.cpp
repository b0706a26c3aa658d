#include "Failure.h"
#include "Progress.h"
#include "RunPreview.h"
#include "RunRecord.h"
#include "TableChanges.h"
#include "TableRun.h"
#include "WaitingRows.h"
#include "cancellation.h"
#include "commands.h"
#include "commands/rows.h"
#include "conflicts/ConflictedRow.h"
#include "control/error_state.h"
#include "passwords.h"
#include "result_text.h"
#include "text.h"

#include <fmt/format.h>
#include <map>

using namespace quinmark;
using Microsoft::WRL::ComPtr;
using nlohmann::ordered_json;

namespace {

constexpr char kFillByRun[] = "Tables may be empty or incomplete at the destination. Once the cause is in order, "
                              "`quinrep run --ready --reset-error` fills them row by row.";

constexpr char kCopyIsThere[] = "The first copy is there: by the control record, everything up to {} has been "
                                "replicated. `quinrep run --ready` goes on from it; `quinrep preview` tells before "
                                "what that does.";
constexpr char kCopyIsUnfinished[] =
    "By the control record nothing has gone through here yet, as after a copy that failed. Once the cause is in order, "
    "`quinrep run --ready --reset-error` fills row by row what is missing; `quinrep preview` tells before what that "
    "does.";
constexpr char kNoCopyYet[] =
    "The first copy is for tables that are empty at the destination, and no run has gone through here yet. `quinrep "
    "preview` tells what a run would do row by row, and which rows the destination would lose; `quinrep run --ready` "
    "does it.";

/// What leads on where a first copy is stopped. `last` is the end of the last run's interval.
std::string insteadOfCopy(DATE last)
{
    constexpr DATE kUnfinished = 2;     // 1 January 1900, from the begin of a copy until it has gone through
    constexpr DATE kNothingYet = 36526; // 1 January 2000, of a new control record
    if (last == kUnfinished)
        return kCopyIsUnfinished;
    return last <= kNothingYet ? kNoCopyYet : fmt::format(kCopyIsThere, resultText(isoDate(last)));
}

long counter(_clsReplicateTable& table, HRESULT (STDMETHODCALLTYPE _clsReplicateTable::*property)(long*))
{
    long value = 0;
    com::checkCall((table.*property)(&value));
    return value;
}

/// The result of one of the tables that a table object copies, by the component's counters unless others are known.
ordered_json tableResult(const std::string& name, const TableConfiguration& configured, const TableInRun& run,
                         const ordered_json& counted)
{
    _clsReplicateTable& table = *run.table.Get();
    ordered_json result = {{"table", name},
                           {"method", methodName(configured.method)},
                           {"done", run.finished},
                           {"updates", counter(table, &_clsReplicateTable::get_lCntDestUpdate)},
                           {"adds", counter(table, &_clsReplicateTable::get_lCntDestAdd)},
                           {"deletes", counter(table, &_clsReplicateTable::get_lCntDestDelete)},
                           {"source_updates", counter(table, &_clsReplicateTable::get_lCntSourceUpdate)},
                           {"source_adds", counter(table, &_clsReplicateTable::get_lCntSourceAdd)},
                           {"source_deletes", counter(table, &_clsReplicateTable::get_lCntSourceDelete)},
                           {"conflicts", counter(table, &_clsReplicateTable::get_lCntConflict)},
                           {"errors", counter(table, &_clsReplicateTable::get_lCntError)}};
    result.update(counted);
    return result;
}

DATE dateProperty(_clsReplicate& run, HRESULT (STDMETHODCALLTYPE _clsReplicate::*property)(DATE*))
{
    DATE value = 0;
    com::checkCall((run.*property)(&value));
    return value;
}

bool flagProperty(_clsReplicate& run, HRESULT (STDMETHODCALLTYPE _clsReplicate::*property)(VARIANT_BOOL*))
{
    VARIANT_BOOL value = VARIANT_FALSE;
    com::checkCall((run.*property)(&value));
    return value != VARIANT_FALSE;
}

/// One run through the component.
class Run
{
public:
    /// Raises when the databases do not belong together.
    Run(const Configuration& configuration, const RunOptions& options, History& history)
        : configuration_(configuration),
          options_(options),
          component_(configuration),
          progress_(configuration.tables, options.quiet),
          history_(history)
    {
        component_.ensureReplication();
    }

    /// Whether the control record lets the run begin. `databases` are read for values that the component does not tell.
    bool mayBegin(Databases& databases)
    {
        const ControlRecord control = controlRecord(databases);
        return control.ready && (!control.inError || control.clears);
    }

    Outcome go(Databases& databases)
    {
        const ordered_json cleared = clearError(databases);
        prepare(databases);
        history_.noteWriting();
        if (options_.firstCopy)
            forgetInterval(databases);
        const WaitingRows waiting(databases.local());
        Outcome outcome = runTables(databases);
        tellRecords(outcome.result, waiting);
        if (!cleared.is_null())
            outcome.result["cleared"] = cleared;
        return outcome;
    }

private:
    struct ControlRecord
    {
        /// Marked ready, or to be marked so.
        bool ready;
        bool inError;
        /// Whether the run clears its error: a person says so, or the configuration does for one of conflicts alone.
        bool clears;
        std::string error;
        RecordedError known;
    };

    ControlRecord controlRecord(Databases& databases)
    {
        const ordered_json rows = jsonRows(
            databases.local(), L"select ready_f, error_f, error_message from replication_control where unique_key = " +
                                   siteKey(configuration_.site));
        const bool ready = options_.markReady || (!rows.empty() && rows.front()["ready_f"] == true);
        const bool inError = !rows.empty() && rows.front()["error_f"] == true;
        const std::string error = inError ? resultText(rows.front()["error_message"]) : "";
        const RecordedError known(History::read(configuration_), error);
        const bool goesOn = configuration_.onConflicts == OnConflicts::Continue && known.forConflicts;
        return {ready, inError, options_.resetError || goesOn, error, known};
    }

    /// Returns the cleared error, or null. A site that is not ready is not run, so that nothing is cleared unseen.
    ordered_json clearError(Databases& databases)
    {
        const ControlRecord control = controlRecord(databases);
        if (!control.ready || !control.clears)
            return nullptr;
        ordered_json cleared;
        if (control.inError)
            cleared = {{"text", control.error},
                       {"recorded_at", control.known.at},
                       {"conflicts", conflictsWithIds(configuration_, databases, control.known.conflicts)}};
        component_.resetError();
        return cleared;
    }

    void prepare(Databases& databases)
    {
        run_ = component_.createReplication();
        if (options_.markReady)
            com::checkCall(run_->SetReady());
        short frequency = configuration_.frequency;
        _bstr_t version(com::newBstr(toWide(configuration_.programVersion)), false);
        com::checkCall(run_->initNextRun(&frequency, &version.GetBSTR()));
        from_ = dateProperty(*run_.Get(), &_clsReplicate::get_dLastReplicate);
        requireBegin(databases);
    }

    /// Raises HostError(kNotReady) with all that keeps the run from beginning, and with one command that passes it.
    void requireBegin(Databases& databases)
    {
        const bool ready = flagProperty(*run_.Get(), &_clsReplicate::get_bReady);
        const bool inError = flagProperty(*run_.Get(), &_clsReplicate::get_bError);
        if (ready && !inError)
            return;
        // Where the site is not ready, an error that the run would clear still stands.
        const bool errorWaits = inError && (ready || !controlRecord(databases).clears);
        const bool resetsError = errorWaits || options_.resetError;
        const std::string command =
            fmt::format("`quinrep {}{}{}`", options_.firstCopy ? "copy" : "run",
                        ready && !options_.markReady ? "" : " --ready", resetsError ? " --reset-error" : "");
        const char* notReady = ready ? "" : "the site is not marked ready for a run";
        if (!errorWaits)
            throw HostError(kNotReady, notReady, command + " marks it and begins.");
        throw HostError(kNotReady,
                        fmt::format("{}{}the last run is in error: {}", notReady, ready ? "" : ", and ", recorded()),
                        "Look at it with `quinrep status`, and at the conflicts with `quinrep review`. Once it is "
                        "understood, " +
                            command + " begins.");
    }

    /// A table that a copy has emptied and could not fill is filled by the next run of any kind only if its rows count
    /// as new.
    void forgetInterval(Databases& databases)
    {
        databases.local().execute(L"update replication_control set last_timestamp = '19000101' where unique_key = " +
                                      siteKey(configuration_.site),
                                  false);
    }

    std::string recorded()
    {
        return toUtf8(textProperty([this](BSTR* text) { return run_->get_sErrorMessage(text); }));
    }

    Outcome runTables(Databases& databases)
    {
        std::vector<TableInRun> created;
        for (const TableConfiguration& table : configuration_.tables) {
            created.push_back({table.name, component_.createTable(table)});
            if (TableChanges::areUncounted(table))
                changes_.emplace(created.size() - 1, TableChanges(table, databases));
        }
        TableRun tables(
            std::move(created), cancellation(), [this](size_t index) { begin(index); },
            [this](size_t index) { end(index); });
        try {
            _variant_t collection;
            static_cast<VARIANT&>(collection) = tables.collection();
            com::checkCall(run_->go(&collection));
            advanceInterval();
        }
        catch (const com::Error& error) {
            return failed(error, tables);
        }
        return finished(tables);
    }

    void begin(size_t index)
    {
        progress_.show(index, "running");
        if (const auto changes = changes_.find(index); changes != changes_.end())
            changes->second.before();
    }

    void end(size_t index)
    {
        if (const auto changes = changes_.find(index); changes != changes_.end())
            changes->second.after();
        progress_.show(index, "done");
    }

    /// The component moves interval and next attempt of the offices' site only; a laptop's host moves its own. After a
    /// first copy the interval begins a second earlier: rounded to the second, it would begin after a change that was
    /// made in the half second before, which a copy need not have.
    void advanceInterval()
    {
        if (configuration_.site == OFFICES && !options_.firstCopy)
            return;
        constexpr double kSecond = 1.0 / 86400;
        const DATE end =
            dateProperty(*run_.Get(), &_clsReplicate::get_dNextReplicate) - (options_.firstCopy ? kSecond : 0);
        Databases databases(configuration_);
        databases.local().execute(L"update replication_control set last_timestamp = " + Common::SqlDate(end) +
                                      L", next_timestamp = dateadd(s," + std::to_wstring(configuration_.frequency) +
                                      L",getdate()) where unique_key = " + siteKey(configuration_.site),
                                  false);
    }

    ordered_json summary(TableRun& tables)
    {
        ordered_json result;
        result["from"] = isoDate(from_);
        result["to"] = isoDate(dateProperty(*run_.Get(), &_clsReplicate::get_dNextReplicate));
        result["tables"] = ordered_json::array();
        for (size_t index = 0; index < tables.tables().size(); ++index) {
            const auto changes = changes_.find(index);
            const std::vector<KeyedTable> copied = tablesCopiedBy(configuration_.tables[index]);
            for (size_t part = 0; part < copied.size(); ++part)
                result["tables"].push_back(
                    tableResult(toUtf8(copied[part].sTable), configuration_.tables[index], tables.tables()[index],
                                changes == changes_.end() ? ordered_json::object() : changes->second.counters(part)));
        }
        return result;
    }

    /// Tells the control record of a failure, through a connection of its own: the component's may be gone, and it
    /// connects to both databases or to none. False when the record cannot be told.
    bool tellControlRecord(const com::Error& error)
    {
        try {
            clsConn local;
            local.openConnection(toWide(configuration_.local().dsn), configuration_.local().secret);
            quinmark::recordError(local, static_cast<short>(configuration_.site), true, error.description);
            return true;
        }
        catch (const com::Error&) {
            return false;
        }
    }

    Outcome failed(com::Error error, TableRun& tables)
    {
        if (const TableInRun* table = tables.running()) {
            error.description = L"replicating table " + toWide(table->name) + L": " + error.description;
            // A full copy that failed has emptied its table.
            if (const auto changes = changes_.find(tables.indexOf(*table)); changes != changes_.end())
                changes->second.after();
        }
        Outcome outcome{summary(tables), kFailed};
        outcome.result["error"] = errorJson(error);
        const bool lost = !component_.isConnected();
        outcome.result["connection_lost"] = lost;
        // Not every driver's text says so.
        if (lost && resultText(outcome.result["error"]["todo"]).empty())
            outcome.result["error"]["todo"] = kServerIsLost;
        if (resultText(outcome.result["error"]["todo"]).empty())
            outcome.result["error"]["todo"] = kLookIntoLog;
        if (options_.firstCopy) {
            const std::string todo = resultText(outcome.result["error"]["todo"]);
            outcome.result["error"]["todo"] = todo + (todo.empty() ? "" : " ") + kFillByRun;
        }
        const bool told = tellControlRecord(error);
        outcome.result["recorded"] = told ? toUtf8(error.description) : "";
        outcome.result["holds_next_run"] = told && !(options_.watched && lost);
        return outcome;
    }

    Outcome finished(TableRun& tables)
    {
        tables.finishLast();
        Outcome outcome{summary(tables)};
        long conflicts = 0;
        long errors = 0;
        for (const ordered_json& table : outcome.result["tables"]) {
            conflicts += table["conflicts"].get<long>();
            errors += table["errors"].get<long>();
        }
        const bool error = flagProperty(*run_.Get(), &_clsReplicate::get_bError);
        outcome.result["recorded"] = error ? recorded() : "";
        outcome.result["holds_next_run"] =
            error && !(configuration_.onConflicts == OnConflicts::Continue && errors > 0);
        if (error || conflicts > 0)
            outcome.exitCode = kRecorded;
        return outcome;
    }

    /// The number of rows that wait after the run, and of those that did not wait before: through new connections,
    /// since the run's may be lost. Null where the database does not answer.
    void tellRecords(ordered_json& result, const WaitingRows& before)
    {
        result["conflicts_waiting"] = nullptr;
        result["conflicts_new"] = nullptr;
        std::vector<std::string> recorded;
        ordered_json lastTimestamp;
        try {
            Databases databases(configuration_);
            const ordered_json control =
                jsonRows(databases.local(), L"select last_timestamp from replication_control where unique_key = " +
                                                siteKey(configuration_.site));
            lastTimestamp = control.empty() ? ordered_json() : control.front()["last_timestamp"];
            const WaitingRows after(databases.local());
            recorded = after.idsNotIn(before);
            result["conflicts_waiting"] = after.size();
            result["conflicts_new"] = after.countNotIn(before);
        }
        catch (const com::Error&) {
            result["conflicts_waiting"] = nullptr;
        }
        history_.noteRecords(recorded, lastTimestamp);
    }

    const Configuration& configuration_;
    const RunOptions& options_;
    Component component_;
    Progress progress_;
    History& history_;
    ComPtr<_clsReplicate> run_;
    DATE from_ = 0;
    /// By the index of their table.
    std::map<size_t, TableChanges> changes_;
};

/// A run that has looked ahead and has written nothing yet.
struct ReadyRun
{
    Databases databases; // first, since a failure of the component's connections does not name the side
    Run run;
    RunPreview preview;
    const Configuration& configuration;
    const RunOptions& options;

    ReadyRun(const Configuration& configured, const RunOptions& runOptions, History& history)
        : databases(configured),
          run(configured, runOptions, history),
          preview(configured, databases),
          configuration(configured),
          options(runOptions)
    {
    }

    Outcome stoppedBy(ordered_json stops) const
    {
        return {{{"stops", std::move(stops)}, {"deleted_rows", preview.deletedRows()}, {"tables", preview.tables()}},
                kGuarded};
    }

    std::optional<Outcome> stopped()
    {
        ordered_json stops = preview.stops(options.force, options.attended);
        if (stops.empty())
            return std::nullopt;
        Outcome outcome = stoppedBy(std::move(stops));
        if (options.firstCopy)
            outcome.result["todo"] = insteadOfCopy(lastReplicateDate(configuration, databases));
        return outcome;
    }
};

void stopIfCancelled()
{
    if (cancellation())
        throw HostError(kFailed, "cancelled before the first table; nothing was written", "Run again when it suits.");
}

/// Runs the command before the run once nothing else keeps the run from beginning; why it does not begin, or nothing.
std::optional<Outcome> prepared(const Configuration& configuration, const RunOptions& options, RunRecord& record)
{
    ReadyRun ready(configuration, options, record.history());
    if (std::optional<Outcome> stopped = ready.stopped(); stopped || !ready.run.mayBegin(ready.databases))
        return stopped;
    stopIfCancelled();
    const std::optional<std::string> failure = record.beforeFailed(ready.stoppedBy(ordered_json::array()).result);
    stopIfCancelled();
    if (!failure)
        return std::nullopt;
    const RunStop stop{StopReason::Hook, "", "It " + *failure + ". See `before` under [hooks] in the configuration."};
    return ready.stoppedBy(ordered_json::array({stop.toJson()}));
}

Outcome attempt(const Configuration& configured, const RunOptions& options, RunRecord& record)
{
    cancellation();
    record.begin();
    Configuration configuration = configured;
    resolvePasswords(configuration); // here: a night without its password is in the history too
    // A backup takes its time: the run decides by the rows as they are afterwards, through connections of its own.
    if (!configuration.hooks.before.empty())
        if (std::optional<Outcome> stopped = prepared(configuration, options, record))
            return *std::move(stopped);
    ReadyRun ready(configuration, options, record.history());
    if (std::optional<Outcome> stopped = ready.stopped())
        return *std::move(stopped);
    stopIfCancelled();
    Outcome outcome = ready.run.go(ready.databases);
    outcome.result["passed"] = ready.preview.passed(options.force, options.attended);
    outcome.result["deleted_rows"] = ready.preview.deletedRows();
    return outcome;
}

} // namespace

Outcome runCommand(const Configuration& configuration, const RunOptions& options)
{
    RunRecord record(configuration, options);
    std::optional<Failure> failure;
    Outcome outcome;
    try {
        outcome = attempt(configuration, options, record);
    }
    catch (...) {
        failure = currentFailure();
        outcome = {failure->result, failure->exitCode};
    }
    record.end(outcome);
    if (failure)
        throw FailedRun{{outcome.result, failure->text, failure->exitCode}};
    return outcome;
}
