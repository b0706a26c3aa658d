#include "Failure.h"
#include "Preview.h"
#include "Progress.h"
#include "SiteLock.h"
#include "TableRun.h"
#include "cancellation.h"
#include "commands.h"
#include "commands/rows.h"
#include "control/database.h"
#include "control/settings.h"
#include "text.h"

using Microsoft::WRL::ComPtr;
using nlohmann::ordered_json;

namespace {

/// The tables that would lose more rows than they may.
ordered_json endangeredTables(const Configuration& configuration)
{
    Databases databases(configuration);
    const DATE last = lastReplicateDate(configuration, databases);
    ordered_json endangered = ordered_json::array();
    for (const TableConfiguration& table : configuration.tables) {
        const TablePreview preview = previewTable(configuration, databases, table, last);
        if (preview.deletedPercent() > table.maxDelete)
            endangered.push_back({{"table", table.name},
                                  {"deletes", preview.destinationDeletes},
                                  {"destination_rows", preview.destinationRows},
                                  {"max_delete", table.maxDelete}});
    }
    return endangered;
}

long counter(_clsReplicateTable& table, HRESULT (STDMETHODCALLTYPE _clsReplicateTable::*property)(long*))
{
    long value = 0;
    com::checkCall((table.*property)(&value));
    return value;
}

ordered_json tableResult(const TableConfiguration& configured, const TableInRun& run)
{
    _clsReplicateTable& table = *run.table.Get();
    return {{"table", configured.name},
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
    Run(const Configuration& configuration, const RunOptions& options)
        : configuration_(configuration),
          component_(configuration),
          progress_(configuration.tables, options.quiet)
    {
    }

    Outcome go(const RunOptions& options)
    {
        if (options.resetError)
            component_.resetError();
        prepare(options.markReady);
        std::vector<TableInRun> created;
        for (const TableConfiguration& table : configuration_.tables)
            created.push_back({table.name, component_.createTable(table)});
        TableRun tables(
            std::move(created), cancellation(), [this](size_t index) { progress_.show(index, "running"); },
            [this](size_t index) { progress_.show(index, "done"); });
        try {
            _variant_t collection;
            static_cast<VARIANT&>(collection) = tables.collection();
            com::checkCall(run_->go(&collection));
            advanceLaptop();
        }
        catch (const com::Error& error) {
            return failed(error, tables);
        }
        return finished(tables);
    }

    /// Raises when the databases do not belong together.
    void ensurePair() { component_.ensureReplication(); }

private:
    void prepare(bool markReady)
    {
        run_ = component_.createReplication();
        if (markReady)
            com::checkCall(run_->SetReady());
        short frequency = configuration_.frequency;
        _bstr_t version(com::newBstr(toWide(configuration_.programVersion)), false);
        com::checkCall(run_->initNextRun(&frequency, &version.GetBSTR()));
        from_ = dateProperty(*run_.Get(), &_clsReplicate::get_dLastReplicate);
        if (flagProperty(*run_.Get(), &_clsReplicate::get_bError))
            throw HostError(kNotReady, "the last run is in error: " + recorded(),
                            "Look into it, then clear it with --reset-error.");
        if (!flagProperty(*run_.Get(), &_clsReplicate::get_bReady))
            throw HostError(kNotReady, "the site is not marked ready for a run", "Mark it with --ready.");
    }

    std::string recorded()
    {
        return toUtf8(textProperty([this](BSTR* text) { return run_->get_sErrorMessage(text); }));
    }

    /// The component moves interval and next attempt of the offices' site only; a laptop's host moves its own.
    void advanceLaptop()
    {
        if (configuration_.site == OFFICES)
            return;
        Databases databases(configuration_);
        databases.local().execute(L"update replication_control set last_timestamp = " +
                                      Common::SqlDate(dateProperty(*run_.Get(), &_clsReplicate::get_dNextReplicate)) +
                                      L", next_timestamp = dateadd(s," + std::to_wstring(configuration_.frequency) +
                                      L",getdate()) where unique_key = " + siteKey(configuration_.site),
                                  false);
    }

    ordered_json summary(TableRun& tables)
    {
        ordered_json result;
        result["from"] = toUtf8(com::dateText(from_));
        result["to"] = toUtf8(com::dateText(dateProperty(*run_.Get(), &_clsReplicate::get_dNextReplicate)));
        result["tables"] = ordered_json::array();
        for (size_t index = 0; index < tables.tables().size(); ++index)
            result["tables"].push_back(tableResult(configuration_.tables[index], tables.tables()[index]));
        return result;
    }

    /// Tells the control record of a failure, through a connection of its own: the component's may be gone, and it
    /// connects to both databases or to none. False when the record cannot be told.
    bool tellControlRecord(const com::Error& error)
    {
        try {
            settings().iReplicationUniqueId = static_cast<short>(configuration_.site);
            settings().localConnection()->openConnection(toWide(configuration_.local().dsn),
                                                         configuration_.local().secret);
            Utils::setError(true, error.description);
            settings().releaseLocalConnection();
            return true;
        }
        catch (const com::Error&) {
            return false;
        }
    }

    Outcome failed(const com::Error& error, TableRun& tables)
    {
        Outcome outcome{summary(tables), kFailed};
        outcome.result["error"] = errorJson(error);
        outcome.result["connection_lost"] = !component_.isConnected();
        outcome.result["recorded"] = tellControlRecord(error) ? toUtf8(error.description) : "";
        return outcome;
    }

    Outcome finished(TableRun& tables)
    {
        tables.finishLast();
        Outcome outcome{summary(tables)};
        long conflicts = 0;
        for (const ordered_json& table : outcome.result["tables"])
            conflicts += table["conflicts"].get<long>();
        const bool error = flagProperty(*run_.Get(), &_clsReplicate::get_bError);
        outcome.result["recorded"] = error ? recorded() : "";
        if (error || conflicts > 0)
            outcome.exitCode = kRecorded;
        return outcome;
    }

    const Configuration& configuration_;
    Component component_;
    Progress progress_;
    ComPtr<_clsReplicate> run_;
    DATE from_ = 0;
};

} // namespace

Outcome runCommand(const Configuration& configuration, const RunOptions& options)
{
    const SiteLock lock(configuration);
    const std::atomic<bool>& cancelled = cancellation();
    Run run(configuration, options);
    run.ensurePair();
    if (!options.force) {
        ordered_json endangered = endangeredTables(configuration);
        if (!endangered.empty())
            return {{{"guard", std::move(endangered)}}, kGuarded};
    }
    if (cancelled)
        throw HostError(kFailed, "cancelled before the first table; nothing was written");
    return run.go(options);
}
